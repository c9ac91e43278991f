#include "detection/waveform_layout.h"

#include <algorithm>
#include <cmath>

namespace quorlen::detection {
namespace {

constexpr double kMinimumSpacingPoints = 5.0;
constexpr int kBeatsPerBar = 4;
constexpr double kMinimumHalfHeight = 0.7;

TimeView wholeFileIfUnset(TimeView view, double durationSeconds) {
    return view.spanSeconds > 0.0 ? view : TimeView{0.0, durationSeconds};
}

} // namespace

TimeView zoomedView(TimeView view, double factor, double anchorSeconds, double durationSeconds) {
    if (!(durationSeconds > 0.0) || !(factor > 0.0))
        return view;
    view = wholeFileIfUnset(view, durationSeconds);
    const double narrowest = std::min(kNarrowestViewSeconds, durationSeconds);
    const double span = std::clamp(view.spanSeconds / factor, narrowest, durationSeconds);
    const double start =
        anchorSeconds - (anchorSeconds - view.startSeconds) * span / view.spanSeconds;
    return {std::clamp(start, 0.0, durationSeconds - span), span};
}

TimeView scrolledView(TimeView view, double seconds, double durationSeconds) {
    view = wholeFileIfUnset(view, durationSeconds);
    const double last = std::max(durationSeconds - view.spanSeconds, 0.0);
    return {std::clamp(view.startSeconds + seconds, 0.0, last), view.spanSeconds};
}

TimeView viewShowing(TimeView view, double seconds, double durationSeconds) {
    view = wholeFileIfUnset(view, durationSeconds);
    const double margin = view.spanSeconds / 10;
    if (seconds < view.startSeconds)
        return scrolledView(view, seconds - margin - view.startSeconds, durationSeconds);
    const double end = view.startSeconds + view.spanSeconds;
    if (seconds > end)
        return scrolledView(view, seconds + margin - end, durationSeconds);
    return view;
}

long long barsPerLine(double bpm, double spanSeconds, double widthPoints) {
    if (!(bpm > 0.0) || !(spanSeconds > 0.0) || !(widthPoints > 0.0))
        return 1;
    const double barSpacing = kBeatsPerBar * 60.0 / bpm / spanSeconds * widthPoints;
    long long bars = 1;
    // Bounded: a bar line per 2^40 bars is beyond any file.
    while (bars * barSpacing < kMinimumSpacingPoints && bars < (1LL << 40))
        bars *= 2;
    return bars;
}

GridDensity gridDensity(double bpm, double spanSeconds, double widthPoints) {
    if (!(bpm > 0.0) || !(spanSeconds > 0.0) || !(widthPoints > 0.0))
        return GridDensity::sparseBars;
    const double beatSpacing = 60.0 / bpm / spanSeconds * widthPoints;
    if (beatSpacing >= kMinimumSpacingPoints)
        return GridDensity::everyBeat;
    if (kBeatsPerBar * beatSpacing >= kMinimumSpacingPoints)
        return GridDensity::barsOnly;
    return GridDensity::sparseBars;
}

bool isBarBeat(long long beat, int downbeat) {
    const long long fromDownbeat = beat - downbeat;
    return ((fromDownbeat % kBeatsPerBar) + kBeatsPerBar) % kBeatsPerBar == 0;
}

std::vector<GridLine> gridLines(const GridInput& input, double widthPoints, TimeView view) {
    if (!(input.bpm > 0.0) || !(input.durationSeconds > 0.0) || !(widthPoints > 0.0))
        return {};
    view = wholeFileIfUnset(view, input.durationSeconds);
    const GridDensity density = gridDensity(input.bpm, view.spanSeconds, widthPoints);
    const long long stride = density == GridDensity::sparseBars
                                 ? barsPerLine(input.bpm, view.spanSeconds, widthPoints)
                                 : 1;
    const double period = 60.0 / input.bpm;
    const double from = std::max(view.startSeconds, 0.0);
    const double to = std::min(view.startSeconds + view.spanSeconds, input.durationSeconds);
    std::vector<GridLine> lines;
    for (auto k = static_cast<long long>(std::ceil((from - input.beatOffsetSeconds) / period));;
         ++k) {
        const double t = static_cast<double>(k) * period + input.beatOffsetSeconds;
        if (t > to)
            break;
        if (t < from)
            continue;
        const bool bar = isBarBeat(k, input.downbeat);
        const long long barNumber = (k - input.downbeat) / kBeatsPerBar;
        const bool shown =
            density == GridDensity::everyBeat || (bar && (stride == 1 || barNumber % stride == 0));
        if (shown)
            lines.push_back({xForSeconds(t, view, widthPoints), bar});
    }
    return lines;
}

std::vector<double> waveformHalfHeights(std::span<const float> peaks, double widthPoints,
                                        double heightPoints) {
    if (peaks.empty() || !(widthPoints > 0.0))
        return {};
    const auto columns = static_cast<long long>(std::trunc(widthPoints));
    const auto n = static_cast<long long>(peaks.size());
    const double scale = heightPoints / 2.0 - 2.0;
    std::vector<double> halfHeights(static_cast<size_t>(columns));
    for (long long x = 0; x < columns; ++x) {
        const long long i = std::min(
            n - 1, static_cast<long long>(std::trunc(double(x) / widthPoints * double(n))));
        halfHeights[static_cast<size_t>(x)] =
            std::max(double(peaks[static_cast<size_t>(i)]) * scale, kMinimumHalfHeight);
    }
    return halfHeights;
}

std::vector<double> waveformHalfHeights(std::span<const float> peaks, double widthPoints,
                                        double heightPoints, double durationSeconds,
                                        TimeView view) {
    if (peaks.empty() || !(widthPoints > 0.0) || !(durationSeconds > 0.0))
        return {};
    view = wholeFileIfUnset(view, durationSeconds);
    const auto columns = static_cast<long long>(std::trunc(widthPoints));
    const auto n = static_cast<long long>(peaks.size());
    const double scale = heightPoints / 2.0 - 2.0;
    std::vector<double> halfHeights(static_cast<size_t>(columns));
    for (long long x = 0; x < columns; ++x) {
        const double t = view.startSeconds + double(x) / widthPoints * view.spanSeconds;
        const long long i = std::clamp(
            static_cast<long long>(std::trunc(t / durationSeconds * double(n))), 0LL, n - 1);
        halfHeights[static_cast<size_t>(x)] =
            std::max(double(peaks[static_cast<size_t>(i)]) * scale, kMinimumHalfHeight);
    }
    return halfHeights;
}

double xForSeconds(double seconds, TimeView view, double widthPoints) {
    return view.spanSeconds > 0.0 ? (seconds - view.startSeconds) / view.spanSeconds * widthPoints
                                  : 0.0;
}

double secondsForX(double x, double widthPoints, TimeView view) {
    if (!(widthPoints > 0.0))
        return view.startSeconds;
    return view.startSeconds + std::clamp(x / widthPoints, 0.0, 1.0) * view.spanSeconds;
}

double steppedSeconds(const GridInput& grid, double seconds, int beats) {
    // Positions within a hair of a beat count as on it: a beat reached by a
    // step must not be stepped to again.
    constexpr double kOnBeat = 1e-6;
    const double period = grid.bpm > 0 ? 60.0 / grid.bpm : 1.0;
    const double offset = grid.bpm > 0 ? grid.beatOffsetSeconds : 0.0;
    const double beat = (seconds - offset) / period;
    const double from = beats >= 0 ? std::floor(beat + kOnBeat) : std::ceil(beat - kOnBeat);
    const double target = (from + beats) * period + offset;
    return std::clamp(target, 0.0, std::max(grid.durationSeconds, 0.0));
}

double xForSeconds(double seconds, double durationSeconds, double widthPoints) {
    return durationSeconds > 0.0 ? seconds / durationSeconds * widthPoints : 0.0;
}

double secondsForX(double x, double widthPoints, double durationSeconds) {
    if (!(widthPoints > 0.0))
        return 0.0;
    return std::clamp(x / widthPoints, 0.0, 1.0) * durationSeconds;
}

} // namespace quorlen::detection
