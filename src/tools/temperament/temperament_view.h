#pragma once

#include "tools/common/tool_screen.h"

#include <QTimer>

namespace quorlen {

class CalculatorState;
class ScaleTable;
class TuningLab;

// The "Temperament" tool: N equal divisions of the octave above a
// reference, every step auditioned on click, and the scale played upwards
// at 0.3 s per step, ending on the octave.
class TemperamentView : public ToolScreen {
    Q_OBJECT
public:
    static constexpr int kStepIntervalMs = 300;

    TemperamentView(CalculatorState& state, const QColor& accent, QWidget* parent = nullptr);
    ~TemperamentView() override;

    TuningLab* lab() const { return m_lab; }
    ScaleTable* table() const { return m_table; }
    bool isTimerRunning() const { return m_playTimer.isActive(); }

    void startPlayback();
    void advancePlayback();
    void stopPlayback();

private:
    void refresh();
    void changeDivisions(int divisions);
    void playStep(int index);

    CalculatorState& m_state;
    TuningLab* m_lab;
    ScaleTable* m_table;
    QTimer m_playTimer;
};

} // namespace quorlen
