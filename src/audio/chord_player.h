#pragma once

#include "audio/engine/voice_pool.h"
#include "audio/synthesiser.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <memory>
#include <vector>

namespace quorlen {

class AudioBackend;

// The application's one synthesiser. Each request renders a finished buffer
// and plays it on the next of 16 voices (VoicePool). The output starts with
// the first sound, on a thread of its own over the sound card, and pauses
// once no sound was requested for the idle delay (10 s). Main thread only.
// Failures are silent: a sound that cannot be made or played is dropped,
// and the next request tries again.
class ChordPlayer : public QObject, public Synthesiser {
    Q_OBJECT
public:
    static constexpr int kVoiceCount = VoicePool::kVoiceCount;
    static constexpr float kOutputVolume = VoicePool::kOutputVolume;
    static constexpr std::chrono::milliseconds kIdleDelay{10000};

    // Created on first use over the sound card; lives as long as the
    // application object.
    static ChordPlayer& shared();

    explicit ChordPlayer(std::unique_ptr<AudioBackend> backend,
                         std::chrono::milliseconds idleDelay = kIdleDelay,
                         QObject* parent = nullptr);
    ~ChordPlayer() override;

    void playTriad(double rootHz, synth::TriadQuality quality,
                   std::int64_t dueFrame = kAsap) override;
    void playTones(std::span<const double> frequenciesHz, std::int64_t dueFrame = kAsap) override;
    void playPartials(std::span<const synth::Partial> partials,
                      std::int64_t dueFrame = kAsap) override;
    void playTick(double frequencyHz, float gain, std::int64_t dueFrame = kAsap) override;

    void startOutput() override;
    Output output() const override;
    std::int64_t safeFrame() const override;

    // Voice that plays the next sound.
    int nextPlayer() const { return m_voices.nextVoice(); }
    bool isIdlePausePending() const { return m_idlePause.isActive(); }
    VoicePool& voices() { return m_voices; }

private:
    void schedule(std::vector<float> samples, std::int64_t dueFrame);
    void pauseWhenIdle();

    VoicePool m_voices;
    QTimer m_idlePause;
};

} // namespace quorlen
