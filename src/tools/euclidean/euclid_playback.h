#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>

namespace quorlen {

class CalculatorState;
class ChordPlayer;

// Plays the Euclidean pattern as a click track on the main thread and
// publishes the step being played in CalculatorState (euclidPlaying,
// euclidStep). The pattern is read anew at every tick, so edits are heard
// at once; the step length is fixed when playback starts.
//
// Timing: one single-shot precise timer, re-armed at every step for the
// next ideal time start + i × step. Rounding to whole milliseconds then
// never accumulates (166.67 ms steps stay on the grid), and steps missed
// while the thread was busy are skipped rather than played in a burst.
class EuclidPlayback : public QObject {
    Q_OBJECT
public:
    static constexpr double kHitHz = 1760;
    static constexpr float kHitGain = 0.55f;
    static constexpr double kRestHz = 1175;
    static constexpr float kRestGain = 0.16f;

    EuclidPlayback(CalculatorState& state, ChordPlayer& player, QObject* parent = nullptr);
    // Stops, so leaving the tool ends its click track.
    ~EuclidPlayback() override;

    bool isRunning() const { return m_timer.isActive(); }
    // Starts from step 0, playing it at once; nothing with no steps.
    void start();
    // Ends the click track and clears the published step.
    void stop();
    void toggle();

    // The timer's work: the next step, wrapping at the current step count.
    void advance();
    // Plays step `step` of the current pattern: a hit or a quieter, lower
    // rest; nothing for a step past the pattern's end.
    void tick(int step);

private:
    void onTimer();

    QPointer<CalculatorState> m_state; // the window's, which may go first
    ChordPlayer& m_player;
    QTimer m_timer;
    QElapsedTimer m_clock;
    double m_stepMs = 0;
    qint64 m_nextFiring = 0; // index i of the ideal time start + i × step
};

} // namespace quorlen
