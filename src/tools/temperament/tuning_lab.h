#pragma once

#include "ui/premium_panel.h"

namespace quorlen {

class CalculatorState;
class KitButton;
class PremiumInputField;
class Stepper;
class SchemeLabel;

// "Tuning Lab": the reference frequency, the number of divisions with its
// presets, and the scale player's button.
class TuningLab : public PremiumPanel {
    Q_OBJECT
public:
    struct Preset {
        const char* label;
        int divisions;
    };
    static const Preset kPresets[8];

    TuningLab(CalculatorState& state, const QColor& accent, QWidget* parent = nullptr);

    PremiumInputField* referenceField() const { return m_field; }
    Stepper* referenceStepper() const { return m_referenceStepper; }
    Stepper* divisionsStepper() const { return m_divisionsStepper; }
    KitButton* playButton() const { return m_play; }

    // Takes the typed reference by the commit rule (Return, focus loss, leaving).
    void commitReferenceText();

signals:
    // The stepper or a preset asks for this many divisions.
    void divisionsRequested(int divisions);
    void playToggled();

private:
    void syncReferenceText();
    void stepReference(double delta);
    void syncControls();

    CalculatorState& m_state;
    PremiumInputField* m_field;
    Stepper* m_referenceStepper;
    SchemeLabel* m_divisionsLabel;
    Stepper* m_divisionsStepper;
    KitButton* m_play;
};

} // namespace quorlen
