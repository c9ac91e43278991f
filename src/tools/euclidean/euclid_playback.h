#pragma once

#include <QObject>
#include <QPointer>

#include <cstdint>

namespace quorlen {

class CalculatorState;
class StepTimer;
class Synthesiser;

// Plays the Euclidean pattern as a click track and publishes the step being
// played in CalculatorState (euclidPlaying, euclidStep). Each click is
// placed on its frame of the audio clock (StepTimer), so the track keeps
// time to the sample; the pattern is read anew for every click, so edits
// are heard from the next one. The step length is fixed when playback
// starts.
class EuclidPlayback : public QObject {
    Q_OBJECT
public:
    static constexpr double kHitHz = 1760;
    static constexpr float kHitGain = 0.55f;
    static constexpr double kRestHz = 1175;
    static constexpr float kRestGain = 0.16f;

    EuclidPlayback(CalculatorState& state, Synthesiser& synthesiser, QObject* parent = nullptr);
    // Stops, so leaving the tool ends its click track.
    ~EuclidPlayback() override;

    bool isRunning() const;
    // Starts from step 0, sounding it at once; nothing with no steps.
    void start();
    // Ends the click track and clears the published step.
    void stop();
    void toggle();

    // Moves the published step on, wrapping at the current step count.
    void advance();
    // Plays step `step` of the current pattern: a hit or a quieter, lower
    // rest; nothing for a step past the pattern's end.
    void tick(int step, std::int64_t dueFrame);
    void tick(int step);

private:
    // The step the next advance moves to.
    int nextStep() const;

    QPointer<CalculatorState> m_state; // the window's, which may go first
    Synthesiser& m_synthesiser;
    StepTimer* m_steps;
};

} // namespace quorlen
