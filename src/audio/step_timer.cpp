#include "audio/step_timer.h"

#include "audio/engine/audio_backend.h"
#include "audio/synthesiser.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace quorlen {
namespace {

// While the output is starting the clock stands still; look again soon.
constexpr auto kStartingPoll = std::chrono::milliseconds(2);
// Re-evaluate at least this often, so a lost output is noticed.
constexpr double kLongestWaitMs = 250;
// A chord takes 30 ms to render on a busy two-core machine, and several
// times that when the machine is overloaded, so long steps are asked for
// earlier: up to half a step ahead, at most 0.5 s.
constexpr double kLongestLookAheadSeconds = 0.5;

} // namespace

StepTimer::StepTimer(Synthesiser& synthesiser, QObject* parent)
    : QObject(parent), m_synthesiser(synthesiser) {
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &StepTimer::onTimer);
}

void StepTimer::start(double stepSeconds, QueueStep queue, ShowStep show) {
    stop();
    m_queue = std::move(queue);
    m_show = std::move(show);
    m_stepSeconds = stepSeconds;
    m_lookAheadFrames = std::max<std::int64_t>(
        kQueueAheadFrames,
        std::llround(std::min(stepSeconds / 2, kLongestLookAheadSeconds) * RenderSource::kRateHz));
    m_running = true;
    m_anchored = false;
    m_nextQueue = 0;
    m_nextShow = 1;
    m_synthesiser.startOutput();
    onTimer();
}

void StepTimer::stop() {
    m_timer.stop();
    m_running = false;
}

bool StepTimer::anchor() {
    switch (m_synthesiser.output()) {
    case Synthesiser::Output::starting:
        return false;
    case Synthesiser::Output::running:
        m_onSteadyClock = false;
        m_grid = StepGrid::fromSeconds(m_synthesiser.safeFrame(), m_stepSeconds);
        return true;
    case Synthesiser::Output::none:
        break;
    }
    m_onSteadyClock = true;
    m_steady.start();
    m_steadyOffsetFrames = 0;
    m_grid = StepGrid::fromSeconds(0, m_stepSeconds);
    return true;
}

std::int64_t StepTimer::now() const {
    if (!m_onSteadyClock)
        return m_synthesiser.safeFrame();
    return m_steadyOffsetFrames +
           static_cast<std::int64_t>(static_cast<double>(m_steady.nsecsElapsed()) *
                                     RenderSource::kRateHz / 1e9);
}

void StepTimer::onTimer() {
    if (!m_running)
        return;
    if (!m_anchored) {
        m_anchored = anchor();
        if (!m_anchored) {
            m_timer.start(kStartingPoll);
            return;
        }
    } else if (!m_onSteadyClock && m_synthesiser.output() == Synthesiser::Output::none) {
        // The output went away mid-sequence: carry on from here in steady time.
        m_steadyOffsetFrames = now();
        m_onSteadyClock = true;
        m_steady.start();
    } else if (m_onSteadyClock && m_synthesiser.output() == Synthesiser::Output::running) {
        // An output is back (or came late): move the grid onto its clock so
        // that the next step keeps its distance from now.
        const std::int64_t untilNext = m_grid.dueFrame(m_nextQueue) - now();
        m_onSteadyClock = false;
        m_grid.anchorFrame += m_synthesiser.safeFrame() + std::max<std::int64_t>(0, untilNext) -
                              m_grid.dueFrame(m_nextQueue);
    }

    for (;;) {
        const std::int64_t frame = now();
        if (m_nextQueue <= m_nextShow &&
            m_grid.dueFrame(m_nextQueue) - m_lookAheadFrames <= frame) {
            const std::int64_t step = m_nextQueue++;
            const std::int64_t due = m_grid.dueFrame(step);
            if (due >= frame)
                m_queue(step, due);
        } else if (m_nextShow < m_nextQueue && m_grid.dueFrame(m_nextShow) <= frame) {
            m_show(m_nextShow++);
        } else {
            arm(frame);
            return;
        }
        // A callback may have stopped or restarted this timer.
        if (!m_running || m_timer.isActive())
            return;
    }
}

void StepTimer::arm(std::int64_t now) {
    const std::int64_t nextFrame = m_nextQueue <= m_nextShow
                                       ? m_grid.dueFrame(m_nextQueue) - m_lookAheadFrames
                                       : m_grid.dueFrame(m_nextShow);
    const double waitMs = static_cast<double>(nextFrame - now) * 1000.0 / RenderSource::kRateHz;
    m_timer.start(static_cast<int>(std::ceil(std::clamp(waitMs, 1.0, kLongestWaitMs))));
}

} // namespace quorlen
