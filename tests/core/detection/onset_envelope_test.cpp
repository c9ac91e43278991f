#include "detection/filterbank.h"
#include "detection/onset_envelope.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace quorlen::detection {
namespace {

TEST(Filterbank, KeepsSeventySixBinsAndMakesSeventyFourBands) {
    // 30 Hz * 2^(k/12) over 21.533 Hz bins: bins 1 ... 22 consecutively, then
    // gaps start (24, 25, 27, 28, 30, ...) and 10925 Hz ends at bin 504.
    const std::vector<size_t> bins = filterbankBins(12, 30, 10925);
    ASSERT_EQ(bins.size(), 76u);
    for (size_t i = 0; i < 22; ++i)
        EXPECT_EQ(bins[i], i + 1);
    EXPECT_EQ(std::vector<size_t>(bins.begin() + 22, bins.begin() + 27),
              (std::vector<size_t>{24, 25, 27, 28, 30}));
    EXPECT_EQ(bins.back(), 504u);

    const std::vector<Band> bands = logFilterbank(12, 30, 10925);
    ASSERT_EQ(bands.size(), 74u);
    const auto lowBands =
        std::count_if(bands.begin(), bands.end(), [](const Band& b) { return b.centerHz < 220.0; });
    EXPECT_EQ(lowBands, 9);
    EXPECT_NEAR(bands[0].centerHz, 43.07, 0.005);  // bin 2
    EXPECT_NEAR(bands[8].centerHz, 215.33, 0.005); // bin 10
    size_t widest = 0;
    for (const Band& b : bands)
        widest = std::max(widest, b.weights.size());
    EXPECT_EQ(widest, 56u);
}

TEST(Filterbank, BandsAreTrianglesFromNeighbourToNeighbour) {
    const std::vector<Band> bands = logFilterbank(12, 30, 10925);
    const Band& band = bands[30];
    const size_t peak = size_t(std::round(band.centerHz / kBinWidthHz)) - band.start;
    EXPECT_EQ(band.weights.front(), 0.0f);
    EXPECT_EQ(band.weights.back(), 0.0f);
    EXPECT_EQ(band.weights[peak], 1.0f);
    EXPECT_TRUE(std::is_sorted(band.weights.begin(), band.weights.begin() + long(peak) + 1));
    EXPECT_TRUE(std::is_sorted(band.weights.rbegin(), band.weights.rend() - long(peak)));
    EXPECT_TRUE(logFilterbank(12, 30, 50).empty()); // 30 ... 50 Hz keeps only bins 1 and 2
}

TEST(OnsetEnvelope, NeedsMoreThanOneFrameOfSamples) {
    EXPECT_TRUE(onsetEnvelope(std::vector<float>(1024, 0.5f), {}).full.empty());
    const Envelope one = onsetEnvelope(testing::sine(440, 1025 / 22050.0, 22050), {});
    ASSERT_EQ(one.full.size(), 1u);
    EXPECT_EQ(one.full[0], 0.0);
    EXPECT_EQ(one.low[0], 0.0);
    // (22050 - 1024) / 256 + 1 frames for one second.
    EXPECT_EQ(onsetEnvelope(std::vector<float>(22050), {}).full.size(), 83u);
}

TEST(OnsetEnvelope, ClicksSpikeOncePerBeatAndHighClicksLeaveLowEmpty) {
    // 120 BPM at 86.13 frames/s: one click every 43.07 frames.
    const Envelope env = onsetEnvelope(
        testing::clickTrain({.bpm = 120, .seconds = 6, .rateHz = 22050, .firstClickSeconds = 0.5}),
        {});
    const double peak = *std::max_element(env.full.begin(), env.full.end());
    std::vector<size_t> onsets;
    for (size_t i = 1; i < env.full.size(); ++i)
        if (env.full[i] > 0.5 * peak && env.full[i - 1] <= 0.5 * peak)
            onsets.push_back(i);
    ASSERT_EQ(onsets.size(), 11u); // clicks at 0.5, 1.0, ... 5.5 s
    for (size_t k = 1; k < onsets.size(); ++k)
        EXPECT_NEAR(double(onsets[k] - onsets[0]) / double(k), 43.07, 0.15);
    // The 1 kHz clicks put only their attack's spread below 220 Hz.
    EXPECT_LT(*std::max_element(env.low.begin(), env.low.end()), 0.2 * peak);
}

TEST(OnsetEnvelope, SteadyTonesHaveNoOrNegligibleFlux) {
    // 5 cycles per 256-sample hop (430.66 Hz): every frame holds the same
    // samples, so the flux is exactly 0.
    EXPECT_EQ(onsetEnvelope(testing::hopPeriodicTone(5, 2.0), {}).full,
              std::vector<double>(169, 0.0));
    // 440 Hz drifts against the hop; the window's leakage then wobbles a
    // little from frame to frame, far below a click's flux (about 200).
    const Envelope env = onsetEnvelope(testing::sine(440, 2, 22050), {});
    EXPECT_LT(*std::max_element(env.full.begin(), env.full.end()), 0.2);
}

TEST(OnsetEnvelope, RealTransformGivesTheReferenceEnvelope) {
    const std::vector<float> x = testing::clickTrain(
        {.bpm = 97, .seconds = 4, .rateHz = 22050, .firstClickSeconds = 0.2, .accentEvery = 4});
    const Envelope fast = onsetEnvelope(x, {});
    const Envelope plain = onsetEnvelopeReference(x, {});
    // Splitting the frames over threads recomputes each range's previous
    // frame, so the result is identical to one pass.
    EXPECT_EQ(onsetEnvelope(x, {}, 3).full, fast.full);
    EXPECT_EQ(onsetEnvelope(x, {}, 3).low, fast.low);
    ASSERT_EQ(fast.full.size(), plain.full.size());
    for (size_t i = 0; i < fast.full.size(); ++i) {
        EXPECT_NEAR(fast.full[i], plain.full[i], 1e-4 * (1.0 + plain.full[i])) << i;
        EXPECT_NEAR(fast.low[i], plain.low[i], 1e-4 * (1.0 + plain.low[i])) << i;
    }
}

TEST(OnsetEnvelope, PollsCancellationEvery128Frames) {
    int calls = 0;
    const std::vector<float> x(22050 * 3); // 255 frames: polls at 0 and 128
    EXPECT_EQ(onsetEnvelope(x, [&] { return ++calls, false; }).full.size(), 255u);
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(onsetEnvelope(x, [] { return true; }).full.empty());
}

TEST(Normalize, RemovesTheLocalMeanAndScalesToUnitRms) {
    EXPECT_TRUE(normalize({}, kEnvelopeFps).empty());
    EXPECT_EQ(normalize(std::vector<double>(50, 0.0), kEnvelopeFps), std::vector<double>(50, 0.0));
    EXPECT_EQ(normalize(std::vector<double>(50, 2.0), kEnvelopeFps), std::vector<double>(50, 0.0));
    // fps 1 -> half-width 1. Worked by hand for x = {0, 3, 0, 0}:
    // means {1.5, 1, 1, 0}, positive parts {0, 2, 0, 0}, rms = sqrt(4 / 4) = 1.
    EXPECT_EQ(normalize(std::vector<double>{0, 3, 0, 0}, 1.0), (std::vector<double>{0, 2, 0, 0}));
    const std::vector<double> y = normalize(testing::pulseEnvelope(1000, 43.07), kEnvelopeFps);
    const double meanSquare =
        std::inner_product(y.begin(), y.end(), y.begin(), 0.0) / double(y.size());
    EXPECT_NEAR(meanSquare, 1.0, 1e-12);
}

} // namespace
} // namespace quorlen::detection
