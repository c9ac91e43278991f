#pragma once

#include "ui/premium_panel.h"

class QLabel;

namespace quorlen {

class CalculatorState;
class Stepper;
class KitButton;
class SegmentedPicker;

// "Pattern Controls": counters for n, k and the rotation, the step-length
// picker, the presets and the Play/Stop button. Edits go straight to the
// state; Play/Stop is reported, since playback belongs to the screen.
class EuclidControls : public PremiumPanel {
    Q_OBJECT
public:
    static constexpr int kWidth = 296;
    static constexpr int kMaxSteps = 16;

    EuclidControls(CalculatorState& state, const QColor& accent, QWidget* parent = nullptr);

    // Shows the state's current values.
    void refresh();

signals:
    void playToggled();

private:
    QWidget* counterRow(const QString& label, QLabel*& value, Stepper* stepper);
    void addPreset(const QString& title, int pulses, int steps);

    CalculatorState& m_state;
    Stepper* m_steps;
    Stepper* m_pulses;
    Stepper* m_rotation;
    QLabel* m_stepsValue = nullptr;
    QLabel* m_pulsesValue = nullptr;
    QLabel* m_rotationValue = nullptr;
    SegmentedPicker* m_note;
    QLabel* m_tempoSource;
    KitButton* m_presets;
    KitButton* m_play;
};

} // namespace quorlen
