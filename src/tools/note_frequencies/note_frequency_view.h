#pragma once

#include "tools/common/tool_screen.h"

namespace quorlen {

class CalculatorState;
class FrequencyMatrix;
class TuningControls;

// The "Pitch" tool: every note C0 … B8 for the current A4, and the controls
// that set A4 for all pitch tools.
class NoteFrequencyView : public ToolScreen {
    Q_OBJECT
public:
    NoteFrequencyView(CalculatorState& state, const QColor& accent, QWidget* parent = nullptr);

    TuningControls* controls() const { return m_controls; }
    FrequencyMatrix* matrix() const { return m_matrix; }

private:
    void refresh();

    CalculatorState& m_state;
    TuningControls* m_controls;
    FrequencyMatrix* m_matrix;
};

} // namespace quorlen
