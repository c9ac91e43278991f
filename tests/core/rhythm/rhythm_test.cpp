#include "rhythm/euclid.h"
#include "rhythm/step_length.h"
#include "rhythm/wheel_layout.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace quorlen::rhythm::Euclid {
namespace {

std::string e(int pulses, int steps, int rotation = 0) {
    return notation(pattern(pulses, steps, rotation));
}

TEST(EuclidPattern, MatchesTheReferenceTableAndClampsOutOfRangeInputs) {
    // The reference table of the rhythm tool, rotation 0. E(5,8) starts
    // x.x.xx.x (the Bresenham start), not the x.xx.xx. of other methods.
    const struct {
        int pulses, steps;
        const char* pattern;
        std::vector<int> hits;
    } cases[] = {
        {3, 8, "x..x..x.", {0, 3, 6}},
        {5, 8, "x.x.xx.x", {0, 2, 4, 5, 7}},
        {7, 12, "x.x.x.xx.x.x", {0, 2, 4, 6, 7, 9, 11}},
        {5, 16, "x...x..x..x..x..", {0, 4, 7, 10, 13}},
        {4, 16, "x...x...x...x...", {0, 4, 8, 12}},
        {0, 5, ".....", {}},
        {6, 6, "xxxxxx", {0, 1, 2, 3, 4, 5}},
        {1, 1, "x", {0}},
        {9, 8, "xxxxxxxx", {0, 1, 2, 3, 4, 5, 6, 7}},
        {-2, 8, "........", {}},
        {3, 0, "", {}},
        {3, -4, "", {}},
    };
    for (const auto& c : cases) {
        const auto p = pattern(c.pulses, c.steps, 2 * c.steps); // whole turns change nothing
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
    // withSteps: pulses ≤ steps, rotation ≤ max(steps − 1, 0). The first is
    // the tool's own example; growing changes nothing else; one step leaves
    // no rotation.
    const std::tuple<Inputs, int, Inputs> cases[] = {{{12, 7, 9}, 5, {5, 5, 4}},
                                                     {{8, 3, 2}, 16, {16, 3, 2}},
                                                     {{4, 4, 3}, 1, {1, 1, 0}},
                                                     {{4, 0, 0}, 3, {3, 0, 0}}};
    for (const auto& [before, steps, after] : cases)
        EXPECT_EQ(withSteps(before, steps), after) << steps;
}

TEST(StepLength, FollowsTheTempoWithinItsLimits) {
    // beat = 60000 / min(bpm, 400) ms, 3000 ms at or below 20 BPM;
    // step = beat × 4 / note. BPM 1000 counts as 400.
    const std::tuple<double, int, double> cases[] = {
        {120, 16, 125}, {120, 8, 250},  {120, 4, 500},   {10, 4, 3000},
        {20, 16, 750},  {1000, 4, 150}, {400, 16, 37.5}, {90, 16, 166.666667}};
    for (const auto& [bpm, note, stepMs] : cases)
        EXPECT_NEAR(stepMilliseconds(bpm, note), stepMs, 1e-6) << bpm << " 1/" << note;
    EXPECT_DOUBLE_EQ(cycleMilliseconds(120, 16, 8), 1000);
    EXPECT_DOUBLE_EQ(cycleMilliseconds(120, 8, 12), 3000);
}

void expectNear(Point actual, Point expected) {
    EXPECT_NEAR(actual.x, expected.x, 1e-9);
    EXPECT_NEAR(actual.y, expected.y, 1e-9);
}

TEST(WheelLayout, StepZeroIsAtTheTopStepsRunClockwiseAndTheRadiusLeavesRoom) {
    EXPECT_DOUBLE_EQ(wheelRadius(430, 430), 179); // 215 − 36 for the dots
    EXPECT_DOUBLE_EQ(wheelRadius(600, 300), 114); // the shorter side counts
    // y grows downwards, so clockwise from the top is right, down, left.
    const Point center{200, 200};
    expectNear(stepPosition(0, 4, center, 100), {200, 100});
    expectNear(stepPosition(1, 4, center, 100), {300, 200});
    expectNear(stepPosition(2, 4, center, 100), {200, 300});
    expectNear(stepPosition(3, 4, center, 100), {100, 200});
    // One step of eight is 45°: (cos −45°, sin −45°) × 100.
    expectNear(stepPosition(1, 8, center, 100), {270.71067811865476, 129.28932188134524});
}

TEST(WheelLayout, DotsShrinkAsStepsGrowAndOnlyACurrentHitIsEnlarged) {
    const std::pair<int, double> diameters[] = {{1, 34},  {8, 34},  {9, 30},
                                                {12, 30}, {13, 26}, {16, 26}};
    for (const auto& [steps, diameter] : diameters)
        EXPECT_DOUBLE_EQ(stepDotDiameter(steps), diameter) << steps;
    const auto tresillo = pattern(3, 8, 0); // hits 0, 3, 6
    const auto onHit = stepDots(tresillo, 3, {215, 215}, 179);
    ASSERT_EQ(onHit.size(), 8u);
    EXPECT_DOUBLE_EQ(onHit[3].diameter, 34 * 1.12);
    EXPECT_TRUE(onHit[3].current && onHit[3].hit);
    EXPECT_DOUBLE_EQ(onHit[0].diameter, 34);
    EXPECT_FALSE(onHit[0].current);
    const auto onRest = stepDots(tresillo, 4, {215, 215}, 179);
    EXPECT_DOUBLE_EQ(onRest[4].diameter, 34);
    EXPECT_TRUE(onRest[4].current && !onRest[4].hit);
    for (const StepDot& dot : stepDots(tresillo, std::nullopt, {215, 215}, 179))
        EXPECT_FALSE(dot.current);
}

TEST(WheelLayout, APolygonNeedsTwoHits) {
    const Point center{0, 0};
    EXPECT_TRUE(hitPolygon(pattern(1, 8, 0), center, 100).empty());
    EXPECT_TRUE(hitPolygon({}, center, 100).empty());
    const auto triangle = hitPolygon(pattern(3, 8, 1), center, 100); // hits 1, 4, 7
    ASSERT_EQ(triangle.size(), 3u);
    expectNear(triangle[0], stepPosition(1, 8, center, 100));
    expectNear(triangle[1], stepPosition(4, 8, center, 100));
    expectNear(triangle[2], stepPosition(7, 8, center, 100));
}

} // namespace
} // namespace quorlen::rhythm::Euclid
