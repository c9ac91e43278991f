#pragma once

#include "ui/premium_panel.h"

namespace quorlen {

class CalculatorState;
class CopyableText;
class KitButton;
class KitPicker;

// "Fundamental": the note and octave pickers, the copyable fundamental, and
// the buttons that choose, sweep and play the harmonics.
class FundamentalPanel : public PremiumPanel {
    Q_OBJECT
public:
    FundamentalPanel(CalculatorState& state, const QColor& accent, QWidget* parent = nullptr);

    void setFundamental(double hz);

    KitPicker* pitchPicker() const { return m_pitch; }
    KitPicker* octavePicker() const { return m_octave; }
    CopyableText* fundamentalValue() const { return m_fundamental; }
    KitButton* sweepButton() const { return m_sweep; }
    KitButton* playButton() const { return m_play; }

signals:
    void sweepToggled();
    void playRequested();

private:
    void syncFromState();

    CalculatorState& m_state;
    KitPicker* m_pitch;
    KitPicker* m_octave;
    CopyableText* m_fundamental;
    KitButton* m_sweep;
    KitButton* m_play;
};

} // namespace quorlen
