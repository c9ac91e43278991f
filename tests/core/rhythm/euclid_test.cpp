#include "rhythm/euclid.h"
#include "rhythm/step_length.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quorlen::Euclid {
namespace {

std::string e(int pulses, int steps, int rotation = 0) {
    return notation(pattern(pulses, steps, rotation));
}

TEST(EuclidPattern, MatchesTheReferenceTable) {
    // The reference table of the rhythm tool, rotation 0. E(5,8) starts
    // x.x.xx.x (the Bresenham start), not the x.xx.xx. of other methods.
    struct Case {
        int pulses;
        int steps;
        const char* pattern;
        std::vector<int> hits;
    };
    const Case cases[] = {
        {3, 8, "x..x..x.", {0, 3, 6}},
        {5, 8, "x.x.xx.x", {0, 2, 4, 5, 7}},
        {7, 12, "x.x.x.xx.x.x", {0, 2, 4, 6, 7, 9, 11}},
        {5, 16, "x...x..x..x..x..", {0, 4, 7, 10, 13}},
        {4, 16, "x...x...x...x...", {0, 4, 8, 12}},
        {0, 5, ".....", {}},
        {6, 6, "xxxxxx", {0, 1, 2, 3, 4, 5}},
        {1, 1, "x", {0}},
    };
    for (const Case& c : cases) {
        const auto p = pattern(c.pulses, c.steps, 0);
        EXPECT_EQ(notation(p), c.pattern) << c.pulses << "," << c.steps;
        EXPECT_EQ(hitIndices(p), c.hits) << c.pulses << "," << c.steps;
    }
}

TEST(EuclidPattern, RotationMovesHitsLaterAndWraps) {
    // E(3,8) = x..x..x.: one step later is .x..x..x; one step earlier, or
    // seven later, is ..x..x.x; nine is one full cycle plus one.
    EXPECT_EQ(e(3, 8, 1), ".x..x..x");
    EXPECT_EQ(e(3, 8, -1), "..x..x.x");
    EXPECT_EQ(e(3, 8, 7), "..x..x.x");
    EXPECT_EQ(e(3, 8, 9), e(3, 8, 1));
    EXPECT_EQ(e(3, 8, -17), e(3, 8, -1));
    EXPECT_EQ(e(3, 8, 8), e(3, 8, 0));
}

TEST(EuclidPattern, OutOfRangeInputsAreClampedOrEmpty) {
    EXPECT_EQ(e(9, 8), "xxxxxxxx");
    EXPECT_EQ(e(-2, 8), "........");
    EXPECT_TRUE(pattern(3, 0, 0).empty());
    EXPECT_TRUE(pattern(3, -4, 2).empty());
}

TEST(EuclidPattern, EveryPatternSpreadsItsHitsEvenly) {
    // Even spreading, checked without the construction: k hits, step 0
    // first, and the gaps between successive hits (around the cycle) differ
    // by at most one step.
    for (int n = 1; n <= 32; ++n) {
        for (int k = 1; k <= n; ++k) {
            const auto hits = hitIndices(pattern(k, n, 0));
            ASSERT_EQ(static_cast<int>(hits.size()), k);
            EXPECT_EQ(hits.front(), 0);
            int shortest = n;
            int longest = 0;
            for (int i = 0; i < k; ++i) {
                const int next = i + 1 < k ? hits[i + 1] : hits[0] + n;
                shortest = std::min(shortest, next - hits[i]);
                longest = std::max(longest, next - hits[i]);
            }
            EXPECT_LE(longest - shortest, 1) << "E(" << k << "," << n << ")";
        }
    }
}

TEST(EuclidInputs, ShrinkingTheStepsKeepsPulsesAndRotationInRange) {
    // withSteps: pulses ≤ steps, rotation ≤ max(steps − 1, 0).
    struct Case {
        Inputs before;
        int steps;
        Inputs after;
    };
    const Case cases[] = {
        {{12, 7, 9}, 5, {5, 5, 4}},  // the tool's own example
        {{8, 3, 2}, 16, {16, 3, 2}}, // growing changes nothing else
        {{4, 4, 3}, 1, {1, 1, 0}},   // one step leaves no rotation
        {{4, 0, 0}, 3, {3, 0, 0}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(withSteps(c.before, c.steps), c.after) << c.steps;
}

TEST(StepLength, FollowsTheTempoWithinItsLimits) {
    // beat = 60000 / min(bpm, 400) ms, 3000 ms at or below 20 BPM;
    // step = beat × 4 / note.
    struct Case {
        double bpm;
        int note;
        double stepMs;
    };
    const Case cases[] = {
        {120, 16, 125},  {120, 8, 250},        {120, 4, 500},
        {10, 4, 3000},   {20, 16, 750},        {1000, 4, 150}, // BPM 1000 counts as 400
        {400, 16, 37.5}, {90, 16, 166.666667},
    };
    for (const Case& c : cases)
        EXPECT_NEAR(stepMilliseconds(c.bpm, c.note), c.stepMs, 1e-6) << c.bpm << " 1/" << c.note;
    EXPECT_DOUBLE_EQ(cycleMilliseconds(120, 16, 8), 1000);
    EXPECT_DOUBLE_EQ(cycleMilliseconds(120, 8, 12), 3000);
}

} // namespace
} // namespace quorlen::Euclid
