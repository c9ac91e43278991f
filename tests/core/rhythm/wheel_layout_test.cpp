#include "rhythm/euclid.h"
#include "rhythm/wheel_layout.h"

#include <gtest/gtest.h>

namespace quorlen::Euclid {
namespace {

void expectNear(Point actual, Point expected) {
    EXPECT_NEAR(actual.x, expected.x, 1e-9);
    EXPECT_NEAR(actual.y, expected.y, 1e-9);
}

TEST(WheelLayout, RadiusLeavesRoomForTheDots) {
    EXPECT_DOUBLE_EQ(wheelRadius(430, 430), 179); // 215 − 36
    EXPECT_DOUBLE_EQ(wheelRadius(600, 300), 114); // the shorter side counts
}

TEST(WheelLayout, StepZeroIsAtTheTopAndStepsRunClockwise) {
    // y grows downwards, so clockwise from the top is right, down, left.
    const Point center{200, 200};
    expectNear(stepPosition(0, 4, center, 100), {200, 100});
    expectNear(stepPosition(1, 4, center, 100), {300, 200});
    expectNear(stepPosition(2, 4, center, 100), {200, 300});
    expectNear(stepPosition(3, 4, center, 100), {100, 200});
    // One step of eight is 45°: (cos −45°, sin −45°) × 100.
    expectNear(stepPosition(1, 8, center, 100), {270.71067811865476, 129.28932188134524});
}

TEST(WheelLayout, DotsShrinkAsStepsGrow) {
    struct Case {
        int steps;
        double diameter;
    };
    const Case cases[] = {{1, 34}, {8, 34}, {9, 30}, {12, 30}, {13, 26}, {16, 26}};
    for (const Case& c : cases)
        EXPECT_DOUBLE_EQ(stepDotDiameter(c.steps), c.diameter) << c.steps;
}

TEST(WheelLayout, OnlyACurrentHitIsEnlarged) {
    const auto tresillo = pattern(3, 8, 0); // hits 0, 3, 6
    const Point center{215, 215};
    const auto onHit = stepDots(tresillo, 3, center, 179);
    ASSERT_EQ(onHit.size(), 8u);
    EXPECT_DOUBLE_EQ(onHit[3].diameter, 34 * 1.12);
    EXPECT_TRUE(onHit[3].current && onHit[3].hit);
    EXPECT_DOUBLE_EQ(onHit[0].diameter, 34);
    EXPECT_FALSE(onHit[0].current);

    const auto onRest = stepDots(tresillo, 4, center, 179);
    EXPECT_DOUBLE_EQ(onRest[4].diameter, 34);
    EXPECT_TRUE(onRest[4].current && !onRest[4].hit);
    for (const StepDot& dot : stepDots(tresillo, std::nullopt, center, 179))
        EXPECT_FALSE(dot.current);
}

TEST(WheelLayout, APolygonNeedsTwoHits) {
    const Point center{0, 0};
    EXPECT_TRUE(hitPolygon(pattern(0, 8, 0), center, 100).empty());
    EXPECT_TRUE(hitPolygon(pattern(1, 8, 0), center, 100).empty());
    EXPECT_TRUE(hitPolygon({}, center, 100).empty());
    const auto triangle = hitPolygon(pattern(3, 8, 1), center, 100); // hits 1, 4, 7
    ASSERT_EQ(triangle.size(), 3u);
    expectNear(triangle[0], stepPosition(1, 8, center, 100));
    expectNear(triangle[1], stepPosition(4, 8, center, 100));
    expectNear(triangle[2], stepPosition(7, 8, center, 100));
}

} // namespace
} // namespace quorlen::Euclid
