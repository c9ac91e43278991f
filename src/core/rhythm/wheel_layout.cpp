#include "rhythm/wheel_layout.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quorlen::rhythm::Euclid {

double wheelRadius(double width, double height) {
    return std::min(width, height) / 2 - kWheelMargin;
}

Point stepPosition(int index, int count, Point center, double radius) {
    const double turns = static_cast<double>(index) / std::max(count, 1);
    const double radians = turns * 2 * std::numbers::pi - std::numbers::pi / 2;
    return {center.x + std::cos(radians) * radius, center.y + std::sin(radians) * radius};
}

double stepDotDiameter(int count) {
    if (count <= 8)
        return 34;
    if (count <= 12)
        return 30;
    return 26;
}

std::vector<StepDot> stepDots(const std::vector<bool>& pattern, std::optional<int> currentStep,
                              Point center, double radius) {
    const int count = static_cast<int>(pattern.size());
    const double diameter = stepDotDiameter(count);
    std::vector<StepDot> dots;
    dots.reserve(pattern.size());
    for (int i = 0; i < count; ++i) {
        const bool hit = pattern[static_cast<size_t>(i)];
        const bool current = currentStep == i;
        dots.push_back({stepPosition(i, count, center, radius),
                        hit && current ? diameter * kCurrentHitScale : diameter, hit, current});
    }
    return dots;
}

std::vector<Point> hitPolygon(const std::vector<bool>& pattern, Point center, double radius) {
    const int count = std::max(static_cast<int>(pattern.size()), 1);
    std::vector<Point> corners;
    for (int i = 0; i < static_cast<int>(pattern.size()); ++i) {
        if (pattern[static_cast<size_t>(i)])
            corners.push_back(stepPosition(i, count, center, radius));
    }
    if (corners.size() < 2)
        corners.clear();
    return corners;
}

} // namespace quorlen::rhythm::Euclid
