#pragma once

#include "key/chroma.h"

#include <QWidget>

namespace quorlen {

// Why a key was chosen: twelve bars, C to B, of how strongly each pitch
// class sounds in the file, each with a mark at the height the key's
// profile expects; the tonic's bar in the accent. Names under the bars.
class ChromaStrip : public QWidget {
    Q_OBJECT
public:
    explicit ChromaStrip(const QColor& accent, QWidget* parent = nullptr);

    // Both 0 ... 1 (largest 1); `tonic` is the key's pitch class (C = 0).
    void setEvidence(const key::PitchClasses& chroma, const key::PitchClasses& profile, int tonic);
    const key::PitchClasses& chroma() const { return m_chroma; }
    const key::PitchClasses& profile() const { return m_profile; }

    // Bar `index` of a `value` 0 ... 1 in a strip of `size`: equal columns
    // with a gap, the bars' area above the names' line.
    static QRectF barRect(int index, double value, QSizeF size);

    QSize sizeHint() const override { return {228, 62}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_accent;
    key::PitchClasses m_chroma{};
    key::PitchClasses m_profile{};
    int m_tonic = 0;
};

} // namespace quorlen
