// The signal stages under the tempo search: transforms, resampling, the
// onset envelope, its autocorrelation, and the threads they share.
#include "detection/autocorrelation.h"
#include "detection/complex_fft.h"
#include "detection/filterbank.h"
#include "detection/onset_envelope.h"
#include "detection/parallel_for.h"
#include "detection/resample.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>
#include <random>
#include <stdexcept>
#include <thread>

namespace quorlen::detection {
namespace {

std::vector<float> noise(size_t n, unsigned seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
    std::vector<float> out(n);
    for (float& v : out)
        v = uniform(generator);
    return out;
}

// The transform runs on the first `size` values of longer buffers: what
// lies beyond must come back untouched.
TEST(ComplexFFT, ForwardIsTheUnscaledDftInverseUndoesItAndNothingBeyondIsWritten) {
    for (const size_t size : {8u, 64u, 1024u}) {
        std::vector<float> re = noise(size + 16, 1), im = noise(size + 16, 2);
        const std::vector<float> re0 = re, im0 = im;
        ComplexFFT fft(size);
        fft.forward(std::span(re).first(size), std::span(im).first(size));
        for (size_t k = 0; k < size; ++k) {
            std::complex<double> dft;
            for (size_t j = 0; j < size; ++j)
                dft +=
                    std::complex<double>(re0[j], im0[j]) *
                    std::polar(1.0, -2.0 * std::numbers::pi * double(k * j % size) / double(size));
            EXPECT_NEAR(re[k], dft.real(), 1e-5 * double(size)) << size << " bin " << k;
            EXPECT_NEAR(im[k], dft.imag(), 1e-5 * double(size)) << size << " bin " << k;
        }
        fft.inverse(std::span(re).first(size), std::span(im).first(size));
        for (size_t k = 0; k < re.size(); ++k) {
            EXPECT_NEAR(re[k], re0[k], 1e-5) << size << " at " << k;
            EXPECT_NEAR(im[k], im0[k], 1e-5) << size << " at " << k;
        }
    }
}

TEST(Resample, PassesThroughDecimatesWithABoxAndInterpolatesLinearly) {
    const std::vector<float> x = {1, 2, 3, 4};
    const std::vector<float> ramp8 = {0, 1, 2, 3, 4, 5, 6, 7};
    const struct {
        std::vector<float> in;
        double fromHz;
        std::vector<float> out;
    } cases[] = {
        // |from - to| < 1 Hz and a non-positive source rate pass through.
        {x, 22050.0, x},
        {x, 22050.9, x},
        {x, 0.0, x},
        {{}, 44100.0, {}},
        // Ratio 2: output i is the mean of x[2i-1 ... 2i+1] within the input.
        {ramp8, 44100.0, {0.5f, 2.0f, 4.0f, 6.0f}},
        // Upsampling places midpoints between neighbours.
        {{0, 2, 4}, 11025.0, {0, 1, 2, 3, 4, 4}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(resample(c.in, c.fromHz, 22050.0, {}), c.out) << c.fromHz;
    EXPECT_EQ(resample(x, 22051.0, 22050.0, {}).size(), 3u); // 4 / 1.0000453 -> 3
    // Ratio 24000 / 22050 = 1.0884: output i is the ramp at 1.0884 i.
    std::vector<float> ramp(100);
    std::iota(ramp.begin(), ramp.end(), 0.0f);
    const std::vector<float> out = resample(ramp, 24000.0, 22050.0, {});
    ASSERT_EQ(out.size(), 91u);
    for (size_t i = 0; i < out.size(); ++i)
        EXPECT_NEAR(out[i], 24000.0 / 22050.0 * double(i), 1e-4) << i;
}

TEST(Resample, PollsCancellationEvery65536Outputs) {
    const std::vector<float> x(200000, 0.25f); // 100000 outputs
    int calls = 0;
    EXPECT_EQ(resample(x, 44100.0, 22050.0, [&] { return ++calls, false; }).size(), 100000u);
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
    EXPECT_EQ(loudestWindowStart(std::vector<float>(10 * second, 0.5f), 4 * second), 0u);
    EXPECT_EQ(loudestWindowStart(x, 10 * second), 0u); // window covers every block
    EXPECT_EQ(loudestWindowStart(std::vector<float>(second - 1, 1.0f), 1), 0u);
}

TEST(Filterbank, KeepsSeventySixBinsAndMakesSeventyFourTriangularBands) {
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
    EXPECT_EQ(
        std::count_if(bands.begin(), bands.end(), [](const Band& b) { return b.centerHz < 220.0; }),
        9);
    EXPECT_NEAR(bands[0].centerHz, 43.07, 0.005);  // bin 2
    EXPECT_NEAR(bands[8].centerHz, 215.33, 0.005); // bin 10
    size_t widest = 0;
    for (const Band& b : bands)
        widest = std::max(widest, b.weights.size());
    EXPECT_EQ(widest, 56u);
    // Each band rises from its lower neighbour to 1 at its centre and falls to the next.
    const Band& band = bands[30];
    const auto peak = long(std::round(band.centerHz / kBinWidthHz)) - long(band.start);
    EXPECT_EQ(band.weights.front(), 0.0f);
    EXPECT_EQ(band.weights.back(), 0.0f);
    EXPECT_EQ(band.weights[size_t(peak)], 1.0f);
    EXPECT_TRUE(std::is_sorted(band.weights.begin(), band.weights.begin() + peak + 1));
    EXPECT_TRUE(std::is_sorted(band.weights.rbegin(), band.weights.rend() - peak));
    EXPECT_TRUE(logFilterbank(12, 30, 50).empty()); // 30 ... 50 Hz keeps only bins 1 and 2
}

TEST(OnsetEnvelope, FramesNeedMoreThanOneWindowAndCancellationIsPolledEvery128) {
    EXPECT_TRUE(onsetEnvelope(std::vector<float>(1024, 0.5f), {}).full.empty());
    const Envelope one = onsetEnvelope(testing::sine(440, 1025 / 22050.0, 22050), {});
    EXPECT_EQ(one.full, std::vector<double>{0.0});
    EXPECT_EQ(one.low, std::vector<double>{0.0});
    int calls = 0;
    const std::vector<float> x(22050 * 3); // (66150 - 1024) / 256 + 1 = 255 frames
    EXPECT_EQ(onsetEnvelope(x, [&] { return ++calls, false; }).full.size(), 255u);
    EXPECT_EQ(calls, 2); // frames 0 and 128
    EXPECT_TRUE(onsetEnvelope(x, [] { return true; }).full.empty());
}

TEST(OnsetEnvelope, ClicksSpikeOncePerBeatAndSteadyTonesBarelyMove) {
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
    // 5 cycles per 256-sample hop repeat exactly from frame to frame: no
    // flux. 440 Hz drifts against the hop and leaks a little, far below a click.
    EXPECT_EQ(onsetEnvelope(testing::hopPeriodicTone(5, 2.0), {}).full,
              std::vector<double>(169, 0.0));
    const Envelope tone = onsetEnvelope(testing::sine(440, 2, 22050), {});
    EXPECT_LT(*std::max_element(tone.full.begin(), tone.full.end()), 0.2);
}

// The real transform against the plain complex one, and split over threads
// (each range recomputes its previous frame) against one pass.
TEST(OnsetEnvelope, RealTransformAndThreadsGiveTheReferenceEnvelope) {
    const std::vector<float> x = testing::clickTrain(
        {.bpm = 97, .seconds = 4, .rateHz = 22050, .firstClickSeconds = 0.2, .accentEvery = 4});
    const Envelope fast = onsetEnvelope(x, {});
    const Envelope plain = onsetEnvelopeReference(x, {});
    const Envelope split = onsetEnvelope(x, {}, 3);
    EXPECT_EQ(split.full, fast.full);
    EXPECT_EQ(split.low, fast.low);
    ASSERT_EQ(fast.full.size(), plain.full.size());
    for (size_t i = 0; i < fast.full.size(); ++i) {
        EXPECT_NEAR(fast.full[i], plain.full[i], 1e-4 * (1.0 + plain.full[i])) << i;
        EXPECT_NEAR(fast.low[i], plain.low[i], 1e-4 * (1.0 + plain.low[i])) << i;
    }
}

TEST(Normalize, RemovesTheLocalMeanAndScalesToUnitRms) {
    EXPECT_TRUE(normalize({}, kEnvelopeFps).empty());
    EXPECT_EQ(normalize(std::vector<double>(50, 0.0), kEnvelopeFps), std::vector<double>(50, 0.0));
    EXPECT_EQ(normalize(std::vector<double>(50, 2.0), kEnvelopeFps), std::vector<double>(50, 0.0));
    // fps 1 -> half-width 1. Worked by hand for x = {0, 3, 0, 0}:
    // means {1.5, 1, 1, 0}, positive parts {0, 2, 0, 0}, rms = sqrt(4 / 4) = 1.
    EXPECT_EQ(normalize(std::vector<double>{0, 3, 0, 0}, 1.0), (std::vector<double>{0, 2, 0, 0}));
    const std::vector<double> y = normalize(testing::pulseEnvelope(1000, 43.07), kEnvelopeFps);
    EXPECT_NEAR(std::inner_product(y.begin(), y.end(), y.begin(), 0.0) / double(y.size()), 1.0,
                1e-12);
}

TEST(Autocorrelation, LagBoundsCoverFortyTo250Bpm) {
    // trunc(60 * 86.13 / 250) = 20, ceil(60 * 86.13 / 40) = 130; short envelopes
    // cap the long lag at n - 2, and the short one is at least 2.
    EXPECT_EQ(candidateLagRange(25836, kEnvelopeFps).minLag, 20);
    EXPECT_EQ(candidateLagRange(25836, kEnvelopeFps).maxLag, 130);
    EXPECT_EQ(candidateLagRange(100, kEnvelopeFps).maxLag, 98);
    EXPECT_EQ(candidateLagRange(100, 5.0).minLag, 2);
    EXPECT_TRUE(autocorrelationCandidates(std::vector<double>(22, 1.0), kEnvelopeFps).empty());
    // Pulses every 43.066 frames are 120 BPM at 86.13 frames per second.
    const std::vector<double> tempos = autocorrelationCandidates(
        normalize(testing::pulseEnvelope(2000, 43.06640625), kEnvelopeFps), kEnvelopeFps);
    ASSERT_FALSE(tempos.empty());
    EXPECT_LE(tempos.size(), 10u);
    EXPECT_NEAR(tempos.front(), 120.0, 1.5);
}

TEST(Autocorrelation, MatchesTheDirectFormulaOnASmallEnvelope) {
    // |X|^0.5 of the 16-point zero-padded DFT, inverse DFT, divided by the
    // n - l overlapping terms.
    const std::vector<double> x = {0.0, 1.0, 0.2, 0.0, 1.1, 0.1, 0.0, 0.9};
    const size_t size = 16;
    const auto turn = [](size_t a, size_t b) {
        return 2.0 * std::numbers::pi * double(a * b) / 16;
    };
    std::vector<double> compressed(size);
    for (size_t k = 0; k < size; ++k) {
        std::complex<double> sum;
        for (size_t j = 0; j < x.size(); ++j)
            sum += x[j] * std::polar(1.0, -turn(j, k));
        compressed[k] = std::sqrt(std::abs(sum));
    }
    const std::vector<double> acf = generalizedAutocorrelation(x, 9);
    ASSERT_EQ(acf.size(), 10u);
    for (size_t lag = 0; lag < x.size(); ++lag) {
        double sum = 0.0;
        for (size_t k = 0; k < size; ++k)
            sum += compressed[k] * std::cos(turn(lag, k));
        EXPECT_NEAR(acf[lag], sum / double(size) / double(x.size() - lag), 1e-5) << lag;
    }
    EXPECT_EQ(acf[8], 0.0); // no overlapping terms left
    EXPECT_EQ(acf[9], 0.0);
}

TEST(ExpandOctaves, AddsRelativesInRatioOrderWithinRangeAndOnePercent) {
    const struct {
        std::vector<double> in, out;
        const char* source;
    } cases[] = {
        {{120}, {120, 60, 240, 80, 180, 40}, "x1, 1/2, 2, 2/3, 3/2, 1/3; 360 out of range"},
        {{120, 121}, {120, 60, 240, 80, 180, 40}, "121's relatives are 0.83 % from 120's"},
        {{40}, {40, 80, 60, 120}, "20, 26.7 and 13.3 are below 40 BPM"},
        {{250}, {250, 125, 166.66666666666666, 83.333333333333329}, "500, 375 above 250"},
        {{39.9}, {79.8, 59.85, 119.69999999999999}, "39.9 itself is out of range"},
        {{250.1}, {125.05, 166.73333333333332, 83.36666666666666}, "250.1 itself is out"},
        {{}, {}, "nothing in, nothing out"},
    };
    for (const auto& c : cases) {
        const std::vector<double> out = expandOctaves(c.in);
        ASSERT_EQ(out.size(), c.out.size()) << c.source;
        for (size_t i = 0; i < out.size(); ++i)
            EXPECT_DOUBLE_EQ(out[i], c.out[i]) << c.source;
    }
}

TEST(ParallelFor, CallsEveryIndexOnceAndPassesOnTheFirstFailure) {
    for (const int threads : {0, 1, 2, 5}) {
        std::vector<std::atomic<int>> calls(37);
        parallelFor(calls.size(), threads, [&](size_t i) { ++calls[i]; });
        for (size_t i = 0; i < calls.size(); ++i)
            EXPECT_EQ(calls[i].load(), 1) << i << " on " << threads;
        const auto throwAt3 = [](size_t i) {
            if (i == 3)
                throw std::runtime_error("three");
        };
        EXPECT_THROW(parallelFor(10, threads, throwAt3), std::runtime_error);
    }
}

TEST(ThreadBudget, LendsWhatIsFreeUpToTheLimitAndLeasesGiveItBack) {
    ThreadBudget budget(3, 2);
    // 2 of 3 (the limit), the last 1, none left, none for a negative want.
    const std::pair<int, int> steps[] = {{5, 2}, {5, 1}, {1, 0}, {-1, 0}};
    for (const auto& [want, taken] : steps)
        EXPECT_EQ(budget.take(want), taken) << want;
    budget.give(2);
    EXPECT_EQ(ThreadBudget(-4, 3).take(1), 0) << "a negative spare is none";
    {
        const ThreadLease lease(1, &budget, 1);
        EXPECT_EQ(lease.threads(), 2);
        const ThreadLease second(3, &budget, 4);
        EXPECT_EQ(second.threads(), 4) << "only one was left";
        EXPECT_EQ(budget.free(), 0);
    }
    EXPECT_EQ(budget.free(), 2);
    EXPECT_EQ(ThreadLease(0, nullptr, 5).threads(), 1) << "its own thread counts at least once";
}

TEST(ThreadBudget, ManyBorrowersNeverHoldMoreThanTheSpare) {
    constexpr int kSpare = 3;
    ThreadBudget budget(kSpare, 2);
    std::atomic<int> held = 0, most = 0;
    std::vector<std::jthread> borrowers;
    for (int t = 0; t < 8; ++t)
        borrowers.emplace_back([&] {
            for (int round = 0; round < 2000; ++round) {
                const ThreadLease lease(1, &budget, 2);
                const int now = held += lease.threads() - 1;
                int seen = most.load();
                while (now > seen && !most.compare_exchange_weak(seen, now)) {
                }
                held -= lease.threads() - 1;
            }
        });
    borrowers.clear();
    EXPECT_LE(most.load(), kSpare);
    EXPECT_EQ(budget.free(), kSpare);
}

} // namespace
} // namespace quorlen::detection
