#include "detection/autocorrelation.h"
#include "detection/onset_envelope.h"
#include "detection/tempo_search.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

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

TEST(TempoCandidates, ThreadCountDoesNotChangeTheRanking) {
    const std::vector<double> env = clickEnvelope(101.3);
    const std::vector<double> tempos = expandOctaves(autocorrelationCandidates(env, kEnvelopeFps));
    const std::vector<Candidate> one = coarseRanking(env, kEnvelopeFps, tempos, 1);
    EXPECT_EQ(coarseRanking(env, kEnvelopeFps, tempos, 2), one);
    EXPECT_EQ(coarseRanking(env, kEnvelopeFps, tempos, 5), one);
    const TempoCandidates refinedOne = refineCandidates(env, kEnvelopeFps, one, {}, 1);
    const TempoCandidates refinedTwo = refineCandidates(env, kEnvelopeFps, one, {}, 2);
    EXPECT_EQ(refinedOne.refined, refinedTwo.refined);
    EXPECT_EQ(refinedOne.secondRaw, refinedTwo.secondRaw);
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
