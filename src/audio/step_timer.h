#pragma once

#include "audio/engine/step_grid.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <cstdint>
#include <functional>

namespace quorlen {

class Synthesiser;

// The clock of a sequenced player (click track, scale, sweep, chord loop).
// Steps lie on a grid of the audio clock, anchored where the output is
// about to render once it runs. Each step's sound is asked for ahead of its
// due frame (50 ms, or up to half a step and 0.5 s for long steps, whose
// chords take longer to render) and placed on that frame by the mixer, so
// steps are on time to the sample however late this thread's timer fires;
// the step is announced when its frame is rendered, for the highlight. Without an
// output the same grid runs on the steady clock and the sounds go nowhere.
//
// For each step i the timer calls queue(i, dueFrame) and then show(i), in
// that order, and queue(i + 1) only after show(i). Step 0 is queued as soon
// as the grid is anchored and is never shown: the player shows it when it
// starts. A step whose frame a stall of this thread has already let pass
// is shown but not queued, so a stall never ends in a burst of late sounds.
class StepTimer : public QObject {
    Q_OBJECT
public:
    using QueueStep = std::function<void(std::int64_t step, std::int64_t dueFrame)>;
    using ShowStep = std::function<void(std::int64_t step)>;

    explicit StepTimer(Synthesiser& synthesiser, QObject* parent = nullptr);

    // Starts a pulse of `stepSeconds`, replacing any running one.
    void start(double stepSeconds, QueueStep queue, ShowStep show);
    void stop();
    bool isRunning() const { return m_running; }
    double stepSeconds() const { return m_stepSeconds; }

private:
    bool anchor();
    std::int64_t now() const;
    void onTimer();
    void arm(std::int64_t now);

    Synthesiser& m_synthesiser;
    QTimer m_timer;
    QueueStep m_queue;
    ShowStep m_show;
    bool m_running = false;
    bool m_anchored = false;
    bool m_onSteadyClock = false;
    QElapsedTimer m_steady;
    std::int64_t m_steadyOffsetFrames = 0;
    double m_stepSeconds = 0;
    StepGrid m_grid;
    std::int64_t m_nextQueue = 0;
    std::int64_t m_nextShow = 1;
    std::int64_t m_lookAheadFrames = kQueueAheadFrames;
};

} // namespace quorlen
