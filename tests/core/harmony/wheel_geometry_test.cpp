#include "harmony/wheel_geometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace quorlen::wheel {
namespace {

// A point at radius r × R and screen angle `deg` in a 430 × 430 wheel.
std::optional<SegmentID> at(double r, double deg, bool shape = false) {
    const Point p = polarPoint({215, 215}, r * 215, deg);
    return shape ? segmentShapeAt(p.x, p.y, 430, 430) : segmentAt(p.x, p.y, 430, 430);
}

TEST(WheelGeometry, CompassPointsAndRingEdges) {
    // Up is C (0), right A (3), down F♯ (6), left E♭ (9).
    const std::pair<double, int> compass[] = {{-90, 0}, {0, 3},     {90, 6},
                                              {180, 9}, {-120, 11}, {-60, 1}};
    for (const auto& [deg, index] : compass) {
        EXPECT_EQ(at(0.85, deg), (SegmentID{Ring::major, index})) << deg;
        EXPECT_EQ(at(0.6, deg), (SegmentID{Ring::minor, index})) << deg;
    }
    // Band edges are inclusive; the gap, the badge and the rim are empty.
    EXPECT_EQ(at(0.47, -90), (SegmentID{Ring::minor, 0}));
    EXPECT_EQ(at(0.695 - 1e-9, -90), (SegmentID{Ring::minor, 0}));
    EXPECT_EQ(at(0.72 + 1e-9, -90), (SegmentID{Ring::major, 0}));
    EXPECT_EQ(at(0.985 - 1e-9, -90), (SegmentID{Ring::major, 0}));
    for (const double r : {0.0, 0.3, 0.469, 0.70, 0.71, 0.986, 1.2})
        EXPECT_FALSE(at(r, -90)) << r;
}

TEST(WheelGeometry, SectorBoundariesAndNonSquareSizes) {
    // Sector 0 spans [-105, -75): its right edge belongs to G.
    EXPECT_EQ(at(0.85, -105 + 1e-6)->index, 0);
    EXPECT_EQ(at(0.85, -75 + 1e-6)->index, 1);
    EXPECT_EQ(at(0.85, -75 - 1e-6)->index, 0);
    // R is half the smaller side: in 600 × 400, R = 200 around (300, 200).
    EXPECT_EQ(segmentAt(300, 200 - 0.9 * 200, 600, 400), (SegmentID{Ring::major, 0}));
    EXPECT_FALSE(segmentAt(300 + 250, 200, 600, 400));
}

TEST(WheelGeometry, ClicksMissTheMarginsHoverDoesNot) {
    // The drawn segment spans centre ± (15 − 1.4) degrees.
    EXPECT_EQ(at(0.85, -90 + 13.3, true), (SegmentID{Ring::major, 0}));
    EXPECT_FALSE(at(0.85, -90 + 14.0, true));
    EXPECT_EQ(at(0.85, -90 + 14.0), (SegmentID{Ring::major, 0}));
    EXPECT_FALSE(at(0.6, 180 - 14.5, true));
    EXPECT_EQ(at(0.6, 180, true), (SegmentID{Ring::minor, 9}));
    const ArcSpan c = segmentSpan(0);
    EXPECT_DOUBLE_EQ(c.startDeg, -103.6);
    EXPECT_DOUBLE_EQ(c.endDeg, -76.4);
    EXPECT_EQ((SegmentID{Ring::minor, 3}).text(), "min-3");
    EXPECT_EQ((SegmentID{Ring::major, 0}).text(), "maj-0");
}

TEST(WheelGeometry, FillsForCMajorAndAMinor) {
    const auto fills = [](KeySelection key, std::optional<SegmentID> hover) {
        std::string text;
        for (const Ring ring : {Ring::major, Ring::minor}) {
            for (int i = 0; i < 12; ++i) {
                static constexpr char kCode[] = {'S', 'r', 'h', '.'};
                text += kCode[static_cast<int>(segmentFill({ring, i}, key, hover))];
            }
            text += '|';
        }
        return text;
    };
    // C major: C selected, G and F (outer) and Am (inner) related.
    EXPECT_EQ(fills({0, false}, std::nullopt), "Sr.........r|r...........|");
    // A minor: Am selected, Em and Dm (inner) and C (outer) related.
    EXPECT_EQ(fills({0, true}, std::nullopt), "r...........|Sr.........r|");
    // Hover shows only on segments no other rule claims.
    EXPECT_EQ(fills({0, false}, SegmentID{Ring::minor, 6}), "Sr.........r|r.....h.....|");
    EXPECT_EQ(fills({0, false}, SegmentID{Ring::major, 1}), "Sr.........r|r...........|");
    // Across the top of the circle: F major's neighbours are B♭ and C.
    EXPECT_EQ(fills({11, false}, std::nullopt), "r.........rS|...........r|");
}

} // namespace
} // namespace quorlen::wheel
