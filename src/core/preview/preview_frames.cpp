#include "preview/preview_frames.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quorlen::preview {

long long fadeInFrames(double fileRateHz, long long remainingFrames) {
    const auto frames = static_cast<long long>(std::trunc(fileRateHz * kFadeInSeconds));
    return std::max(0LL, std::min(remainingFrames, frames));
}

float fadeInGain(long long i, long long frameLength) {
    if (frameLength <= 0)
        return 1.0f;
    return static_cast<float>(0.5 -
                              0.5 * std::cos(std::numbers::pi * double(i) / double(frameLength)));
}

float fadeOutVolume(float startVolume, int step) {
    return startVolume * (1.0f - static_cast<float>(step) / static_cast<float>(kFadeOutSteps));
}

void toStereo(const float* interleaved, size_t frames, int channels, float* stereo) {
    for (size_t i = 0; i < frames; ++i) {
        const float* frame = interleaved + i * static_cast<size_t>(channels);
        stereo[2 * i] = frame[0];
        stereo[2 * i + 1] = channels > 1 ? frame[1] : frame[0];
    }
}

LinearResampler::LinearResampler(double fromHz, double toHz) : m_step(fromHz / toHz) {}

void LinearResampler::push(const float* stereo, size_t frames, std::vector<float>& out) {
    if (m_step == 1.0) {
        out.insert(out.end(), stereo, stereo + 2 * frames);
        return;
    }
    size_t next = 0; // index of the input frame after m_previous
    if (!m_primed && frames > 0) {
        m_previous = {stereo[0], stereo[1]};
        m_primed = true;
        next = 1;
    }
    // Output frames lie between m_previous and input frame `next`.
    while (next < frames) {
        const float* after = stereo + 2 * next;
        while (m_position < 1.0) {
            const auto weight = static_cast<float>(m_position);
            out.push_back(m_previous[0] + (after[0] - m_previous[0]) * weight);
            out.push_back(m_previous[1] + (after[1] - m_previous[1]) * weight);
            m_position += m_step;
        }
        m_position -= 1.0;
        m_previous = {after[0], after[1]};
        ++next;
    }
}

} // namespace quorlen::preview
