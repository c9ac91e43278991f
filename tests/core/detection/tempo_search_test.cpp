#include "detection/autocorrelation.h"
#include "detection/onset_envelope.h"
#include "detection/resample.h"
#include "detection/tempo_search.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace quorlen::detection {
namespace {

// Normalised envelope of a 30 s click train at `bpm`, accented every 4th beat.
std::vector<double> clickEnvelope(double bpm) {
    return normalize(onsetEnvelope(testing::clickTrain({.bpm = bpm,
                                                        .seconds = 30,
                                                        .rateHz = 22050,
                                                        .firstClickSeconds = 0.25,
                                                        .accentEvery = 4}),
                                   {})
                         .full,
                     kEnvelopeFps);
}

TEST(SearchLadder, FallsBackToTheStartTempoWhenNothingCanBeScored) {
    const std::vector<double> env = clickEnvelope(120);
    const Candidate fallback300{300.0, 0.0, 0.0, 0.0, 1.0};
    EXPECT_EQ(searchLadder(env, kEnvelopeFps, 300.0, analysisLadder(), kLadderSpan), fallback300);
    const Candidate fallback120{120.0, 0.0, 0.0, 0.0, 1.0};
    EXPECT_EQ(searchLadder(env, kEnvelopeFps, 120.0, {}, kLadderSpan), fallback120);
}

TEST(SearchLadder, ClimbsToTheClickTempo) {
    // Start 2.5 % off: the first rung spans +-3 %, later rungs narrow in.
    for (const double bpm : {87.5, 120.0, 143.0}) {
        const std::vector<double> env = clickEnvelope(bpm);
        const Candidate found =
            searchLadder(env, kEnvelopeFps, bpm * 1.025, analysisLadder(), kLadderSpan);
        EXPECT_NEAR(found.bpm, bpm, 0.02 * bpm / 120.0) << bpm;
        EXPECT_GT(found.raw, 1.0) << bpm;
    }
}

// Normalised envelope of a 30 s drum groove: more leaders, some of them
// close enough to be passed over once their neighbour is refined.
std::vector<double> grooveEnvelope(double bpm, std::vector<std::string> steps) {
    const std::vector<float> groove =
        testing::drumGroove({.bpm = bpm, .seconds = 30, .steps = std::move(steps)});
    return normalize(onsetEnvelope(resample(groove, 44100, 22050, {}), {}).full, kEnvelopeFps);
}

TEST(TempoCandidates, ThreadCountDoesNotChangeTheRanking) {
    const std::vector<std::pair<const char*, std::vector<double>>> envelopes = {
        {"clicks", clickEnvelope(101.3)},
        {"straight groove", grooveEnvelope(128, {"kh", "h", "h", "h", "sh", "h", "h", "h", "kh",
                                                 "h", "kh", "h", "sh", "h", "h", "h"})},
        {"syncopated groove", grooveEnvelope(93, {"k", "", "h", "k", "s", "", "h", "", "", "k", "h",
                                                  "", "s", "", "k", "h"})},
    };
    for (const auto& [name, env] : envelopes) {
        const std::vector<double> tempos =
            expandOctaves(autocorrelationCandidates(env, kEnvelopeFps));
        const std::vector<Candidate> one = coarseRanking(env, kEnvelopeFps, tempos, 1);
        const TempoCandidates refinedOne = refineCandidates(env, kEnvelopeFps, one, {}, 1);
        for (const int threads : {2, 3, 5, 8}) {
            EXPECT_EQ(coarseRanking(env, kEnvelopeFps, tempos, threads), one) << name << threads;
            const TempoCandidates refined = refineCandidates(env, kEnvelopeFps, one, {}, threads);
            EXPECT_EQ(refined.refined, refinedOne.refined) << name << " on " << threads;
            EXPECT_EQ(refined.secondRaw, refinedOne.secondRaw) << name << " on " << threads;
        }
    }
    // Leaders 1 % apart, both 1.5 % and more from the clicks' tempo: refined
    // side by side, the second comes near the first's result and is passed
    // over as it is when they are refined in turn.
    const std::vector<double> clicks = clickEnvelope(101.3);
    const std::vector<Candidate> close = {{103.8}, {102.8}, {140.0}, {102.3}, {70.0}, {180.0}};
    const TempoCandidates inTurn = refineCandidates(clicks, kEnvelopeFps, close, {}, 1);
    ASSERT_NEAR(inTurn.refined.front().bpm, 101.3, 0.05);
    for (const int threads : {2, 3, 4})
        EXPECT_EQ(refineCandidates(clicks, kEnvelopeFps, close, {}, threads).refined,
                  inTurn.refined)
            << threads;
}

TEST(TempoCandidates, RefinesDistinctLeadersThenHalfAndDouble) {
    const std::vector<double> env = clickEnvelope(101.3);
    const std::vector<double> tempos = expandOctaves(autocorrelationCandidates(env, kEnvelopeFps));
    const std::vector<Candidate> coarse = coarseRanking(env, kEnvelopeFps, tempos, 2);
    int polls = 0;
    const TempoCandidates result = refineCandidates(
        env, kEnvelopeFps, coarse, [&] { return ++polls, false; }, 2);
    ASSERT_GE(result.refined.size(), 2u);
    EXPECT_LE(result.refined.size(), 6u); // four leaders plus half and double
    EXPECT_GE(polls, 4);                  // once per leader considered while fewer than 4
    EXPECT_NEAR(result.refined.front().bpm, 101.3, 0.05);
    for (size_t i = 1; i < result.refined.size(); ++i)
        EXPECT_GE(result.refined[i - 1].score, result.refined[i].score);
    EXPECT_GT(result.secondRaw, 0.0);
    EXPECT_THROW(refineCandidates(
                     env, kEnvelopeFps, coarse, [] { return true; }, 1),
                 Failure);
}

} // namespace
} // namespace quorlen::detection
