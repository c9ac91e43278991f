#pragma once

#include "audio/engine/audio_backend.h"
#include "audio/engine/peak_limiter.h"
#include "audio/engine/spsc_ring.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace quorlen {

// The voices of the synthesiser and their mix. The main thread hands a
// voice a finished buffer and the frame of the audio clock at which it is
// due; the audio thread starts it on exactly that frame inside its block,
// plays it once, mono to both channels, and sums the voices times the
// output volume under a peak limiter.
//
// Audio clock: the count of frames rendered since the mixer was made. It
// only moves while an output pulls blocks, so sounds placed on it keep
// their spacing to the sample whatever the block size or the callback
// jitter. A sound due before the block being rendered (late, or due
// "as soon as possible") starts whole, from its first sample, at the
// block's first frame.
//
// A voice holds the sound it plays and at most one waiting for its due
// frame; the waiting one cuts the playing one when it starts, and a newer
// waiting one replaces it unheard.
//
// Handoff: buffers travel to the audio thread as raw pointers through a
// lock-free ring while the main thread keeps their owners. The audio
// thread hands back the id of every sound it lets go of through a second
// ring, and the main thread frees it there, so the audio thread never
// allocates or frees.
class VoiceMixer final : public RenderSource {
public:
    static constexpr int kVoiceCount = 16;
    // Due frame of a sound that starts with the next block.
    static constexpr std::int64_t kAsap = std::numeric_limits<std::int64_t>::min();
    using Samples = std::shared_ptr<const std::vector<float>>;

    explicit VoiceMixer(float outputVolume);
    ~VoiceMixer() override;

    // Main thread. Gives `voice` (0...15) `samples`, due at `dueFrame` of
    // the audio clock. False, with nothing changed, when the audio thread
    // lags too far behind to take it (64 commands or 96 buffers pending).
    bool play(int voice, Samples samples, std::int64_t dueFrame = kAsap);

    // Either thread: the frame the next block starts at, and the length of
    // the last block, as published by the audio thread after each block.
    std::int64_t framesRendered() const { return m_framesRendered.load(std::memory_order_acquire); }
    int lastBlockFrames() const { return m_lastBlockFrames.load(std::memory_order_relaxed); }
    // Main thread: sounds handed over and not yet let go of.
    size_t buffersHeld() const;
    // Any thread: from the next block on, the output is silent for good,
    // though the voices run on; a stop that takes the stream a while to
    // close is heard at once.
    void mute() { m_muted.store(true, std::memory_order_relaxed); }

    // Audio thread.
    void render(float* interleavedStereo, int frameCount) noexcept override;
    // Output thread while no stream runs: drops every sound, so that what
    // was asked for while the output failed to start is not played later.
    void discard() noexcept override;

private:
    struct Sound {
        std::uint64_t id = 0;
        const float* samples = nullptr;
        int frameCount = 0;
        std::int64_t dueFrame = kAsap;
    };
    struct Command {
        int voice = 0;
        Sound sound;
    };
    struct Voice {
        Sound playing;
        int position = 0;
        Sound waiting;
    };
    struct Held {
        std::uint64_t id;
        Samples samples;
    };

    static constexpr size_t kMaxHeld = 96;

    void releaseReturned();
    void letGo(Sound& sound) noexcept;
    void mix(Voice& voice, float* out, int from, int to) noexcept;

    const float m_volume;
    SpscRing<Command, 64> m_commands;
    // Holds ids; it never fills, since at most kMaxHeld sounds are out.
    SpscRing<std::uint64_t, 128> m_returns;
    std::atomic<std::int64_t> m_framesRendered{0};
    std::atomic<int> m_lastBlockFrames{0};
    std::atomic<bool> m_muted{false};

    // Audio thread only.
    std::array<Voice, kVoiceCount> m_voices{};
    std::int64_t m_frame = 0;
    PeakLimiter m_limiter;

    // Main thread only.
    std::uint64_t m_nextId = 1;
    std::vector<Held> m_held;
};

} // namespace quorlen
