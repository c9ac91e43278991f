#pragma once

#include "pitch/tet_scale.h"

#include <QAbstractButton>
#include <QColor>

namespace quorlen {

class CopyableText;

// One step of the scale table. The row itself is the audition button; its
// frequency, ratio and cents are copy cells of their own.
class StepRow : public QAbstractButton {
    Q_OBJECT
public:
    static constexpr int kStepColumnWidth = 70;
    static constexpr int kHeight = 30;

    StepRow(const QColor& accent, QWidget* parent = nullptr);

    void setStep(const pitch::TetStep& step, bool isOctave);
    void setPlaying(bool playing);
    void setStriped(bool striped);
    const pitch::TetStep& step() const { return m_step; }
    CopyableText* frequencyCell() const { return m_frequency; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_accent;
    pitch::TetStep m_step{};
    bool m_octave = false;
    bool m_playing = false;
    bool m_striped = false;
    CopyableText* m_frequency;
    CopyableText* m_ratio;
    CopyableText* m_cents;
};

} // namespace quorlen
