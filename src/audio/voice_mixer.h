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
//
// Lateness: an output that stalls (a device starting up, a busy server)
// would otherwise start its whole backlog in one block, four clicks of a
// click track at once. A sound taken more than 100 ms after its request
// therefore starts where it would be by now, so the output resumes in
// time; the ordinary wait for the next block (about 12 ms) is far below.
class VoiceMixer final : public RenderSource {
public:
    static constexpr int kVoiceCount = 16;
    static constexpr std::int64_t kLateToleranceNs = 100'000'000;
    using Samples = std::shared_ptr<const std::vector<float>>;
    // Monotonic nanoseconds; read on both threads, so it must not lock.
    using Clock = std::int64_t (*)();

    explicit VoiceMixer(float outputVolume, Clock clock = &steadyNowNs);
    static std::int64_t steadyNowNs();

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
        std::int64_t requestedNs = 0;
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
    const Clock m_clock;
    SpscRing<Command, 64> m_commands;
    std::array<Voice, kVoiceCount> m_voices{};      // audio thread only
    std::array<Samples, kVoiceCount> m_owned;       // main thread only
    std::deque<Retired> m_retired;                  // main thread only
};

} // namespace quorlen
