#pragma once

#include "audio/engine/audio_backend.h"

#include <array>

namespace quorlen {

// Plays a source on a device that runs at another rate, so pitch and
// timing stay right: each device frame is the linear interpolation of
// the two source frames around its position. Linear interpolation is
// enough for short synthesised sounds; its images stay below −40 dB for
// tones under 2 kHz at the usual 48 kHz.
//
// Runs on the audio thread without allocating: source frames are pulled in
// blocks of 256 into a fixed buffer, which adds at most 5.8 ms of latency.
class RateAdapter {
public:
    // Call while no stream runs. Equal rates pass frames through.
    void reset(double sourceRateHz, double deviceRateHz);

    void render(RenderSource& source, float* interleavedStereo, int frameCount) noexcept;

private:
    static constexpr int kBlockFrames = 256;

    // Moves the interpolation pair one source frame on.
    void advance(RenderSource& source) noexcept;

    double m_step = 1.0; // source frames per device frame
    double m_fraction = 0.0;
    std::array<float, 2> m_before{};
    std::array<float, 2> m_after{};
    std::array<float, std::size_t{2} * kBlockFrames> m_block{};
    int m_nextInBlock = kBlockFrames;
};

} // namespace quorlen
