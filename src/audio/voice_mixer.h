#pragma once

#include "audio/audio_backend.h"
#include "audio/spsc_ring.h"

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace quorlen {

// The voices of the synthesiser and their mix. The main thread hands a
// voice a finished buffer; the audio thread plays each voice's buffer once
// from its first frame, mono to both channels, and sums the voices times
// the output volume.
//
// Handoff: a buffer travels to the audio thread as a raw pointer through a
// lock-free ring, while the main thread keeps the owning pointer. A buffer
// that a newer one replaces is kept until the ring's receipt shows that the
// audio thread has taken the replacing command, and is then released on
// the main thread, so the audio thread never frees memory.
class VoiceMixer final : public RenderSource {
public:
    static constexpr int kVoiceCount = 16;
    using Samples = std::shared_ptr<const std::vector<float>>;

    explicit VoiceMixer(float outputVolume);

    // Main thread. Stops what `voice` (0...15) plays and plays `samples`
    // from the start of the next block. False, with nothing changed, when
    // the audio thread has 64 commands still to take.
    bool play(int voice, Samples samples);

    // Audio thread.
    void render(float* interleavedStereo, int frameCount) noexcept override;

private:
    struct Command {
        int voice = 0;
        const float* samples = nullptr;
        int frameCount = 0;
    };
    struct Voice {
        const float* samples = nullptr;
        int frameCount = 0;
        int position = 0;
    };
    struct Retired {
        uint64_t releasableAtTaken;
        Samples samples;
    };

    void releaseTakenBuffers();

    const float m_volume;
    SpscRing<Command, 64> m_commands;
    std::array<Voice, kVoiceCount> m_voices{};      // audio thread only
    std::array<Samples, kVoiceCount> m_owned;       // main thread only
    std::deque<Retired> m_retired;                  // main thread only
};

} // namespace quorlen
