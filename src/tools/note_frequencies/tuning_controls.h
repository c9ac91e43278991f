#pragma once

#include "ui/premium_panel.h"

namespace quorlen {

class CalculatorState;
class KitSlider;
class PremiumInputField;
class Stepper;

// "Concert Pitch": the A4 field, a 1 Hz stepper, a slider in whole hertz and
// a reset to 440. Every change of A4 rewrites the field's text.
class TuningControls : public PremiumPanel {
    Q_OBJECT
public:
    TuningControls(CalculatorState& state, const QColor& accent, QWidget* parent = nullptr);

    PremiumInputField* field() const { return m_field; }
    Stepper* stepper() const { return m_stepper; }
    KitSlider* slider() const { return m_slider; }

    // Takes the typed text by the commit rule (Return, focus loss, leaving).
    void commitText();

private:
    void syncTextFromValue();
    void syncControls();

    CalculatorState& m_state;
    PremiumInputField* m_field;
    Stepper* m_stepper;
    KitSlider* m_slider;
};

} // namespace quorlen
