#include "harmony/wheel_geometry.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quorlen::harmony::wheel {
namespace {

constexpr double kRadPerDeg = std::numbers::pi / 180.0;

bool within(double r, const RingBand& ring) { return r >= ring.innerRatio && r <= ring.outerRatio; }

} // namespace

std::string SegmentID::text() const {
    return (ring == Ring::major ? "maj-" : "min-") + std::to_string(index);
}

const RingBand& band(Ring ring) { return ring == Ring::major ? kMajorRing : kMinorRing; }

double centreDeg(int index) { return index * kSectorDeg - 90.0; }

ArcSpan segmentSpan(int index) {
    const double half = kSectorDeg / 2;
    return {centreDeg(index) - half + kMarginDeg, centreDeg(index) + half - kMarginDeg};
}

Point polarPoint(Point centre, double radius, double angleDeg) {
    return {centre.x + radius * std::cos(angleDeg * kRadPerDeg),
            centre.y + radius * std::sin(angleDeg * kRadPerDeg)};
}

std::optional<SegmentID> segmentAt(double x, double y, double width, double height) {
    const double dx = x - width / 2;
    const double dy = y - height / 2;
    const double r = std::hypot(dx, dy) / (std::min(width, height) * 0.5);
    Ring ring;
    if (within(r, kMinorRing))
        ring = Ring::minor;
    else if (within(r, kMajorRing))
        ring = Ring::major;
    else
        return std::nullopt;
    // +90 turns "up" into 0 degrees, +15 puts sector 0 on [-15, 15).
    double a = std::atan2(dy, dx) / kRadPerDeg + 105.0;
    if (a < 0)
        a += 360.0;
    const int index = static_cast<int>(a / kSectorDeg) % 12;
    return SegmentID{ring, index};
}

std::optional<SegmentID> segmentShapeAt(double x, double y, double width, double height) {
    const auto segment = segmentAt(x, y, width, height);
    if (!segment)
        return std::nullopt;
    const double a = std::atan2(y - height / 2, x - width / 2) / kRadPerDeg;
    // Angular distance from the sector's centre, folded into [0, 180].
    const double off = std::abs(std::remainder(a - centreDeg(segment->index), 360.0));
    if (off > kSectorDeg / 2 - kMarginDeg)
        return std::nullopt;
    return segment;
}

SegmentFill segmentFill(SegmentID segment, KeySelection selected,
                        std::optional<SegmentID> hovered) {
    const bool onSelectedRing = (segment.ring == Ring::minor) == selected.isMinor;
    if (segment.index == selected.index && onSelectedRing)
        return SegmentFill::selected;
    const int up = ((segment.index - selected.index) % 12 + 12) % 12;
    const int distance = std::min(up, 12 - up);
    if ((distance == 1 && onSelectedRing) || (segment.index == selected.index && !onSelectedRing))
        return SegmentFill::related;
    if (hovered == segment)
        return SegmentFill::hovered;
    return SegmentFill::neutral;
}

} // namespace quorlen::harmony::wheel
