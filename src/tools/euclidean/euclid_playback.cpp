#include "tools/euclidean/euclid_playback.h"

#include "audio/chord_player.h"
#include "rhythm/euclid.h"
#include "rhythm/step_length.h"
#include "state/calculator_state.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace quorlen {

EuclidPlayback::EuclidPlayback(CalculatorState& state, ChordPlayer& player, QObject* parent)
    : QObject(parent), m_state(&state), m_player(player) {
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &EuclidPlayback::onTimer);
}

EuclidPlayback::~EuclidPlayback() { stop(); }

void EuclidPlayback::start() {
    if (!m_state || m_state->euclidSteps() <= 0)
        return;
    stop();
    m_state->setEuclidPlaying(true);
    m_state->setEuclidStep(0);
    tick(0);
    m_stepMs = Euclid::stepMilliseconds(m_state->bpm(), m_state->euclidNote());
    m_clock.start();
    m_nextFiring = 1;
    m_timer.start(std::chrono::milliseconds(std::llround(m_stepMs)));
}

void EuclidPlayback::stop() {
    m_timer.stop();
    if (!m_state)
        return;
    m_state->setEuclidPlaying(false);
    m_state->setEuclidStep(std::nullopt);
}

void EuclidPlayback::toggle() {
    if (m_state && m_state->euclidPlaying())
        stop();
    else
        start();
}

void EuclidPlayback::onTimer() {
    advance();
    if (!m_state || !m_state->euclidPlaying())
        return;
    const double elapsedMs = static_cast<double>(m_clock.nsecsElapsed()) / 1e6;
    const auto dueNow = static_cast<qint64>(std::floor(elapsedMs / m_stepMs)) + 1;
    m_nextFiring = std::max(m_nextFiring + 1, dueNow);
    const double waitMs = static_cast<double>(m_nextFiring) * m_stepMs - elapsedMs;
    m_timer.start(std::chrono::milliseconds(std::max<long long>(0, std::llround(waitMs))));
}

void EuclidPlayback::advance() {
    if (!m_state)
        return;
    const int steps = m_state->euclidSteps();
    if (steps <= 0) {
        stop();
        return;
    }
    const int next = (m_state->euclidStep().value_or(-1) + 1) % steps;
    m_state->setEuclidStep(next);
    tick(next);
}

void EuclidPlayback::tick(int step) {
    if (!m_state)
        return;
    const std::vector<bool> pattern = Euclid::pattern(
        m_state->euclidPulses(), m_state->euclidSteps(), m_state->euclidRotation());
    if (step < 0 || step >= static_cast<int>(pattern.size()))
        return;
    if (pattern[static_cast<size_t>(step)])
        m_player.playTick(kHitHz, kHitGain);
    else
        m_player.playTick(kRestHz, kRestGain);
}

} // namespace quorlen
