#pragma once

#include "harmony/key_selection.h"

#include <optional>
#include <string>

namespace quorlen::harmony::wheel {

// The circle-of-fifths wheel in a square of side 2R: the major keys on an
// outer ring, their relative minors on an inner ring, a badge in the
// centre. Radii are fractions of R; angles are degrees clockwise on screen
// from the positive x axis (screen y grows downwards), so -90 is straight up.

struct RingBand {
    double innerRatio;
    double outerRatio;
};

inline constexpr RingBand kMajorRing{0.72, 0.985};
inline constexpr RingBand kMinorRing{0.47, 0.695};
// Each sector is 30 degrees; the drawn segment leaves this much on each side.
inline constexpr double kSectorDeg = 30.0;
inline constexpr double kMarginDeg = 1.4;

enum class Ring { major, minor };

struct SegmentID {
    Ring ring;
    int index; // 0…11, circle position

    bool operator==(const SegmentID&) const = default;
    // "maj-0" (C), "min-3" (F♯m).
    std::string text() const;
};

const RingBand& band(Ring ring);

// The centre angle of position i: C straight up, then clockwise in fifths.
double centreDeg(int index);

struct ArcSpan {
    double startDeg;
    double endDeg;
};

// The drawn segment: the 30-degree sector less the margins.
ArcSpan segmentSpan(int index);

struct Point {
    double x;
    double y;
};

// The point at `radius` along `angleDeg` from `centre`.
Point polarPoint(Point centre, double radius, double angleDeg);

// The segment whose full 30-degree sector holds the point, for hovering.
// (x, y) is in the wheel's own coordinates; a point in the gap between the
// rings, on the badge or outside the outer ring gives nothing.
std::optional<SegmentID> segmentAt(double x, double y, double width, double height);

// The segment whose drawn shape holds the point, for clicks: like
// segmentAt but the margins between neighbours give nothing.
std::optional<SegmentID> segmentShapeAt(double x, double y, double width, double height);

// How a segment is filled, the first rule that matches winning: the
// selected key; its dominant and subdominant on the selected ring and its
// relative on the other ring; the segment under the pointer; the rest.
enum class SegmentFill { selected, related, hovered, neutral };

SegmentFill segmentFill(SegmentID segment, KeySelection selected, std::optional<SegmentID> hovered);

} // namespace quorlen::harmony::wheel
