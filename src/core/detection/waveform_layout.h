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

// The stretch of the file shown: `spanSeconds` from `startSeconds`. A span
// of 0 stands for the whole file.
struct TimeView {
    double startSeconds = 0.0;
    double spanSeconds = 0.0;

    bool operator==(const TimeView&) const = default;
};

// The narrowest view: a few beats at any tempo.
inline constexpr double kNarrowestViewSeconds = 1.0;

// `view` zoomed by `factor` (2 halves the span) about `anchorSeconds`, which
// stays where it is on screen; kept within the file and no narrower than
// kNarrowestViewSeconds (or the file, when shorter).
TimeView zoomedView(TimeView view, double factor, double anchorSeconds, double durationSeconds);
// `view` moved by `seconds` (negative: back), kept within the file.
TimeView scrolledView(TimeView view, double seconds, double durationSeconds);
// The least move of `view` that shows `seconds`, with a tenth of the span
// to spare before the edge it crossed.
TimeView viewShowing(TimeView view, double seconds, double durationSeconds);

// everyBeat and barsOnly as named; sparseBars: every 2nd, 4th, 8th ... bar,
// whichever is the first that keeps 5 points between lines, so that some
// grid shows at every zoom.
enum class GridDensity { everyBeat, barsOnly, sparseBars };

struct GridLine {
    double x = 0.0; // points from the left edge
    bool bar = false;

    bool operator==(const GridLine&) const = default;
};

// Lines closer than 5 points are unreadable: every beat when beats are at
// least 5 points apart, else bar lines (4 beats) when they are, else sparser
// bar lines. `spanSeconds` is the time the width shows.
GridDensity gridDensity(double bpm, double spanSeconds, double widthPoints);
// Bars from one drawn bar line to the next: 1, 2, 4, ... (1 for beats too).
long long barsPerLine(double bpm, double spanSeconds, double widthPoints);

// Whether beat k (at t = k p + offset) starts a bar: k - downbeat is a
// multiple of 4.
bool isBarBeat(long long beat, int downbeat);

// Beats k = ceil(-offset / p), ... at t = k p + offset (p = 60 / bpm) with
// 0 <= t <= duration and within `view`, thinned by `gridDensity`. Beat k is
// a bar line when k - downbeat is a multiple of 4; sparse bar lines are the
// bars whose number from the downbeat is a multiple of barsPerLine.
std::vector<GridLine> gridLines(const GridInput& input, double widthPoints, TimeView view = {});

// Half-height of the waveform bar at every whole point x = 0 ... trunc(w) - 1:
// column i = min(n - 1, trunc(x / w × n)), a = max(peak[i] × (h / 2 - 2), 0.7),
// so silence still shows a hairline. Empty without peaks.
std::vector<double> waveformHalfHeights(std::span<const float> peaks, double widthPoints,
                                        double heightPoints);
// The same for `view` of a file of `durationSeconds`: the column of the time
// under each point.
std::vector<double> waveformHalfHeights(std::span<const float> peaks, double widthPoints,
                                        double heightPoints, double durationSeconds, TimeView view);

double xForSeconds(double seconds, double durationSeconds, double widthPoints);
double xForSeconds(double seconds, TimeView view, double widthPoints);

// The position `beats` grid beats on from `seconds` (back when negative): a
// position between two beats goes to the next beat line in that direction
// first. Kept within 0 ... duration; without a tempo a beat counts 1 s.
double steppedSeconds(const GridInput& grid, double seconds, int beats);

// The file position a click at `x` asks for: min(max(x / w, 0), 1) × duration.
// 0 for a canvas without width (the caller ignores such clicks).
double secondsForX(double x, double widthPoints, double durationSeconds);
double secondsForX(double x, double widthPoints, TimeView view);

} // namespace quorlen::detection
