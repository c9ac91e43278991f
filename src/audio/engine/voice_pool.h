#pragma once

#include "audio/engine/voice_mixer.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace quorlen {

class AudioBackend;

// Sixteen voices over one output, taken round robin so that successive
// sounds overlap: a sound is cut only when 16 newer ones have started. A
// sound goes out on the voice after the last one that was accepted; one the
// output or the mixer refuses is dropped and takes no voice. The output is
// started by the first sound; pausing it is the owner's call.
//
// Used from one thread (the app's main thread, or the command line's).
class VoicePool {
public:
    static constexpr int kVoiceCount = VoiceMixer::kVoiceCount;
    static constexpr float kOutputVolume = 0.9f;

    explicit VoicePool(std::unique_ptr<AudioBackend> backend);
    ~VoicePool();

    // Plays `samples` (mono, 44.1 kHz) at `dueFrame` of the audio clock, or
    // with the next block; false when dropped.
    bool play(std::vector<float> samples, std::int64_t dueFrame = VoiceMixer::kAsap);

    // Starts the output without a sound; false when it could not.
    bool startOutput();
    void pauseOutput();
    bool isOutputRunning() const;
    bool isOutputStarting() const;

    // The earliest frame of the audio clock a sound queued now is sure to
    // be in time for (see firstSafeFrame).
    std::int64_t safeFrame() const;

    int nextVoice() const { return m_nextVoice; }
    const VoiceMixer& mixer() const { return m_mixer; }
    // Silences the output from its next block on, for good.
    void mute() { m_mixer.mute(); }
    const AudioBackend& backend() const { return *m_backend; }

private:
    // Declared first so it is destroyed last, after the backend's audio
    // thread has stopped reading it.
    VoiceMixer m_mixer{kOutputVolume};
    std::unique_ptr<AudioBackend> m_backend;
    int m_nextVoice = 0;
};

} // namespace quorlen
