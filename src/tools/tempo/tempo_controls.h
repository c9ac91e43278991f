#pragma once

#include "ui/premium_panel.h"

#include <functional>
#include <vector>

namespace quorlen {

class CalculatorState;
class KitSlider;
class PremiumInputField;
class Stepper;
class TapButton;

// The "Tempo Control" panel: the typed BPM field, a stepper and a slider
// over 20 to 400, and tap tempo (the button, or Space while no text field
// has keyboard focus, whichever other control has it). It owns the tempo field's text/value rules:
// - while the field is focused each edit that parses sets `bpm` at once,
//   leaving the text as typed;
// - Return or the end of editing commits: the text clamped to 1...999 is
//   stored and the text rewritten from it;
// - any other change of `bpm` rewrites the text unless the field is focused.
class TempoControls : public PremiumPanel {
    Q_OBJECT
public:
    // Seconds on a clock that never goes backwards; tests pass their own.
    using Clock = std::function<double()>;

    TempoControls(CalculatorState& state, const QColor& accent, QWidget* parent = nullptr);

    void setClock(Clock clock) { m_clock = std::move(clock); }
    void tap();

    PremiumInputField* field() const { return m_field; }

private:
    void onTextEdited(const QString& text);
    void commitText();
    void syncTextFromValue();
    void syncControls();

    CalculatorState& m_state;
    PremiumInputField* m_field;
    Stepper* m_stepper;
    KitSlider* m_slider;
    TapButton* m_tapButton;
    Clock m_clock;
    // Time stamps of the current tap sequence, in seconds on m_clock; kept
    // only as long as this screen.
    std::vector<double> m_tapTimesSeconds;
};

} // namespace quorlen
