#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace quorlen::preview {

// The preview's timing and fades, in seconds.
inline constexpr double kFadeInSeconds = 0.012;
inline constexpr double kStartDelaySeconds = 0.12;
inline constexpr int kFadeOutSteps = 12;
inline constexpr double kFadeOutStepSeconds = 0.002916666; // 12 steps: 35 ms
inline constexpr double kFadeOutPauseSeconds = 0.12;

// Frames of the fade-in at the start of a playback: min(remaining,
// trunc(rate × 0.012)), 529 at 44.1 kHz.
long long fadeInFrames(double fileRateHz, long long remainingFrames);

// Raised-cosine gain of frame `i` of a fade of `frameLength` frames:
// 0.5 - 0.5 cos(π i / frameLength), from 0 at i = 0 rising towards 1.
float fadeInGain(long long i, long long frameLength);

// Volume after fade-out step `step` (1 ... 12) from `startVolume`: v (1 - step / 12).
float fadeOutVolume(float startVolume, int step);

// `frames` frames of `channels` interleaved channels as stereo: mono goes to
// both sides, two or more channels keep the first two (front left and right).
void toStereo(const float* interleaved, size_t frames, int channels, float* stereo);

// Converts a stream of stereo frames from one rate to another by linear
// interpolation between neighbouring frames, keeping its position across
// calls so a file can be fed in chunks of any size. Enough for listening
// back against the grid; it is not used for analysis. Between equal rates
// it copies the frames as they are.
class LinearResampler {
public:
    LinearResampler(double fromHz, double toHz);

    // Appends to `out` every output frame that the frames given so far
    // determine.
    void push(const float* stereo, size_t frames, std::vector<float>& out);

private:
    double m_step;         // input frames per output frame
    double m_position = 0; // of the next output frame, in input frames after m_previous
    bool m_primed = false;
    std::array<float, 2> m_previous{};
};

} // namespace quorlen::preview
