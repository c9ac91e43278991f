#pragma once

#include "audio/engine/audio_backend.h"
#include "audio/engine/spsc_ring.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

namespace quorlen {

// The audio-thread end of the preview: stereo blocks at the output's own
// rate arrive from the reader thread through a lock-free ring and are
// played in order, after a start delay and under the preview's volume. Each
// block carries the generation of the playback it belongs to; blocks of any
// other generation than the one set by the main thread are dropped unheard,
// so a new start or a stop never lets a stale block through.
//
// A metronome can play over the file, mixed in the same frames: its clicks
// start on the very frame of the file where a beat of the grid falls, so
// they stay with the music however the reader or the device is late.
//
// It renders at whatever rate the output runs at, so the file is resampled
// once, by the reader, and never again by the output: delays, fades and
// clicks are given in seconds and counted in frames of that rate.
class PreviewStream final : public RenderSource {
public:
    static constexpr int kBlockFrames = 512;  // 11.6 ms at 44.1 kHz
    static constexpr size_t kRingBlocks = 48; // 0.56 s of buffered audio

    struct Block {
        std::array<float, size_t{2} * kBlockFrames> frames{};
        int frameCount = 0;
        uint64_t generation = 0;
    };

    // The clicks of one playback, in seconds of that playback (0 is the
    // file frame it starts from, after the start delay): beat k on frame
    // round((firstBeatSeconds + k × periodSeconds) × rate), the two terms
    // turned into frames first, for every k that lands at or after frame 0,
    // accented when k − downbeat is a multiple of 4.
    struct ClickGrid {
        uint64_t generation = 0;
        bool on = false;
        double firstBeatSeconds = 0;
        double periodSeconds = 0;
        int downbeat = 0;
    };
    static constexpr size_t kClickGridSlots = 16;

    PreviewStream();

    // Reader thread: the receipt (see SpscRing) of the pushed block, or
    // nothing when the ring is full.
    std::optional<uint64_t> push(const Block& block) {
        const auto receipt = m_ring.push(block);
        if (receipt)
            m_pushed.store(*receipt, std::memory_order_release);
        return receipt;
    }
    uint64_t taken() const { return m_ring.taken(); }
    // Either thread: blocks waiting in the ring; from the first render of a
    // playback on, only that playback's.
    uint64_t buffered() const { return m_pushed.load(std::memory_order_acquire) - taken(); }

    // Main thread. Plays blocks of `generation` at full volume after
    // `delaySeconds` of silence; generation 0 plays nothing.
    void begin(uint64_t generation, double delaySeconds);
    // Main thread, before it starts an output: the rate is unknown (0)
    // until that output tells it.
    void forgetRate() { m_rateHz.store(0, std::memory_order_release); }
    // Any thread: the rate the blocks must have, the one this stream renders
    // at for the output last started; 0 after forgetRate until it says.
    double rateHz() const { return m_rateHz.load(std::memory_order_acquire); }
    // Main thread. Steps the volume from where it is down to 0 in 12 equal
    // steps 2.916666 ms apart, counted in frames so callbacks cannot jitter it.
    void fadeOut();
    // Main thread. The clicks of playback `grid.generation` from the next
    // block on; false when the audio thread has not taken the last 16 yet.
    bool setClicks(const ClickGrid& grid) { return m_clickGrids.push(grid).has_value(); }
    // The sounds of an accented and of a plain beat, mono, at the rate; not
    // while an output starts.
    const std::vector<float>& accentClick() const { return m_accentClick; }
    const std::vector<float>& beatClick() const { return m_beatClick; }

    // Either thread: the volume the audio thread applies now (tests, meters).
    float volume() const { return m_volumeNow.load(std::memory_order_relaxed); }
    // Frames of the current generation played so far, silence excluded.
    uint64_t framesPlayed() const { return m_framesPlayed.load(std::memory_order_relaxed); }

    // Output thread, while nothing pulls: renders at the output's rate from
    // now on, or, when its clicks cannot be made at that rate for want of
    // memory, at the rate it had. Returns the rate it renders at.
    double renderRateFor(double outputRateHz) noexcept override;
    // Audio thread.
    void render(float* interleavedStereo, int frameCount) noexcept override;

private:
    bool nextBlock(uint64_t generation) noexcept;
    void stepFade() noexcept;
    void takeClickGrids() noexcept;
    // Finds the first click at or after file frame `from`.
    void aimNextClick(int64_t from) noexcept;
    // Starts the click due at the current file frame, if any.
    void clickIfDue() noexcept;

    SpscRing<Block, kRingBlocks> m_ring;
    std::atomic<uint64_t> m_generation{0};
    std::atomic<double> m_delaySeconds{0};
    std::atomic<double> m_rateHz{kRateHz};
    std::atomic<uint32_t> m_fadeRequests{0};
    std::atomic<float> m_volumeNow{1.0f};
    std::atomic<uint64_t> m_framesPlayed{0};
    std::atomic<uint64_t> m_pushed{0};
    SpscRing<ClickGrid, kClickGridSlots> m_clickGrids;
    // Changed only while nothing pulls (see renderRateFor), and otherwise
    // only read by the audio thread.
    double m_renderRateHz = kRateHz;
    int m_framesPerFadeStep = 0;
    std::vector<float> m_accentClick;
    std::vector<float> m_beatClick;

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
    ClickGrid m_grid;       // the latest taken; heard when of m_playing
    int64_t m_filePosition = 0;
    int64_t m_nextClick = -1; // file frame of the next click; -1: none
    bool m_nextAccented = false;
    const std::vector<float>* m_click = nullptr; // the one sounding
    size_t m_clickPosition = 0;
};

} // namespace quorlen
