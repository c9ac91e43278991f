#pragma once

#include "ui/premium_panel.h"

namespace quorlen {

class CalculatorState;
class ResultTile;
class SegmentedPicker;

// "Custom Space": the reverb's total length and pre-delay note chosen from
// fixed steps (stored in the shared state), and the resulting pre-delay,
// decay and total at the shared tempo.
class CustomSpacePanel : public PremiumPanel {
    Q_OBJECT
public:
    CustomSpacePanel(CalculatorState& state, const QColor& accent, QWidget* parent = nullptr);

    SegmentedPicker* totalPicker() const { return m_totalPicker; }
    SegmentedPicker* prePicker() const { return m_prePicker; }
    ResultTile* preDelayTile() const { return m_preDelay; }
    ResultTile* decayTile() const { return m_decay; }
    ResultTile* totalTile() const { return m_total; }

private:
    void refresh();

    CalculatorState& m_state;
    SegmentedPicker* m_totalPicker;
    SegmentedPicker* m_prePicker;
    ResultTile* m_preDelay;
    ResultTile* m_decay;
    ResultTile* m_total;
};

} // namespace quorlen
