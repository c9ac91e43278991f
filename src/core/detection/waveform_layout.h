#pragma once

#include <span>
#include <vector>

namespace quorlen::detection {

// Where a detection's waveform, beat grid and playhead go on a canvas of
// `widthPoints` × `heightPoints`. Time maps linearly onto the width:
// x = t / duration × width.

struct GridInput {
    double bpm = 0.0;               // the tempo shown, after any halving or doubling
    double beatOffsetSeconds = 0.0; // a beat lies here; the grid extends both ways
    int downbeat = 0;               // beats from the first beat at or after 0 s to a bar line
    double durationSeconds = 0.0;
};

enum class GridDensity { everyBeat, barsOnly, none };

struct GridLine {
    double x = 0.0; // points from the left edge
    bool bar = false;

    bool operator==(const GridLine&) const = default;
};

// Lines closer than 5 points are unreadable: every beat when beats are at
// least 5 points apart, else bar lines (4 beats) when they are, else none.
GridDensity gridDensity(double bpm, double durationSeconds, double widthPoints);

// Beats k = ceil(-offset / p), ... at t = k p + offset (p = 60 / bpm) with
// 0 <= t <= duration, thinned by `gridDensity`. Beat k is a bar line when
// k - downbeat is a multiple of 4.
std::vector<GridLine> gridLines(const GridInput& input, double widthPoints);

// Half-height of the waveform bar at every whole point x = 0 ... trunc(w) - 1:
// column i = min(n - 1, trunc(x / w × n)), a = max(peak[i] × (h / 2 - 2), 0.7),
// so silence still shows a hairline. Empty without peaks.
std::vector<double> waveformHalfHeights(std::span<const float> peaks, double widthPoints,
                                        double heightPoints);

double xForSeconds(double seconds, double durationSeconds, double widthPoints);

// The position `beats` grid beats on from `seconds` (back when negative): a
// position between two beats goes to the next beat line in that direction
// first. Kept within 0 ... duration; without a tempo a beat counts 1 s.
double steppedSeconds(const GridInput& grid, double seconds, int beats);

// The file position a click at `x` asks for: min(max(x / w, 0), 1) × duration.
// 0 for a canvas without width (the caller ignores such clicks).
double secondsForX(double x, double widthPoints, double durationSeconds);

} // namespace quorlen::detection
