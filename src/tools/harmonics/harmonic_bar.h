#pragma once

#include "pitch/harmonic_series.h"

#include <QAbstractButton>
#include <QColor>

class QMenu;

namespace quorlen {

// One harmonic of the spectrum: a bar 1/n high over its number, note and
// drift. A click toggles and sounds it; the context menu copies its Hz or
// its note name.
class HarmonicBar : public QAbstractButton {
    Q_OBJECT
public:
    static constexpr double kFullHeight = 200; // harmonic 1
    static constexpr double kShortest = 10;

    HarmonicBar(const QColor& accent, QWidget* parent = nullptr);

    void setHarmonic(const pitch::Harmonic& harmonic);
    void setState(bool enabled, bool current);
    const pitch::Harmonic& harmonic() const { return m_harmonic; }
    bool isHarmonicEnabled() const { return m_enabled; }
    bool isCurrent() const { return m_current; }

    // "Copy 385.00 Hz" and "Copy G4".
    QMenu* createContextMenu(QWidget* parent);

    // max(200 / n, 10) px.
    static double barHeight(int number);

    QSize sizeHint() const override { return {34, 300}; }
    QSize minimumSizeHint() const override { return {22, 300}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    QColor m_accent;
    pitch::Harmonic m_harmonic{};
    bool m_enabled = true;
    bool m_current = false;
};

} // namespace quorlen
