#pragma once

#include "harmony/key_selection.h"
#include "tools/common/tool_screen.h"

#include <cstdint>

namespace quorlen {

class CalculatorState;
class FifthsWheel;
class KeyDetailPanel;
class ProgressionPanel;
class StepTimer;
class Synthesiser;

// The "Harmony" tool: the circle-of-fifths wheel to pick a key and hear its
// tonic triad, the key's details, and a loop of its diatonic chords played
// at two beats per chord from the shared tempo. The loop is kept as scale
// degrees in the shared state, so a new key transposes it; the timer lives
// with the screen and stops when the screen leaves.
class CircleOfFifthsView : public ToolScreen {
    Q_OBJECT
public:
    // `selection` is the key the window had selected when it was last shown.
    CircleOfFifthsView(CalculatorState& state, const QColor& accent,
                       harmony::KeySelection selection, Synthesiser& synthesiser,
                       QWidget* parent = nullptr);
    ~CircleOfFifthsView() override;

    harmony::KeySelection selection() const { return m_selection; }
    FifthsWheel* wheel() const { return m_wheel; }
    KeyDetailPanel* details() const { return m_details; }
    ProgressionPanel* progressionPanel() const { return m_progression; }
    bool isTimerRunning() const;
    // Seconds per chord, fixed when the loop started.
    double stepSeconds() const;

    // A segment click: select the key (index wrapped into 0…11) and sound
    // its tonic triad, also when it was selected already.
    void selectKey(int index, bool minor);
    void playTonic(int index, bool minor);
    void playDegree(int degree, std::int64_t dueFrame);
    void playDegree(int degree);
    // A chord or degree click: append it to the loop, then sound it.
    void tapDegree(int degree);

    void startPlayback();
    void advancePlayback();
    void stopPlayback();
    void removeStep(int step);
    void togglePlayback();
    void clearProgression();

signals:
    // The selection changed and should be remembered with the window.
    void selectionChanged(int index, bool minor);

private:
    void showSelection();
    void showProgression();

    CalculatorState& m_state;
    harmony::KeySelection m_selection;
    FifthsWheel* m_wheel;
    KeyDetailPanel* m_details;
    ProgressionPanel* m_progression;
    Synthesiser& m_synthesiser;
    StepTimer* m_steps;
};

} // namespace quorlen
