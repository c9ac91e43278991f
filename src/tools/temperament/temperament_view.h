#pragma once

#include "tools/common/tool_screen.h"

#include <cstdint>

namespace quorlen {

class CalculatorState;
class ScaleTable;
class StepTimer;
class Synthesiser;
class TuningLab;

// The "Temperament" tool: N equal divisions of the octave above a
// reference, every step auditioned on click, and the scale played upwards
// at 0.3 s per step, ending on the octave.
class TemperamentView : public ToolScreen {
    Q_OBJECT
public:
    static constexpr double kStepSeconds = 0.3;

    TemperamentView(CalculatorState& state, const QColor& accent, Synthesiser& synthesiser,
                    QWidget* parent = nullptr);
    ~TemperamentView() override;

    TuningLab* lab() const { return m_lab; }
    ScaleTable* table() const { return m_table; }
    bool isTimerRunning() const;

    void startPlayback();
    void advancePlayback();
    void stopPlayback();

private:
    void refresh();
    void changeDivisions(int divisions);
    void playStep(int index, std::int64_t dueFrame);

    CalculatorState& m_state;
    Synthesiser& m_synthesiser;
    TuningLab* m_lab;
    ScaleTable* m_table;
    StepTimer* m_steps;
};

} // namespace quorlen
