#pragma once

#include "tools/common/tool_screen.h"

#include <QList>

#include <cstdint>

namespace quorlen {

class CalculatorState;
class FundamentalPanel;
class HarmonicBar;
class StepTimer;
class Synthesiser;

namespace pitch {
struct Harmonic;
} // namespace pitch

// The "Overtones" tool: the first sixteen harmonics of a chosen note as a
// 1/n bar spectrum, with their drift from 12-TET; bars toggle and sound,
// the sweep plays 1× … 16×, Play sounds the sum of the enabled ones.
class HarmonicSeriesView : public ToolScreen {
    Q_OBJECT
public:
    static constexpr int kCount = 16;
    static constexpr double kSweepStepSeconds = 0.22;

    HarmonicSeriesView(CalculatorState& state, const QColor& accent, Synthesiser& synthesiser,
                       QWidget* parent = nullptr);
    ~HarmonicSeriesView() override;

    FundamentalPanel* fundamentalPanel() const { return m_panel; }
    HarmonicBar* bar(int number) const { return m_bars.value(number - 1); }
    bool isTimerRunning() const;

    double fundamental() const;
    void startSweep();
    void advanceSweep();
    void stopSweep();
    void playChord();
    void toggle(const pitch::Harmonic& harmonic);

private:
    void refresh();
    void refreshBarStates();
    void playTone(double hz, std::int64_t dueFrame);

    CalculatorState& m_state;
    Synthesiser& m_synthesiser;
    FundamentalPanel* m_panel;
    QList<HarmonicBar*> m_bars;
    StepTimer* m_sweep;
};

} // namespace quorlen
