#pragma once

#include "tools/common/tool_screen.h"

namespace quorlen {

class CalculatorState;
class SubdivisionMatrix;
class TempoControls;
class TempoDetectModel;
class TempoDetectPanel;

// The tempo tool: header figures, the tempo controls, tempo detection from
// an audio file, then the table of note lengths from 32 bars to 1/128 and the formula. Everything
// follows the shared `bpm`, whoever writes it. The detection session belongs to the window, so its
// result is still here after a visit to another tool.
class TempoView : public ToolScreen {
    Q_OBJECT
public:
    TempoView(CalculatorState& state, TempoDetectModel& detection, const QColor& accent,
              QWidget* parent = nullptr);

    TempoControls* controls() const { return m_controls; }
    SubdivisionMatrix* matrix() const { return m_matrix; }
    TempoDetectPanel* detectPanel() const { return m_detectPanel; }
    // Analyses an audio file as if it had been dropped on the panel.
    void analyse(const QString& path);

private:
    void refreshMetrics();

    CalculatorState& m_state;
    TempoControls* m_controls;
    TempoDetectPanel* m_detectPanel;
    SubdivisionMatrix* m_matrix;
};

} // namespace quorlen
