#include "audio/chord_player.h"

#include "audio/engine/async_output.h"
#include "audio/engine/audio_backend.h"
#include "audio/engine/rtaudio_backend.h"

#include <QCoreApplication>

#include <new>

namespace quorlen {

ChordPlayer& ChordPlayer::shared() {
    // Parented to the application so the stream closes before Qt shuts down.
    static ChordPlayer* instance =
        new ChordPlayer(std::make_unique<AsyncOutput>(std::make_unique<RtAudioBackend>()),
                        kIdleDelay, QCoreApplication::instance());
    return *instance;
}

ChordPlayer::ChordPlayer(std::unique_ptr<AudioBackend> backend, std::chrono::milliseconds idleDelay,
                         QObject* parent)
    : QObject(parent), m_voices(std::move(backend)) {
    // A precise timer: a coarse one may fire up to 5 % early.
    m_idlePause.setSingleShot(true);
    m_idlePause.setTimerType(Qt::PreciseTimer);
    m_idlePause.setInterval(idleDelay);
    connect(&m_idlePause, &QTimer::timeout, this, &ChordPlayer::pauseWhenIdle);
}

ChordPlayer::~ChordPlayer() = default;

void ChordPlayer::playTriad(double rootHz, synth::TriadQuality quality, std::int64_t dueFrame) {
    const auto notes = synth::triadFrequencies(rootHz, quality);
    playTones(notes, dueFrame);
}

// Rendering allocates up to 70560 floats; if even that fails the sound is
// dropped like any other audio failure.
void ChordPlayer::playTones(std::span<const double> frequenciesHz, std::int64_t dueFrame) {
    try {
        schedule(synth::makeBuffer(frequenciesHz), dueFrame);
    } catch (const std::bad_alloc&) {
    }
}

void ChordPlayer::playPartials(std::span<const synth::Partial> partials, std::int64_t dueFrame) {
    try {
        schedule(synth::makePartialsBuffer(partials), dueFrame);
    } catch (const std::bad_alloc&) {
    }
}

void ChordPlayer::playTick(double frequencyHz, float gain, std::int64_t dueFrame) {
    try {
        schedule(synth::makeTickBuffer(frequencyHz, gain), dueFrame);
    } catch (const std::bad_alloc&) {
    }
}

void ChordPlayer::startOutput() {
    if (m_voices.startOutput())
        m_idlePause.start();
}

Synthesiser::Output ChordPlayer::output() const {
    if (m_voices.isOutputStarting())
        return Output::starting;
    return m_voices.isOutputRunning() ? Output::running : Output::none;
}

std::int64_t ChordPlayer::safeFrame() const { return m_voices.safeFrame(); }

void ChordPlayer::schedule(std::vector<float> samples, std::int64_t dueFrame) {
    if (!m_voices.play(std::move(samples), dueFrame))
        return;
    // Restarting the single shot postpones the pause to a full delay after
    // this request.
    m_idlePause.start();
}

void ChordPlayer::pauseWhenIdle() { m_voices.pauseOutput(); }

} // namespace quorlen
