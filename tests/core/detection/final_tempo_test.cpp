#include "detection/downbeat.h"
#include "detection/final_tempo.h"
#include "detection/grid_score.h"
#include "detection/onset_envelope.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace quorlen::detection {
namespace {

// Frames of the envelope of a signal of `seconds` at 22050 Hz.
size_t framesFor(double seconds) { return (size_t(seconds * 22050) - 1024) / 256 + 1; }

double periodFrames(double bpm) { return 60.0 * kEnvelopeFps / bpm; }

Candidate candidateAt(const std::vector<double>& env, double bpm) {
    const GridFit fit = gridScore(env, kEnvelopeFps, bpm, std::nullopt);
    return {bpm, candidateValue(bpm, fit), fit.score, fit.phase, std::pow(fit.alt, 1.2)};
}

TEST(LoopCandidates, ListsWholeBarLoopsBetween40And250Bpm) {
    // beats * 60 / duration for beats = 4, 8, ...; 8 s: 30 BPM is too slow, 270 stops.
    const std::vector<LoopCandidate> eight = {{60, 8},   {90, 12},  {120, 16}, {150, 20},
                                              {180, 24}, {210, 28}, {240, 32}};
    EXPECT_EQ(loopCandidates(8.0), eight);
    EXPECT_NEAR(loopCandidates(7.99)[2].bpm, 120.15, 0.001); // 16 beats
    EXPECT_EQ(loopCandidates(100.0).size(), 88u);            // beats 68 ... 416
    EXPECT_TRUE(loopCandidates(0.5).empty());                // 4 beats is already 480 BPM
}

TEST(LoopSnapping, EightSecondLoopSnapsToFourBars) {
    const std::vector<double> env =
        normalize(testing::pulseEnvelope(framesFor(8.0), periodFrames(120), 5), kEnvelopeFps);
    const std::optional<FinalTempo> snapped =
        snapToLoop(env, kEnvelopeFps, 8.0, candidateAt(env, 119.9));
    ASSERT_TRUE(snapped);
    EXPECT_EQ(snapped->bpm, 120.0);
    EXPECT_EQ(snapped->snappedBars, 4);
    EXPECT_NEAR(snapped->phase, 5.0, 0.5);
    // Over 90 s no file is a loop, and an impossible duration snaps nothing.
    EXPECT_FALSE(snapToLoop(env, kEnvelopeFps, 95.0, candidateAt(env, 119.9)));
    EXPECT_FALSE(snapToLoop(env, kEnvelopeFps, 0.0, candidateAt(env, 119.9)));
}

TEST(Rounding, PrefersARoundTempoWithinOneFramesDrift) {
    struct Case {
        double seconds, pulseBpm, detected, expected;
        const char* source;
    };
    const std::vector<Case> cases = {
        {95, 120, 119.99, 120, "tau = 119.99 / 8179 = 0.0147 >= 0.01"},
        {95, 120, 119.98, 119.98, "0.02 > tau and the 0.5 and 0.1 roundings also give 120"},
        {120, 127.9, 127.903, 127.9, "128 too far (tau 0.0124), 127.9 kept by its grid"},
        {120, 100, 127.903, 127.903, "127.9 tried first and rejected by its grid; 128 never"},
    };
    for (const Case& c : cases) {
        const std::vector<double> env =
            normalize(testing::pulseEnvelope(framesFor(c.seconds), periodFrames(c.pulseBpm), 3),
                      kEnvelopeFps);
        Candidate best = candidateAt(env, c.detected);
        if (c.pulseBpm == 100) // a grid that claims more than the envelope gives
            best.raw = 10.0;
        const FinalTempo rounded = roundTempo(env, kEnvelopeFps, best);
        EXPECT_DOUBLE_EQ(rounded.bpm, c.expected) << c.source;
        EXPECT_FALSE(rounded.snappedBars) << c.source;
    }
}

TEST(Downbeat, PicksTheStrongestSlotOfTheFourBeatCycle) {
    std::vector<double> low = testing::pulseEnvelope(2000, 40, 4);
    for (size_t k = 4, beat = 0; k < low.size(); k += 40, ++beat)
        low[k] = beat % 4 == 2 ? 1.0 : 0.3;
    EXPECT_EQ(downbeat(low, kEnvelopeFps, 129.19921875, 4.0), 2);
    EXPECT_EQ(downbeat(low, kEnvelopeFps, 129.19921875, 44.0), 1); // grid starts one beat later
    const std::vector<double> even = testing::pulseEnvelope(2000, 40, 4);
    EXPECT_EQ(downbeat(even, kEnvelopeFps, 129.19921875, 4.0), 0);    // ties keep slot 0
    EXPECT_EQ(downbeat(even, kEnvelopeFps, 129.19921875, 1999.0), 0); // no positions
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

} // namespace
} // namespace quorlen::detection
