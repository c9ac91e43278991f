#pragma once

#include "audio/engine/audio_backend.h"
#include "audio/engine/spsc_ring.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace quorlen {

// The audio-thread end of the preview: stereo blocks at 44.1 kHz arrive
// from the reader thread through a lock-free ring and are played in order,
// after a start delay and under the preview's volume. Each block carries the
// generation of the playback it belongs to; blocks of any other generation
// than the one set by the main thread are dropped unheard, so a new start
// or a stop never lets a stale block through.
class PreviewStream final : public RenderSource {
public:
    static constexpr int kBlockFrames = 512;  // 11.6 ms
    static constexpr size_t kRingBlocks = 48; // 0.56 s of buffered audio

    struct Block {
        std::array<float, size_t{2} * kBlockFrames> frames{};
        int frameCount = 0;
        uint64_t generation = 0;
    };

    // Reader thread: the receipt (see SpscRing) of the pushed block, or
    // nothing when the ring is full.
    std::optional<uint64_t> push(const Block& block) {
        const auto receipt = m_ring.push(block);
        if (receipt)
            m_pushed.store(*receipt, std::memory_order_release);
        return receipt;
    }
    uint64_t taken() const { return m_ring.taken(); }
    // Either thread: blocks waiting in the ring.
    uint64_t buffered() const { return m_pushed.load(std::memory_order_acquire) - taken(); }

    // Main thread. Plays blocks of `generation` at full volume after
    // `delayFrames` frames of silence; generation 0 plays nothing.
    void begin(uint64_t generation, int delayFrames);
    // Main thread. Steps the volume from where it is down to 0 in 12 equal
    // steps 2.916666 ms apart, counted in frames so callbacks cannot jitter it.
    void fadeOut();
    // Either thread: the volume the audio thread applies now (tests, meters).
    float volume() const { return m_volumeNow.load(std::memory_order_relaxed); }
    // Frames of the current generation played so far, silence excluded.
    uint64_t framesPlayed() const { return m_framesPlayed.load(std::memory_order_relaxed); }

    // Audio thread.
    void render(float* interleavedStereo, int frameCount) noexcept override;

private:
    bool nextBlock(uint64_t generation) noexcept;
    void stepFade() noexcept;

    SpscRing<Block, kRingBlocks> m_ring;
    std::atomic<uint64_t> m_generation{0};
    std::atomic<int> m_delayFrames{0};
    std::atomic<uint32_t> m_fadeRequests{0};
    std::atomic<float> m_volumeNow{1.0f};
    std::atomic<uint64_t> m_framesPlayed{0};
    std::atomic<uint64_t> m_pushed{0};

    // Audio thread only.
    Block m_current;
    int m_position = 0;
    uint64_t m_playing = 0;
    int m_delayLeft = 0;
    float m_volume = 1.0f;
    uint32_t m_fadesSeen = 0;
    float m_fadeFrom = 1.0f;
    int m_fadeStep = 0;     // 0: no fade running; 1 ... 12 applied so far
    int m_framesToStep = 0; // until the next fade step
};

} // namespace quorlen
