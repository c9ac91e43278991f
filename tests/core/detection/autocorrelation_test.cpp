#include "detection/autocorrelation.h"
#include "detection/onset_envelope.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

namespace quorlen::detection {
namespace {

TEST(Autocorrelation, LagBoundsCoverFortyTo250Bpm) {
    // trunc(60 * 86.13 / 250) = 20, ceil(60 * 86.13 / 40) = 130; short envelopes
    // cap the long lag at n - 2.
    EXPECT_EQ(candidateLagRange(25836, kEnvelopeFps).minLag, 20);
    EXPECT_EQ(candidateLagRange(25836, kEnvelopeFps).maxLag, 130);
    EXPECT_EQ(candidateLagRange(100, kEnvelopeFps).maxLag, 98);
    EXPECT_EQ(candidateLagRange(100, 5.0).minLag, 2); // 60 * 5 / 250 = 1.2, at least 2
    EXPECT_TRUE(autocorrelationCandidates(std::vector<double>(22, 1.0), kEnvelopeFps).empty());
}

TEST(Autocorrelation, MatchesTheDirectFormulaOnASmallEnvelope) {
    // Direct evaluation: |X|^0.5 of the 16-point zero-padded DFT, inverse DFT,
    // divided by the n - l overlapping terms.
    const std::vector<double> x = {0.0, 1.0, 0.2, 0.0, 1.1, 0.1, 0.0, 0.9};
    const size_t size = 16;
    std::vector<double> compressed(size);
    for (size_t k = 0; k < size; ++k) {
        std::complex<double> sum;
        for (size_t j = 0; j < x.size(); ++j)
            sum += x[j] * std::polar(1.0, -2.0 * std::numbers::pi * double(j * k) / double(size));
        compressed[k] = std::sqrt(std::abs(sum));
    }
    const std::vector<double> acf = generalizedAutocorrelation(x, 9);
    ASSERT_EQ(acf.size(), 10u);
    for (size_t lag = 0; lag < x.size(); ++lag) {
        double sum = 0.0;
        for (size_t k = 0; k < size; ++k)
            sum +=
                compressed[k] * std::cos(2.0 * std::numbers::pi * double(lag * k) / double(size));
        EXPECT_NEAR(acf[lag], sum / double(size) / double(x.size() - lag), 1e-5) << lag;
    }
    EXPECT_EQ(acf[8], 0.0); // no overlapping terms left
    EXPECT_EQ(acf[9], 0.0);
}

TEST(Autocorrelation, StrongestPeakOfAPulseTrainIsItsTempo) {
    // Pulses every 43.066 frames are 120 BPM at 86.13 frames per second.
    const std::vector<double> env =
        normalize(testing::pulseEnvelope(2000, 43.06640625), kEnvelopeFps);
    const std::vector<double> tempos = autocorrelationCandidates(env, kEnvelopeFps);
    ASSERT_FALSE(tempos.empty());
    EXPECT_LE(tempos.size(), 10u);
    EXPECT_NEAR(tempos.front(), 120.0, 1.5);
}

TEST(ExpandOctaves, AddsRelativesInRatioOrderWithinRangeAndOnePercent) {
    struct Case {
        std::vector<double> in;
        std::vector<double> out;
        const char* source;
    };
    const std::vector<Case> cases = {
        {{120}, {120, 60, 240, 80, 180, 40}, "x1, 1/2, 2, 2/3, 3/2, 1/3; 360 out of range"},
        {{120, 121}, {120, 60, 240, 80, 180, 40}, "121's relatives are 0.83 % from 120's"},
        {{40}, {40, 80, 60, 120}, "20, 26.7 and 13.3 are below 40 BPM"},
        {{250}, {250, 125, 166.66666666666666, 83.333333333333329}, "500, 375 above 250"},
        {{39.9}, {79.8, 59.85, 119.69999999999999}, "39.9 itself is out of range"},
        {{250.1}, {125.05, 166.73333333333332, 83.36666666666666}, "250.1 itself is out"},
        {{}, {}, "nothing in, nothing out"},
    };
    for (const Case& c : cases) {
        const std::vector<double> out = expandOctaves(c.in);
        ASSERT_EQ(out.size(), c.out.size()) << c.source;
        for (size_t i = 0; i < out.size(); ++i)
            EXPECT_DOUBLE_EQ(out[i], c.out[i]) << c.source;
    }
}

} // namespace
} // namespace quorlen::detection
