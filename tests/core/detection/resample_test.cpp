#include "detection/resample.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <numeric>

namespace quorlen::detection {
namespace {

std::vector<float> ramp(size_t n) {
    std::vector<float> out(n);
    std::iota(out.begin(), out.end(), 0.0f);
    return out;
}

TEST(Resample, PassesThroughWhenRatesMatchOrInputIsUnusable) {
    const std::vector<float> x = {1, 2, 3, 4};
    // |from - to| < 1 Hz, a non-positive source rate, and an empty input.
    EXPECT_EQ(resample(x, 22050.0, 22050.0, {}), x);
    EXPECT_EQ(resample(x, 22050.9, 22050.0, {}), x);
    EXPECT_EQ(resample(x, 0.0, 22050.0, {}), x);
    EXPECT_TRUE(resample({}, 44100.0, 22050.0, {}).empty());
    EXPECT_EQ(resample(x, 22051.0, 22050.0, {}).size(), 3u); // 4 / 1.0000453 -> 3
}

TEST(Resample, DecimatesTwoToOneWithAThreeTapBox) {
    // ratio 2: half = 1, output i = mean of x[2i-1 ... 2i+1] within the input.
    const std::vector<float> out = resample(ramp(8), 44100.0, 22050.0, {});
    const std::vector<float> expected = {0.5f, 2.0f, 4.0f, 6.0f};
    EXPECT_EQ(out, expected);
}

TEST(Resample, InterpolatesLinearlyBelowRatioOnePointFive) {
    // ratio 24000/22050 = 1.0884: output i = x at 1.0884 i, linear between samples.
    const std::vector<float> out = resample(ramp(100), 24000.0, 22050.0, {});
    ASSERT_EQ(out.size(), 91u); // trunc(100 / 1.0884)
    const double ratio = 24000.0 / 22050.0;
    for (size_t i = 0; i < out.size(); ++i)
        EXPECT_NEAR(out[i], ratio * double(i), 1e-4) << i;
    // Upsampling 11025 -> 22050 places midpoints between neighbours.
    const std::vector<float> up = resample(std::vector<float>{0, 2, 4}, 11025.0, 22050.0, {});
    EXPECT_EQ(up, (std::vector<float>{0, 1, 2, 3, 4, 4}));
}

TEST(Resample, InPlaceMatchesThePlainVersionAtEveryRate) {
    const std::vector<float> x = testing::sine(441.0, 0.5, 192000.0);
    for (const double rate : {8000.0, 11025.0, 16000.0, 24000.0, 32000.0, 44100.0, 48000.0, 88200.0,
                              96000.0, 176400.0, 192000.0}) {
        std::vector<float> inPlace = x;
        ASSERT_TRUE(resampleInPlace(inPlace, rate, kAnalysisRateHz, {}));
        EXPECT_EQ(inPlace, resample(x, rate, kAnalysisRateHz, {})) << rate;
    }
}

TEST(Resample, PollsCancellationEvery65536Outputs) {
    const std::vector<float> x(200000, 0.25f); // 200000 / 2 = 100000 outputs
    int calls = 0;
    const auto count = [&] { return ++calls, false; };
    EXPECT_EQ(resample(x, 44100.0, 22050.0, count).size(), 100000u);
    EXPECT_EQ(calls, 2); // outputs 0 and 65536
    EXPECT_TRUE(resample(x, 44100.0, 22050.0, [] { return true; }).empty());
    std::vector<float> inPlace = x;
    EXPECT_FALSE(resampleInPlace(inPlace, 44100.0, 22050.0, [] { return true; }));
}

TEST(LoudestWindow, PicksTheLoudestWholeSecondWindowAndTheEarlierOfEqualOnes) {
    const size_t second = 22050;
    std::vector<float> x(10 * second + 100, 0.1f);
    std::fill(x.begin() + 6 * second, x.begin() + 8 * second, 0.9f);
    EXPECT_EQ(loudestWindowStart(x, 3 * second), 5 * second); // blocks 5-7 hold both loud ones
    EXPECT_EQ(loudestWindowStart(x, 2 * second), 6 * second);
    const std::vector<float> flat(10 * second, 0.5f);
    EXPECT_EQ(loudestWindowStart(flat, 4 * second), 0u); // all windows tie
    EXPECT_EQ(loudestWindowStart(x, 10 * second), 0u);   // window covers every block
    EXPECT_EQ(loudestWindowStart(std::vector<float>(second - 1, 1.0f), 1), 0u); // under one block
}

} // namespace
} // namespace quorlen::detection
