#include "preview/preview_frames.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace quorlen::preview {
namespace {

TEST(PreviewFrames, FadeInLasts12MillisecondsOfTheFileRate) {
    struct Case {
        double rateHz;
        long long remaining, frames;
    };
    // trunc(rate × 0.012): 44100 → 529.2 → 529, 48000 → 576, 22050 → 264.6 → 264.
    const Case cases[] = {{44100, 100000, 529},
                          {48000, 100000, 576},
                          {22050, 100000, 264},
                          {44100, 100, 100},
                          {44100, 0, 0}};
    for (const Case& c : cases)
        EXPECT_EQ(fadeInFrames(c.rateHz, c.remaining), c.frames) << c.rateHz << " " << c.remaining;
}

TEST(PreviewFrames, FadeShapes) {
    // Raised cosine 0.5 - 0.5 cos(π i / L): 0 at the start, 0.5 halfway,
    // 0.5 - 0.5 cos(π / 4) = 0.1464 a quarter in.
    EXPECT_FLOAT_EQ(fadeInGain(0, 400), 0.0f);
    EXPECT_NEAR(fadeInGain(100, 400), 0.1464466, 1e-6);
    EXPECT_FLOAT_EQ(fadeInGain(200, 400), 0.5f);
    EXPECT_NEAR(fadeInGain(399, 400), 1.0, 1e-4);
    // Fade-out steps from 0.8: 0.8 (1 - i / 12), silent at the twelfth.
    EXPECT_FLOAT_EQ(fadeOutVolume(0.8f, 1), 0.8f * 11 / 12);
    EXPECT_FLOAT_EQ(fadeOutVolume(0.8f, 6), 0.4f);
    EXPECT_FLOAT_EQ(fadeOutVolume(0.8f, 12), 0.0f);
}

TEST(PreviewFrames, StereoFromAnyChannelCount) {
    const float mono[] = {0.1f, 0.2f};
    const float surround[] = {1, 2, 3, 4, 5, 6}; // two frames of three channels
    float out[4] = {9, 9, 9, 9};
    toStereo(mono, 2, 1, out);
    EXPECT_EQ(std::vector<float>(out, out + 4), (std::vector<float>{0.1f, 0.1f, 0.2f, 0.2f}));
    toStereo(surround, 2, 3, out);
    EXPECT_EQ(std::vector<float>(out, out + 4), (std::vector<float>{1, 2, 4, 5}));
}

// A stereo ramp: left = frame index, right = -frame index.
std::vector<float> ramp(size_t frames) {
    std::vector<float> out;
    for (size_t i = 0; i < frames; ++i) {
        out.push_back(float(i));
        out.push_back(-float(i));
    }
    return out;
}

TEST(PreviewFrames, ResamplerFollowsARampAtTheNewRate) {
    struct Case {
        double fromHz, toHz;
    };
    // Linear interpolation reproduces a ramp exactly: output n lies at input
    // position n × from / to. Chunk boundaries must not show.
    const Case cases[] = {{44100, 44100}, {22050, 44100}, {48000, 44100}, {96000, 44100}};
    const std::vector<float> input = ramp(1000);
    for (const Case& c : cases) {
        for (const size_t chunk : {size_t(1), size_t(7), size_t(1000)}) {
            LinearResampler resampler(c.fromHz, c.toHz);
            std::vector<float> out;
            for (size_t start = 0; start < 1000; start += chunk)
                resampler.push(input.data() + 2 * start, std::min(chunk, 1000 - start), out);
            const double step = c.fromHz / c.toHz;
            // Every output frame before the last input frame (which waits for
            // a successor that never comes): n × step < 999, ceil(999 / step) frames.
            ASSERT_EQ(out.size() / 2, size_t(std::ceil(999 / step - 1e-9)))
                << c.fromHz << " chunk " << chunk;
            for (size_t n = 0; n < out.size() / 2; ++n) {
                ASSERT_NEAR(out[2 * n], n * step, 1e-3) << c.fromHz << " frame " << n;
                ASSERT_NEAR(out[2 * n + 1], -(n * step), 1e-3);
            }
        }
    }
}

} // namespace
} // namespace quorlen::preview
