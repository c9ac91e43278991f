#pragma once

#include "tools/common/tool_screen.h"

namespace quorlen {

class CalculatorState;
class CustomSpacePanel;
class DelayStrip;
class ReverbTable;

// The reverb and delay tool: bar, beat and 1/64 at the shared tempo, the
// preset reverbs, a custom reverb and the delay picks. It keeps no state of
// its own and never writes the tempo.
class ReverbDelayView : public ToolScreen {
    Q_OBJECT
public:
    ReverbDelayView(CalculatorState& state, const QColor& accent, QWidget* parent = nullptr);

    ReverbTable* reverbTable() const { return m_table; }
    CustomSpacePanel* customPanel() const { return m_custom; }
    DelayStrip* delayStrip() const { return m_delays; }

private:
    void refreshMetrics();

    CalculatorState& m_state;
    ReverbTable* m_table;
    CustomSpacePanel* m_custom;
    DelayStrip* m_delays;
};

} // namespace quorlen
