#include "audio/chord_player.h"

#include "audio/audio_backend.h"
#include "audio/rtaudio_backend.h"

#include <QCoreApplication>

#include <new>

namespace quorlen {

ChordPlayer& ChordPlayer::shared() {
    // Parented to the application so the stream closes before Qt shuts down.
    static ChordPlayer* instance = new ChordPlayer(std::make_unique<RtAudioBackend>(), kIdleDelay,
                                                   QCoreApplication::instance());
    return *instance;
}

ChordPlayer::ChordPlayer(std::unique_ptr<AudioBackend> backend,
                         std::chrono::milliseconds idleDelay, QObject* parent)
    : QObject(parent), m_backend(std::move(backend)) {
    // A precise timer: a coarse one may fire up to 5 % early.
    m_idlePause.setSingleShot(true);
    m_idlePause.setTimerType(Qt::PreciseTimer);
    m_idlePause.setInterval(idleDelay);
    connect(&m_idlePause, &QTimer::timeout, this, &ChordPlayer::pauseWhenIdle);
}

ChordPlayer::~ChordPlayer() = default;

void ChordPlayer::playTriad(double rootHz, synth::TriadQuality quality) {
    const auto notes = synth::triadFrequencies(rootHz, quality);
    playTones(notes);
}

// Rendering allocates up to 70560 floats; if even that fails the sound is
// dropped like any other audio failure.
void ChordPlayer::playTones(std::span<const double> frequenciesHz) {
    try {
        schedule(synth::makeBuffer(frequenciesHz));
    } catch (const std::bad_alloc&) {
    }
}

void ChordPlayer::playPartials(std::span<const synth::Partial> partials) {
    try {
        schedule(synth::makePartialsBuffer(partials));
    } catch (const std::bad_alloc&) {
    }
}

void ChordPlayer::playTick(double frequencyHz, float gain) {
    try {
        schedule(synth::makeTickBuffer(frequencyHz, gain));
    } catch (const std::bad_alloc&) {
    }
}

void ChordPlayer::schedule(std::vector<float> samples) {
    if (!m_backend->isRunning() && !m_backend->start(m_mixer))
        return;
    const int voice = m_nextPlayer;
    m_nextPlayer = (m_nextPlayer + 1) % kVoiceCount;
    m_mixer.play(voice, std::make_shared<const std::vector<float>>(std::move(samples)));
    // Restarting the single shot postpones the pause to a full delay after
    // this request.
    m_idlePause.start();
}

void ChordPlayer::pauseWhenIdle() {
    if (m_backend->isRunning())
        m_backend->pause();
}

} // namespace quorlen
