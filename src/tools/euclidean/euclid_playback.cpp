#include "tools/euclidean/euclid_playback.h"

#include "audio/step_timer.h"
#include "audio/synthesiser.h"
#include "rhythm/euclid.h"
#include "rhythm/step_length.h"
#include "state/calculator_state.h"

namespace quorlen {

EuclidPlayback::EuclidPlayback(CalculatorState& state, Synthesiser& synthesiser, QObject* parent)
    : QObject(parent), m_state(&state), m_synthesiser(synthesiser),
      m_steps(new StepTimer(synthesiser, this)) {}

EuclidPlayback::~EuclidPlayback() { stop(); }

bool EuclidPlayback::isRunning() const { return m_steps->isRunning(); }

void EuclidPlayback::start() {
    if (!m_state || m_state->euclidSteps() <= 0)
        return;
    stop();
    m_state->setEuclidPlaying(true);
    m_state->setEuclidStep(0);
    const double stepSeconds =
        rhythm::Euclid::stepMilliseconds(m_state->bpm(), m_state->euclidNote()) / 1000.0;
    m_steps->start(
        stepSeconds,
        [this](std::int64_t step, std::int64_t dueFrame) {
            tick(step == 0 ? 0 : nextStep(), dueFrame);
        },
        [this](std::int64_t) { advance(); });
}

void EuclidPlayback::stop() {
    m_steps->stop();
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

int EuclidPlayback::nextStep() const {
    const int steps = m_state->euclidSteps();
    return steps <= 0 ? -1 : (m_state->euclidStep().value_or(-1) + 1) % steps;
}

void EuclidPlayback::advance() {
    if (!m_state)
        return;
    const int next = nextStep();
    if (next < 0) {
        stop();
        return;
    }
    m_state->setEuclidStep(next);
}

void EuclidPlayback::tick(int step) { tick(step, Synthesiser::kAsap); }

void EuclidPlayback::tick(int step, std::int64_t dueFrame) {
    if (!m_state)
        return;
    const std::vector<bool> pattern = rhythm::Euclid::pattern(
        m_state->euclidPulses(), m_state->euclidSteps(), m_state->euclidRotation());
    if (step < 0 || step >= static_cast<int>(pattern.size()))
        return;
    if (pattern[static_cast<size_t>(step)])
        m_synthesiser.playTick(kHitHz, kHitGain, dueFrame);
    else
        m_synthesiser.playTick(kRestHz, kRestGain, dueFrame);
}

} // namespace quorlen
