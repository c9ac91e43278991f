#include "audio/engine/peak_limiter.h"

#include "audio/engine/audio_backend.h"

#include <algorithm>
#include <cmath>

namespace quorlen {
namespace {

constexpr double kReleaseSeconds = 0.2;

} // namespace

void PeakLimiter::process(float* interleavedStereo, int frameCount) noexcept {
    const int count = 2 * frameCount;
    float peak = 0.0f;
    for (int i = 0; i < count; ++i)
        peak = std::max(peak, std::abs(interleavedStereo[i]));
    const float allowed = peak > kCeiling ? kCeiling / peak : 1.0f;
    if (m_gain == 1.0f && allowed == 1.0f)
        return;

    const float from = std::min(m_gain, allowed);
    const double recovery = 1.0 - std::exp(-frameCount / (kReleaseSeconds * RenderSource::kRateHz));
    const float to = std::min(allowed, static_cast<float>(from + (1.0 - from) * recovery));
    for (int frame = 0; frame < frameCount; ++frame) {
        const float gain = from + (to - from) * static_cast<float>(frame) / frameCount;
        for (int channel = 0; channel < 2; ++channel) {
            float& sample = interleavedStereo[2 * frame + channel];
            sample = std::clamp(sample * gain, -kCeiling, kCeiling);
        }
    }
    // Close enough to 1 is 1, so quiet passages take the untouched path.
    m_gain = to > 0.9999f ? 1.0f : to;
}

} // namespace quorlen
