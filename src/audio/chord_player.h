#pragma once

#include "audio/voice_mixer.h"
#include "synth/tone_buffers.h"
#include "synth/triad.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <memory>
#include <span>

namespace quorlen {

class AudioBackend;

// The application's one synthesiser. Each request renders a finished buffer
// and plays it on the next of 16 voices, round robin, so sounds overlap and
// a sound is cut only when 16 newer ones have started. The output starts
// with the first sound and pauses once no sound was requested for the idle
// delay (10 s). Main thread only. Failures are silent: a sound that cannot
// be made or played is dropped, and the next request tries again.
class ChordPlayer : public QObject {
    Q_OBJECT
public:
    static constexpr int kVoiceCount = VoiceMixer::kVoiceCount;
    static constexpr float kOutputVolume = 0.9f;
    static constexpr std::chrono::milliseconds kIdleDelay{10000};

    // Created on first use over the sound card; lives as long as the
    // application object.
    static ChordPlayer& shared();

    explicit ChordPlayer(std::unique_ptr<AudioBackend> backend,
                         std::chrono::milliseconds idleDelay = kIdleDelay,
                         QObject* parent = nullptr);
    ~ChordPlayer() override;

    // A strummed root, third and fifth.
    void playTriad(double rootHz, synth::TriadQuality quality);
    // A strummed chord, notes entering in array order.
    void playTones(std::span<const double> frequenciesHz);
    void playPartials(std::span<const synth::Partial> partials);
    void playTick(double frequencyHz, float gain);

    // Voice that plays the next sound.
    int nextPlayer() const { return m_nextPlayer; }
    bool isIdlePausePending() const { return m_idlePause.isActive(); }

private:
    void schedule(std::vector<float> samples);
    void pauseWhenIdle();

    // Declared first so it is destroyed last, after the backend's audio
    // thread has stopped reading it.
    VoiceMixer m_mixer{kOutputVolume};
    std::unique_ptr<AudioBackend> m_backend;
    int m_nextPlayer = 0;
    QTimer m_idlePause;
};

} // namespace quorlen
