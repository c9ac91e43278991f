#pragma once

namespace quorlen {

// Keeps a block of interleaved stereo samples within ±kCeiling. The whole
// block is known before it goes out, so the gain can drop at the block's
// first frame to what its loudest sample allows (a one-block look-ahead),
// and recovers towards 1 with a 200 ms time constant, ramped across each
// block so the recovery never steps. Below the ceiling it leaves samples
// untouched. A final clamp catches what rounding lets through.
class PeakLimiter {
public:
    static constexpr float kCeiling = 0.98f;

    // Audio thread; no allocation.
    void process(float* interleavedStereo, int frameCount) noexcept;
    float gain() const { return m_gain; }

private:
    float m_gain = 1.0f;
};

} // namespace quorlen
