#include "decoding/audio_file_reader.h"
#include "preview/preview_frames.h"
#include "preview/span_peaks.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <tuple>
#include <vector>

namespace quorlen::preview {
namespace {

TEST(PreviewFrames, FadeInLasts12MillisecondsOfTheFileRateAndFadesAreShaped) {
    // trunc(rate × 0.012): 44100 → 529.2 → 529, 48000 → 576, 22050 → 264.6 → 264.
    const std::tuple<double, long long, long long> cases[] = {{44100, 100000, 529},
                                                              {48000, 100000, 576},
                                                              {22050, 100000, 264},
                                                              {44100, 100, 100},
                                                              {44100, 0, 0}};
    for (const auto& [rateHz, remaining, frames] : cases)
        EXPECT_EQ(fadeInFrames(rateHz, remaining), frames) << rateHz << " " << remaining;
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
    // Linear interpolation reproduces a ramp exactly: output n lies at input
    // position n × from / to. Chunk boundaries must not show.
    const std::vector<float> input = ramp(1000);
    for (const double fromHz : {44100.0, 22050.0, 48000.0, 96000.0}) {
        for (const size_t chunk : {size_t(1), size_t(7), size_t(1000)}) {
            LinearResampler resampler(fromHz, 44100.0);
            std::vector<float> out;
            for (size_t start = 0; start < 1000; start += chunk)
                resampler.push(input.data() + 2 * start, std::min(chunk, 1000 - start), out);
            const double step = fromHz / 44100.0;
            // Every output frame before the last input frame (which waits for
            // a successor that never comes): n × step < 999, ceil(999 / step)
            // frames. Equal rates copy every frame, the last one too.
            const size_t expected = step == 1.0 ? 1000 : size_t(std::ceil(999 / step - 1e-9));
            ASSERT_EQ(out.size() / 2, expected) << fromHz << " chunk " << chunk;
            for (size_t n = 0; n < out.size() / 2; ++n) {
                ASSERT_NEAR(out[2 * n], n * step, 1e-3) << fromHz << " frame " << n;
                ASSERT_NEAR(out[2 * n + 1], -(n * step), 1e-3);
            }
        }
    }
}

namespace generated = detection::testing;

// 10 s of stereo at 8 kHz, silent but for pulses: (left, right) at the
// given seconds.
struct Pulse {
    double seconds;
    float left, right;
};

std::string writePulses(const generated::TempDir& dir, const std::vector<Pulse>& pulses) {
    std::vector<float> samples(2 * 10 * 8000, 0.0f);
    for (const Pulse& p : pulses) {
        const auto frame = static_cast<size_t>(p.seconds * 8000);
        samples[2 * frame] = p.left;
        samples[2 * frame + 1] = p.right;
    }
    const std::string path = dir.file("pulses.wav").string();
    EXPECT_TRUE(generated::writeSound(path, samples, 2, 8000, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
    return path;
}

TEST(SpanPeaks, EachColumnHoldsThePeakOfItsPartOfTheStretchOnly) {
    const generated::TempDir dir;
    // Pulses before, inside and after the stretch 4 ... 5 s; the mono mix
    // is the channels' mean, so a pulse on one side counts half.
    decoding::AudioFileReader file(writePulses(dir, {{3.99, 1, 1},
                                                     {4.0, 0.2, 0.2},
                                                     {4.25, 0.8, -0.4},
                                                     {4.26, 0.5, 0.5},
                                                     {4.99, 0, 0.6},
                                                     {5.0, 1, 1},
                                                     {9.5, 0.4, 0.4}}));
    // Ten columns of 0.1 s each: the pulse at 4.26 s is louder in the mix
    // (0.5) than the one at 4.25 s ((0.8 - 0.4) / 2 = 0.2).
    const std::vector<float> expected = {0.2f, 0, 0.5f, 0, 0, 0, 0, 0, 0, 0.3f};
    EXPECT_EQ(spanPeaks(file, 4.0, 1.0, 10), expected);
    // Read again after another stretch: the seek finds its place.
    EXPECT_EQ(spanPeaks(file, 3.9, 0.2, 2), (std::vector<float>{1, 0.2f}));
    EXPECT_EQ(spanPeaks(file, 4.0, 1.0, 10), expected);
    // 9 ... 11 s: the second half lies past the end, which is no peak; nor is a cancel.
    EXPECT_EQ(spanPeaks(file, 9.0, 2.0, 4), (std::vector<float>{0, 0.4f, 0, 0}));
    EXPECT_TRUE(spanPeaks(file, 1.0, 1.0, 4, [] { return true; }).empty());
}

TEST(SpanPeaks, FinerPeaksAreWantedOnlyWhereAKeptColumnIsWiderThanAPoint) {
    // 1600 kept columns. The whole file: half a point a column; 3 times
    // closer: 1.3 points; one second of three hours; as long a stretch as is
    // decoded again, and longer; nowhere to draw.
    const std::tuple<double, double, double, bool> cases[] = {
        {60, 60, 800, false},    {60, 20, 800, true},      {10800, 1, 870, true},
        {10800, 600, 870, true}, {10800, 601, 870, false}, {10800, 1, 0, false}};
    for (const auto& [duration, span, width, wanted] : cases)
        EXPECT_EQ(wantsSpanPeaks(duration, 1600, span, width), wanted)
            << duration << " " << span << " " << width;
}

} // namespace
} // namespace quorlen::preview
