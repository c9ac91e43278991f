#pragma once

#include <optional>
#include <vector>

// Where the Euclidean wheel puts its steps, in points with y pointing down.
namespace quorlen::rhythm::Euclid {

struct Point {
    double x;
    double y;

    bool operator==(const Point&) const = default;
};

// One step's dot.
struct StepDot {
    Point center;
    double diameter; // already scaled for a current hit
    bool hit;
    bool current;
};

inline constexpr double kWheelSide = 430;  // the square the wheel is drawn in
inline constexpr double kWheelMargin = 36; // room for dots and the current-step ring
inline constexpr double kCurrentHitScale = 1.12;
inline constexpr double kCurrentRingGap = 5; // between a dot and its current-step ring

// Radius of the circle of steps in a frame: min(width, height) / 2 − 36,
// which is 179 in the 430 square.
double wheelRadius(double width, double height);

// Centre of step `index` of `count`: angle index / count × 360° − 90°, so
// step 0 sits at the top and steps run clockwise.
Point stepPosition(int index, int count, Point center, double radius);

// 34 up to 8 steps, 30 for 9 to 12, 26 from 13, so that 16 dots still
// leave gaps on a 179 radius.
double stepDotDiameter(int count);

// Every step's dot; a current step that is a hit is drawn 1.12 times larger.
std::vector<StepDot> stepDots(const std::vector<bool>& pattern, std::optional<int> currentStep,
                              Point center, double radius);

// Corners of the polygon joining the hits in index order; empty when fewer
// than two hits, which draw no polygon.
std::vector<Point> hitPolygon(const std::vector<bool>& pattern, Point center, double radius);

} // namespace quorlen::rhythm::Euclid
