// The analysis step by step: transforms, resampling, the onset envelope
// and its autocorrelation, the threads they share; grids, the candidate
// search, loops, rounding, the bar, the octave features and modes; and what
// a detected tempo looks like: its texts and the waveform's grid and zoom.
#include "detection/autocorrelation.h"
#include "detection/complex_fft.h"
#include "detection/display_text.h"
#include "detection/downbeat.h"
#include "detection/filterbank.h"
#include "detection/final_tempo.h"
#include "detection/grid_score.h"
#include "detection/octave_mode.h"
#include "detection/octave_model.h"
#include "detection/onset_envelope.h"
#include "detection/parallel_for.h"
#include "detection/resample.h"
#include "detection/tempo_search.h"
#include "detection/waveform_layout.h"
#include "detection/waveform_peaks.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>
#include <optional>
#include <random>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <vector>

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
    // Bins 2 and 10; nine bands lie under 220 Hz.
    EXPECT_NEAR(bands[0].centerHz, 43.07, 0.005);
    EXPECT_NEAR(bands[8].centerHz, 215.33, 0.005);
    EXPECT_GT(bands[9].centerHz, 220.0);
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
    // x1, 1/2, 2, 2/3, 3/2, 1/3 within 40 ... 250 BPM (360, 20, 26.7, 13.3,
    // 500 and 375 are out, and so are 39.9 and 250.1 themselves); 121's
    // relatives are 0.83 % from 120's.
    const std::pair<std::vector<double>, std::vector<double>> cases[] = {
        {{120}, {120, 60, 240, 80, 180, 40}},
        {{120, 121}, {120, 60, 240, 80, 180, 40}},
        {{40}, {40, 80, 60, 120}},
        {{250}, {250, 125, 166.66666666666666, 83.333333333333329}},
        {{39.9}, {79.8, 59.85, 119.69999999999999}},
        {{250.1}, {125.05, 166.73333333333332, 83.36666666666666}},
        {{}, {}}};
    for (const auto& [in, expected] : cases) {
        const std::vector<double> out = expandOctaves(in);
        ASSERT_EQ(out.size(), expected.size()) << in.size();
        for (size_t i = 0; i < out.size(); ++i)
            EXPECT_DOUBLE_EQ(out[i], expected[i]) << in.front();
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

using testing::pulseEnvelope;

// A period of exactly 40 frames is 60 * 86.1328125 / 40 = 129.19921875 BPM;
// whole-frame periods keep every comb position exact.
constexpr double kBpmAt40Frames = 129.19921875;

auto fitOf(std::span<const double> env, double bpm, std::optional<double> segment = {}) {
    const GridFit fit = gridScore(env, kEnvelopeFps, bpm, segment);
    return std::tuple(fit.score, fit.phase, fit.alt);
}

TEST(GridScore, FindsTheBeatsAndTheirPhaseAndUnusableGridsScoreZero) {
    // Pulses at 10, 50, 90, ...: steps = 80, phase k = 20 gives 40 * 20 / 80 = 10.
    const std::vector<double> env = pulseEnvelope(1000, 40, 10);
    EXPECT_EQ(fitOf(env, kBpmAt40Frames), std::tuple(1.0, 10.0, 1.0));
    EXPECT_EQ(fitOf(env, kBpmAt40Frames, 4.0), std::tuple(1.0, 10.0, 1.0));
    const auto none = std::tuple(0.0, 0.0, 1.0);
    EXPECT_EQ(fitOf(env, 6000.0), none) << "P = 0.86 frames <= 1";
    EXPECT_EQ(fitOf(std::vector<double>(258, 1.0), 40.0), none) << "2P = 258.4 >= 258 frames";
    EXPECT_EQ(fitOf({}, 120.0), none);
}

TEST(GridScore, AlternatingAccentsLowerTheRatioAtDoubleTempo) {
    // Heights 1, 0.5, 1, 0.5 ... every 40 frames: at that period the even
    // beats average 1 and the odd 0.5; at twice the period only the strong ones count.
    std::vector<double> env = pulseEnvelope(1000, 40);
    for (size_t k = 40; k < env.size(); k += 80)
        env[k] = 0.5;
    const GridFit fast = gridScore(env, kEnvelopeFps, kBpmAt40Frames, std::nullopt);
    EXPECT_NEAR(fast.score, 0.76, 1e-12); // 13 strong and 12 weak beats below frame 999
    EXPECT_NEAR(fast.alt, 0.5, 1e-12);
    const GridFit slow = gridScore(env, kEnvelopeFps, kBpmAt40Frames / 2, std::nullopt);
    EXPECT_EQ(std::tuple(slow.score, slow.alt), std::tuple(1.0, 1.0));
    EXPECT_LT(candidateValue(kBpmAt40Frames, fast), candidateValue(kBpmAt40Frames / 2, slow));
    // exp(-0.5 (log2(b / 125) / 0.9)^2): one octave away gives exp(-0.5 / 0.81).
    EXPECT_DOUBLE_EQ(tempoPrior(125.0), 1.0);
    EXPECT_NEAR(tempoPrior(250.0), 0.539408, 1e-6);
    EXPECT_NEAR(tempoPrior(62.5), 0.539408, 1e-6);
}

// Normalised envelope of a 30 s click train at `bpm`, accented every 4th beat.
std::vector<double> clickEnvelope(double bpm, double firstClick = 0.25, int accentEvery = 4) {
    const auto x = testing::clickTrain({.bpm = bpm,
                                        .seconds = 30,
                                        .rateHz = 22050,
                                        .firstClickSeconds = firstClick,
                                        .accentEvery = accentEvery});
    return normalize(onsetEnvelope(x, {}).full, kEnvelopeFps);
}

TEST(GridScore, FastVersionMatchesTheReference) {
    const std::vector<double> env = clickEnvelope(123.4, 0.3, 2);
    for (const double bpm : {40.0, 61.7, 99.99, 123.4, 150.0, 246.8, 250.0}) {
        for (const auto segment : {std::optional<double>(), std::optional(4.0), std::optional(12.0),
                                   std::optional(40.0)}) {
            const GridFit plain = gridScoreReference(env, kEnvelopeFps, bpm, segment);
            EXPECT_EQ(fitOf(env, bpm, segment), std::tuple(plain.score, plain.phase, plain.alt))
                << bpm;
        }
    }
}

TEST(SearchLadder, ClimbsToTheClickTempoOrFallsBackToTheStart) {
    // Start 2.5 % off: the first rung spans +-3 %, later rungs narrow in.
    for (const double bpm : {87.5, 120.0, 143.0}) {
        const Candidate found = searchLadder(clickEnvelope(bpm), kEnvelopeFps, bpm * 1.025,
                                             analysisLadder(), kLadderSpan);
        EXPECT_NEAR(found.bpm, bpm, 0.02 * bpm / 120.0) << bpm;
        EXPECT_GT(found.raw, 1.0) << bpm;
    }
    // Nothing to score: out of range, or no rungs.
    const std::vector<double> env = clickEnvelope(120);
    EXPECT_EQ(searchLadder(env, kEnvelopeFps, 300.0, analysisLadder(), kLadderSpan),
              (Candidate{300.0, 0.0, 0.0, 0.0, 1.0}));
    EXPECT_EQ(searchLadder(env, kEnvelopeFps, 120.0, {}, kLadderSpan),
              (Candidate{120.0, 0.0, 0.0, 0.0, 1.0}));
}

TEST(TempoCandidates, RefinesDistinctLeadersThenHalfAndDoubleWhateverTheThreads) {
    const std::vector<double> clicks = clickEnvelope(101.3);
    const std::vector<double> tempos =
        expandOctaves(autocorrelationCandidates(clicks, kEnvelopeFps));
    const std::vector<Candidate> coarse = coarseRanking(clicks, kEnvelopeFps, tempos, 1);
    int polls = 0;
    const TempoCandidates result = refineCandidates(
        clicks, kEnvelopeFps, coarse, [&] { return ++polls, false; }, 1);
    EXPECT_GE(polls, 4); // once per leader considered while fewer than 4
    ASSERT_GE(result.refined.size(), 2u);
    EXPECT_LE(result.refined.size(), 6u); // four leaders plus half and double
    EXPECT_NEAR(result.refined.front().bpm, 101.3, 0.05);
    for (size_t i = 1; i < result.refined.size(); ++i)
        EXPECT_GE(result.refined[i - 1].score, result.refined[i].score);
    EXPECT_GT(result.secondRaw, 0.0);
    for (const int threads : {2, 3, 8}) {
        EXPECT_EQ(coarseRanking(clicks, kEnvelopeFps, tempos, threads), coarse) << threads;
        const TempoCandidates refined = refineCandidates(clicks, kEnvelopeFps, coarse, {}, threads);
        EXPECT_EQ(refined.refined, result.refined) << threads;
        EXPECT_EQ(refined.secondRaw, result.secondRaw) << threads;
    }
    EXPECT_THROW(refineCandidates(
                     clicks, kEnvelopeFps, coarse, [] { return true; }, 1),
                 Failure);
    // Leaders 1 % apart, both 1.5 % and more from the clicks' tempo: refined
    // side by side, the second comes near the first's result and is passed
    // over as it is when they are refined in turn.
    const std::vector<Candidate> close = {{103.8}, {102.8}, {140.0}, {102.3}, {70.0}, {180.0}};
    const TempoCandidates inTurn = refineCandidates(clicks, kEnvelopeFps, close, {}, 1);
    ASSERT_NEAR(inTurn.refined.front().bpm, 101.3, 0.05);
    for (const int threads : {2, 3, 4})
        EXPECT_EQ(refineCandidates(clicks, kEnvelopeFps, close, {}, threads).refined,
                  inTurn.refined)
            << threads;
}

// Frames of the envelope of a signal of `seconds` at 22050 Hz.
size_t framesFor(double seconds) { return (size_t(seconds * 22050) - 1024) / 256 + 1; }

std::vector<double> pulsesAt(double bpm, double seconds, double first) {
    return normalize(pulseEnvelope(framesFor(seconds), 60.0 * kEnvelopeFps / bpm, first),
                     kEnvelopeFps);
}

Candidate candidateAt(const std::vector<double>& env, double bpm) {
    const GridFit fit = gridScore(env, kEnvelopeFps, bpm, std::nullopt);
    return {bpm, candidateValue(bpm, fit), fit.score, fit.phase, std::pow(fit.alt, 1.2)};
}

TEST(LoopSnapping, ListsWholeBarLoopsAndSnapsAnEightSecondLoopToFourBars) {
    // beats * 60 / duration for beats = 4, 8, ...; 8 s: 30 BPM is too slow, 270 stops.
    const std::vector<LoopCandidate> eight = {{60, 8},   {90, 12},  {120, 16}, {150, 20},
                                              {180, 24}, {210, 28}, {240, 32}};
    EXPECT_EQ(loopCandidates(8.0), eight);
    EXPECT_NEAR(loopCandidates(7.99)[2].bpm, 120.15, 0.001); // 16 beats
    EXPECT_EQ(loopCandidates(100.0).size(), 88u);            // beats 68 ... 416
    EXPECT_TRUE(loopCandidates(0.5).empty());                // 4 beats is already 480 BPM

    const std::vector<double> env = pulsesAt(120, 8.0, 5);
    const auto snapped = snapToLoop(env, kEnvelopeFps, 8.0, candidateAt(env, 119.9));
    ASSERT_TRUE(snapped);
    EXPECT_EQ(snapped->bpm, 120.0);
    EXPECT_EQ(snapped->snappedBars, 4);
    EXPECT_NEAR(snapped->phase, 5.0, 0.5);
    // Over 90 s no file is a loop, and an impossible duration snaps nothing.
    EXPECT_FALSE(snapToLoop(env, kEnvelopeFps, 95.0, candidateAt(env, 119.9)));
    EXPECT_FALSE(snapToLoop(env, kEnvelopeFps, 0.0, candidateAt(env, 119.9)));
}

TEST(Rounding, PrefersARoundTempoWithinOneFramesDrift) {
    // 95 s: tau = 119.99 / 8179 = 0.0147 >= 0.01 rounds 119.99; 119.98 is
    // 0.02 > tau away, and the 0.5 and 0.1 roundings also give 120. 120 s:
    // 128 is too far (tau 0.0124), 127.9 is kept by its grid, or tried first
    // and rejected by it when the grid claims more than the envelope gives
    // (raw 10 against pulses at 100); 128 never.
    const std::tuple<double, double, double, double, double> cases[] = {
        {95, 120, 119.99, 120, 0},
        {95, 120, 119.98, 119.98, 0},
        {120, 127.9, 127.903, 127.9, 0},
        {120, 100, 127.903, 127.903, 10}};
    for (const auto& [seconds, pulseBpm, detected, expected, raw] : cases) {
        const std::vector<double> env = pulsesAt(pulseBpm, seconds, 3);
        Candidate best = candidateAt(env, detected);
        best.raw = raw > 0 ? raw : best.raw;
        const FinalTempo rounded = roundTempo(env, kEnvelopeFps, best);
        EXPECT_DOUBLE_EQ(rounded.bpm, expected) << detected << " in " << seconds << " s";
        EXPECT_FALSE(rounded.snappedBars);
    }
}

TEST(Downbeat, PicksTheStrongestSlotOfTheFourBeatCycle) {
    std::vector<double> low = pulseEnvelope(2000, 40, 4);
    for (size_t k = 4, beat = 0; k < low.size(); k += 40, ++beat)
        low[k] = beat % 4 == 2 ? 1.0 : 0.3;
    EXPECT_EQ(downbeat(low, kEnvelopeFps, kBpmAt40Frames, 4.0), 2);
    EXPECT_EQ(downbeat(low, kEnvelopeFps, kBpmAt40Frames, 44.0), 1); // grid starts a beat later
    const std::vector<double> even = pulseEnvelope(2000, 40, 4);
    EXPECT_EQ(downbeat(even, kEnvelopeFps, kBpmAt40Frames, 4.0), 0);    // ties keep slot 0
    EXPECT_EQ(downbeat(even, kEnvelopeFps, kBpmAt40Frames, 1999.0), 0); // no positions
    EXPECT_EQ(downbeat({}, kEnvelopeFps, 120.0, 0.0), 0);
}

TEST(PeakEnvelope, TakesTheLargestMagnitudePerColumn) {
    const std::vector<float> x = {0.1f, -0.5f, 0.2f, 0.3f, -0.1f, 0.0f};
    EXPECT_EQ(peakEnvelope(x, 3), (std::vector<float>{0.5f, 0.3f, 0.1f}));
    EXPECT_TRUE(peakEnvelope(x, 0).empty());
    EXPECT_TRUE(peakEnvelope({}, 1600).empty());
    // 1000 samples in 1600 columns: per = 0.625, so some columns hold no sample.
    const std::vector<float> peaks = peakEnvelope(std::vector<float>(1000, -0.25f), 1600);
    ASSERT_EQ(peaks.size(), 1600u);
    EXPECT_EQ(std::count(peaks.begin(), peaks.end(), 0.25f), 1000);
    EXPECT_EQ(std::count(peaks.begin(), peaks.end(), 0.0f), 600);
}

const auto kFrames = static_cast<size_t>(30.0 * kEnvelopeFps);

std::vector<double> pulses(double bpm, double beats, double firstBeat = 0.0, double gain = 1.0) {
    const double beat = 60.0 * kEnvelopeFps / bpm;
    std::vector<double> x = pulseEnvelope(kFrames, beats * beat, firstBeat * beat);
    for (double& v : x)
        v *= gain;
    return x;
}

std::vector<double> sum(std::vector<double> a, const std::vector<double>& b) {
    for (size_t i = 0; i < a.size(); ++i)
        a[i] += b[i];
    return a;
}

const OctaveFeatures& at(const std::vector<OctaveFeatures>& candidates, double ratio) {
    for (const OctaveFeatures& f : candidates)
        if (std::abs(f.ratio - ratio) < 1e-9)
            return f;
    throw std::logic_error("no such relative");
}

// Onsets are 5 where a unit-RMS envelope puts a real one well above 1: a
// kick on beat 1 of every bar in the low band, eighths in the full band,
// and a snare in the mid band every `snareBeats` from `firstSnare`.
std::vector<OctaveFeatures> grooveCandidates(double bpm, double snareBeats, double firstSnare,
                                             double classicBpm, bool snare = true) {
    const std::vector<double> mid = pulses(bpm, snareBeats, firstSnare, snare ? 5.0 : 0.0);
    return octaveCandidates({pulses(bpm, 0.5, 0, 5), pulses(bpm, 4, 0, 5), mid, kEnvelopeFps},
                            classicBpm);
}

TEST(OctaveModel, MidBandAccentsOnceInEightBeatsMarkADoubledHalfTime) {
    // Half-time at 87 read as 174: the snare on beat 3 recurs every four
    // beats of 87, every eight of 174.
    const auto halfTime = grooveCandidates(87.0, 4.0, 2.0, 174.0);
    EXPECT_GT(at(halfTime, 1.0).accentEvery8, 0.5);
    EXPECT_NEAR(at(halfTime, 0.5).accentEvery8, 0.0, 0.3);
    // A backbeat at 120 (snare on 2 and 4) recurs every 4 beats as well as every 8.
    EXPECT_NEAR(at(grooveCandidates(120.0, 2.0, 1.0, 120.0), 1.0).accentEvery8, 0.0, 0.3);
    // A kick-only pulse (nothing in the mid band), and no mid band at all.
    for (const OctaveFeatures& f : grooveCandidates(100.0, 4.0, 0.0, 100.0, false))
        EXPECT_EQ(f.accentEvery8, 0.0) << f.bpm;
    for (const OctaveFeatures& f :
         octaveCandidates({pulses(100, 0.5, 0, 5), pulses(100, 4, 0, 5), {}, kEnvelopeFps}, 100.0))
        EXPECT_EQ(f.accentEvery8, 0.0) << f.bpm;
}

TEST(OctaveModel, BarRepeatMarksTheTempoWhoseFourBeatsMakeTheBar) {
    // 120 BPM, a strong onset on each bar's first beat, a weak one on each
    // beat, and one on the "and" of beat 2 only: the bar is 4 beats of 120.
    const auto full = sum(sum(pulses(120, 1), pulses(120, 4, 0, 3)), pulses(120, 4, 1.5, 2));
    const auto c = octaveCandidates({full, full, full, kEnvelopeFps}, 120.0);
    EXPECT_GT(at(c, 1.0).barRepeat, 0.8);
    EXPECT_GT(at(c, 0.5).barRepeat, 0.8); // 4 beats of 60 are two bars
    // 4 beats of 90, 160 or 240 cut across the bar.
    for (const double ratio : {0.75, 4.0 / 3.0, 2.0})
        EXPECT_LT(at(c, ratio).barRepeat, 0.4) << ratio;
}

TEST(OctaveModel, HalfBeatAndTripletFeelTellHowTheBeatDivides) {
    const auto swung = sum(pulses(100, 1), pulses(100, 1, 2.0 / 3.0));
    const auto straight = sum(pulses(100, 1), pulses(100, 1, 0.5));
    EXPECT_GT(at(octaveCandidates({swung, swung, swung, kEnvelopeFps}, 100.0), 1.0).tripletFeel,
              1.0);
    const auto c = octaveCandidates({straight, straight, straight, kEnvelopeFps}, 100.0);
    EXPECT_LT(at(c, 1.0).tripletFeel, -1.0);
    // Equal onsets on the beats and between them: at 100 the off-beats are
    // as strong as the beats; at 200 every beat is struck and nothing falls
    // between them.
    EXPECT_NEAR(at(c, 1.0).halfBeat, 0.0, 0.1);
    EXPECT_LT(at(c, 2.0).halfBeat, -1.0);
    // Other refined tempos join once: 60.5 is the half already there, 300
    // is out of range, 150.5 is 150.
    const double otherTempos[] = {150.0, 60.5, 300.0, 150.5};
    const auto others = octaveCandidates({pulses(120, 0.5, 0, 5), pulses(120, 4, 0, 5),
                                          pulses(120, 2, 1, 5), kEnvelopeFps, otherTempos},
                                         120.0);
    ASSERT_EQ(others.size(), 9u); // eight relatives of 120 lie in range, then 150
    EXPECT_EQ(others.back().bpm, 150.0);
    EXPECT_DOUBLE_EQ(others.back().ratio, 1.25);
}

TEST(OctaveModel, FinerDivisionsTellTheGridTheNotesAreWrittenOn) {
    // Sixteenths at 100 with a kick on every beat: at 100 the quarters of
    // the beat are struck and its odd eighths are empty; at 50 its odd
    // eighths are those sixteenths and its kicks fall on its half beats.
    const auto kicks = pulses(100, 1);
    const auto sixteenths = sum(pulses(100, 0.25), kicks);
    const auto c = octaveCandidates({sixteenths, kicks, sixteenths, kEnvelopeFps}, 100.0);
    EXPECT_LT(at(c, 1.0).quarterBeat, -0.3); // the beats carry the kicks too
    EXPECT_LT(at(c, 1.0).eighthBeat, -1.0);
    EXPECT_LT(at(c, 1.0).sixthBeat, -1.0);
    EXPECT_NEAR(at(c, 0.5).eighthBeat, 0.0, 0.1);
    EXPECT_LT(at(c, 1.0).lowHalfBeat, -1.0);
    EXPECT_NEAR(at(c, 0.5).lowHalfBeat, 0.0, 0.1);
    // Triplets at 100 strike its sixths' neighbours, the thirds, and not
    // its quarters; without a low band its feature stays 0.
    const auto triplets = pulses(100, 1.0 / 3.0);
    const auto t = octaveCandidates({triplets, {}, triplets, kEnvelopeFps}, 100.0);
    EXPECT_LT(at(t, 1.0).quarterBeat, -1.0);
    EXPECT_EQ(at(t, 1.0).lowHalfBeat, 0.0);
}

TEST(OctaveMode, ReadsTheThreeModesAndWritesThemBack) {
    // The picker's bounds: from 30 to 200 BPM, up to 400, at least an octave wide.
    const std::pair<const char*, OctaveMode> modes[] = {
        {"classic", OctaveMode::classic()},        {"auto", OctaveMode::automatic()},
        {"80-160", {OctaveKind::range, 80, 160}},  {"72.5-145", {OctaveKind::range, 72.5, 145}},
        {"90-200", {OctaveKind::range, 90, 200}},  {"30-60", {OctaveKind::range, 30, 60}},
        {"200-400", {OctaveKind::range, 200, 400}}};
    for (const auto& [text, mode] : modes) {
        EXPECT_EQ(parseOctaveMode(text), mode) << text;
        EXPECT_EQ(octaveModeText(mode), text);
    }
    // Out of bounds, narrower than an octave, upside down, empty or signed
    // bounds, other words.
    for (const char* text :
         {"29.5-60", "200.5-401", "80-400.5", "100000000000-200000000000", "0.0000000001-1",
          "80-159", "160-80", "0-160", "-80-160", "80-", "80 - 160", "80,5-170", "Auto", ""})
        EXPECT_EQ(parseOctaveMode(text), std::nullopt) << text;
    // Bounds whose shortest text has many digits, or would be written with
    // an exponent by the shortest general form.
    for (const double low : {30.0, 100.0 / 3.0, 45.5, 199.99999999999997, 200.0}) {
        for (const double high : {2.0 * low, std::min(2.0 * low + 1e-9, 400.0), 400.0}) {
            const auto mode = OctaveMode::range(low, high);
            ASSERT_TRUE(mode) << low << " " << high;
            EXPECT_EQ(parseOctaveMode(octaveModeText(*mode)), mode) << octaveModeText(*mode);
        }
    }
}

TEST(OctaveMode, FoldsByPowersOfTwoIntoTheHalfOpenRange) {
    // The lower bound belongs to the range, the upper one does not; a range
    // wider than an octave keeps what is inside.
    const struct {
        double bpm, low, high, expected;
    } cases[] = {{80, 80, 160, 80},   {160, 80, 160, 80}, {159.99, 80, 160, 159.99},
                 {64, 80, 160, 128},  {35, 80, 160, 140}, {250, 80, 160, 125},
                 {100, 70, 210, 100}, {60, 70, 210, 120}};
    for (const auto& c : cases)
        EXPECT_EQ(foldIntoRange(c.bpm, c.low, c.high), c.expected) << c.bpm << " in " << c.low;
}

TEST(DisplayText, TempoAndConfidenceTexts) {
    // Rounded to two decimals first: 63.96 is not whole, so "%.1f" gives 64.0.
    const struct {
        double bpm;
        const char *longForm, *shortForm;
    } tempos[] = {
        {120.0, "120", "120"},   {127.934, "127.93", "127.9"}, {63.96, "63.96", "64.0"},
        {119.996, "120", "120"}, {99.995, "100", "100"},       {40.125, "40.13", "40.1"},
    };
    for (const auto& c : tempos) {
        EXPECT_EQ(tempoText(c.bpm, false), c.longForm) << c.bpm;
        EXPECT_EQ(tempoText(c.bpm, true), c.shortForm) << c.bpm;
    }
    const std::pair<double, const char*> labels[] = {
        {0.82, "High · 82%"}, {0.7, "High · 70%"}, {0.699, "Medium · 70%"}, {0.45, "Medium · 45%"},
        {0.449, "Low · 45%"}, {0.0, "Low · 0%"},   {1.0, "High · 100%"},
    };
    for (const auto& [confidence, label] : labels)
        EXPECT_EQ(confidenceLabel(confidence), label) << confidence;
    // 119.996 rounds to 120.00, which is whole; 127.54 is not and reads "%.1f".
    EXPECT_EQ(alternativesText({119.996, 127.54, 63.96}), "also plausible: 120, 127.5, 64.0 BPM");
}

TEST(DisplayText, NoteJoinsItsPartsInOrder) {
    const std::string advice = "check the grid against the waveform; ÷2 and ×2 fix octave mistakes";
    const std::pair<NoteInput, std::string> cases[] = {
        // A snapped, confident 8-second loop.
        {{"loop.wav", 8.0, 4, 0.82, {60, 240}},
         "loop.wav · 8.0 s · file length fits exactly 4 bars — tempo snapped to the loop · "
         "also plausible: 60, 240 BPM"},
        // Nothing to add: name and duration ("%.1f" of 183.46 s).
        {{"song.flac", 183.46, std::nullopt, 0.9, {}}, "song.flac · 183.5 s"},
        // Under 0.7 the advice comes before the alternatives.
        {{"a.wav", 30.0, std::nullopt, 0.699, {87.5}},
         "a.wav · 30.0 s · " + advice + " · also plausible: 87.5 BPM"},
        // Damage skipped by the decoder is said right after the duration.
        {{"cut.mp3", 19.5, 4, 0.5, {60}, true},
         "cut.mp3 · 19.5 s · parts of the file could not be decoded · file length fits exactly 4 "
         "bars — tempo snapped to the loop · " +
             advice + " · also plausible: 60 BPM"},
    };
    for (const auto& [input, note] : cases)
        EXPECT_EQ(detectionNote(input), note);
}

TEST(WaveformLayout, GridThinsOutWhenLinesCrowd) {
    // Beat spacing s = 60 / bpm / span × width; beats from s >= 5, bars from
    // 4s >= 5: s = 31.25; 4.17 (bars 16.7); 0.28 (bars 1.1); 5 exactly;
    // 1.25 (bars 5 exactly); no canvas yet.
    using enum GridDensity;
    const std::tuple<double, double, double, GridDensity> cases[] = {
        {120, 8, 500, everyBeat},  {120, 60, 500, barsOnly},  {180, 600, 500, sparseBars},
        {120, 50, 500, everyBeat}, {120, 200, 500, barsOnly}, {120, 8, 0, sparseBars}};
    for (const auto& [bpm, seconds, width, density] : cases)
        EXPECT_EQ(gridDensity(bpm, seconds, width), density)
            << bpm << " " << seconds << " " << width;
}

TEST(WaveformLayout, StepsGoFromBeatLineToBeatLine) {
    // 120 BPM (0.5 s), first beat 0.1 s, 10 s long. Before the first beat
    // onto it; from a beat to the next; between beats to the next line (not
    // 0.85) and back to the previous; from a beat to the previous; a bar on;
    // no earlier than the start nor later than the end; within a hair of a
    // beat counts as on it.
    const std::tuple<double, int, double> cases[] = {
        {0.0, 1, 0.1}, {0.1, 1, 0.6},  {0.35, 1, 0.6}, {0.35, -1, 0.1},       {0.6, -1, 0.1},
        {0.6, 4, 2.6}, {0.1, -1, 0.0}, {9.9, 1, 10.0}, {2.6000000001, 1, 3.1}};
    for (const auto& [from, beats, to] : cases)
        EXPECT_NEAR(steppedSeconds({120, 0.1, 0, 10.0}, from, beats), to, 1e-9)
            << from << " " << beats;
    EXPECT_DOUBLE_EQ(steppedSeconds({0, 0, 0, 10}, 2.5, 1), 3.0) << "no tempo: whole seconds";
}

TEST(WaveformLayout, BeatsStartAtTheFirstNonNegativeTimeAndBarsFollowTheDownbeat) {
    // 120 BPM (p = 0.5 s), offset 0.75 s, 4 s on 400 points (100 points per second):
    // k = ceil(-1.5) = -1 gives t = 0.25; beats at 0.25, 0.75, ... 3.75.
    // Downbeat 2: bar lines where k - 2 is a multiple of 4, k = 2 (t = 1.75)
    // and k = 6 (t = 3.75); k = -2 (t = -0.25) is skipped.
    const std::vector<GridLine> expected = {
        {25, false},  {75, false},  {125, false}, {175, true},
        {225, false}, {275, false}, {325, false}, {375, true},
    };
    EXPECT_EQ(gridLines({120, 0.75, 2, 4.0}, 400), expected);
    // The same on 60 s (beats 3.3 points apart on 400): bar lines only,
    // first at 1.75 s, then every 2 s up to 59.75 s.
    const std::vector<GridLine> bars = gridLines({120, 0.75, 2, 60.0}, 400);
    ASSERT_EQ(bars.size(), 30u);
    EXPECT_TRUE(std::all_of(bars.begin(), bars.end(), [](const GridLine& l) { return l.bar; }));
    EXPECT_DOUBLE_EQ(bars.front().x, 1.75 / 60 * 400);
    EXPECT_DOUBLE_EQ(bars.back().x, 59.75 / 60 * 400);
}

TEST(WaveformLayout, SomeGridShowsAtEveryZoom) {
    // 10 minutes at 180 BPM on 500 points: bars 1.1 points apart, so every
    // 8th bar (8.9 points); zoomed to 4 s the same file shows every beat.
    const GridInput input{180, 0, 0, 600};
    EXPECT_EQ(barsPerLine(180, 600, 500), 8);
    const std::vector<GridLine> whole = gridLines(input, 500);
    ASSERT_FALSE(whole.empty());
    EXPECT_TRUE(std::all_of(whole.begin(), whole.end(), [](const GridLine& l) { return l.bar; }));
    EXPECT_NEAR(whole[1].x - whole[0].x, 8 * 4 * (60.0 / 180) / 600 * 500, 1e-9);

    const TimeView close{299.9, 4.2};
    const std::vector<GridLine> beats = gridLines(input, 500, close);
    ASSERT_EQ(beats.size(), 13u); // 300, 300.33, ... 304 s
    EXPECT_NEAR(beats.front().x, 0.1 / 4.2 * 500, 1e-6);
    EXPECT_TRUE(beats.front().bar); // beat 900 is a bar

    // A 3-hour file still reaches single beats.
    TimeView view;
    for (int i = 0; i < 40; ++i)
        view = zoomedView(view, 2, 5400, 10800);
    EXPECT_DOUBLE_EQ(view.spanSeconds, kNarrowestViewSeconds);
    EXPECT_EQ(gridDensity(120, view.spanSeconds, 870), GridDensity::everyBeat);
}

TEST(WaveformLayout, ZoomKeepsItsAnchorAndViewsStayInTheFile) {
    const double duration = 100;
    // Zooming in twice about 25 s of the whole file: 25 s stays a quarter in.
    const TimeView zoomed = zoomedView({}, 2, 25, duration);
    EXPECT_EQ(zoomed, (TimeView{12.5, 50}));
    // Out beyond the file gives the file; about the end keeps the end.
    EXPECT_EQ(zoomedView(zoomed, 0.1, 25, duration), (TimeView{0, 100}));
    EXPECT_EQ(zoomedView({}, 4, 100, duration), (TimeView{75, 25}));
    // Scrolling stops at both ends.
    EXPECT_EQ(scrolledView({70, 25}, 10, duration), (TimeView{75, 25}));
    EXPECT_EQ(scrolledView({5, 25}, -10, duration), (TimeView{0, 25}));
    // A position off screen brings the view along, with a tenth to spare.
    EXPECT_EQ(viewShowing({10, 20}, 35, duration), (TimeView{17, 20}));
    EXPECT_EQ(viewShowing({10, 20}, 5, duration), (TimeView{3, 20}));
    EXPECT_EQ(viewShowing({10, 20}, 15, duration), (TimeView{10, 20}));
    // A file shorter than the narrowest view is shown whole.
    EXPECT_EQ(zoomedView({}, 8, 0.2, 0.5), (TimeView{0, 0.5}));
}

TEST(WaveformLayout, WaveformSamplesColumnsAndKeepsAHairline) {
    // 4 peaks on 8 points, 20 points high: scale = 10 - 2 = 8, two points per
    // column; a silent column keeps 0.7.
    const std::vector<float> peaks = {1.0f, 0.5f, 0.0f, 0.25f};
    EXPECT_EQ(waveformHalfHeights(peaks, 8, 20), (std::vector<double>{8, 8, 4, 4, 0.7, 0.7, 2, 2}));
    // More points than columns never read past the last peak; a fractional
    // width draws only whole points.
    EXPECT_EQ(waveformHalfHeights(peaks, 9.5, 20).size(), 9u);
    EXPECT_EQ(waveformHalfHeights(peaks, 9.5, 20).back(), 2.0);
    EXPECT_TRUE(waveformHalfHeights({}, 100, 20).empty());
    // A view reads the columns under it: the second half of 4 peaks over
    // 8 s, on 4 points, is peaks 2, 2, 3, 3.
    EXPECT_EQ(waveformHalfHeights(peaks, 4, 20, 8, {4, 4}), (std::vector<double>{0.7, 0.7, 2, 2}));
}

TEST(WaveformLayout, ClicksMapToSecondsWithinTheFileOrView) {
    // 10 s on 200 points: 20 points per second, clamped to 0 ... 10 s.
    const std::pair<double, double> cases[] = {{0, 0}, {50, 2.5}, {200, 10}, {-30, 0}, {260, 10}};
    for (const auto& [x, seconds] : cases) {
        EXPECT_DOUBLE_EQ(secondsForX(x, 200, 10), seconds) << x;
        if (x >= 0 && x <= 200) {
            EXPECT_DOUBLE_EQ(xForSeconds(seconds, 10, 200), x);
        }
    }
    EXPECT_EQ(secondsForX(50, 0, 10), 0.0);
    EXPECT_NEAR(xForSeconds(302, TimeView{299.9, 4.2}, 500), 250, 1e-9);
    EXPECT_NEAR(secondsForX(250, 500, TimeView{299.9, 4.2}), 302, 1e-9);
}

} // namespace
} // namespace quorlen::detection
