#include "detection/waveform_layout.h"

#include <algorithm>
#include <cmath>

namespace quorlen::detection {
namespace {

constexpr double kMinimumSpacingPoints = 5.0;
constexpr int kBeatsPerBar = 4;
constexpr double kMinimumHalfHeight = 0.7;

bool isBar(long long beat, int downbeat) {
    const long long fromDownbeat = beat - downbeat;
    return ((fromDownbeat % kBeatsPerBar) + kBeatsPerBar) % kBeatsPerBar == 0;
}

} // namespace

GridDensity gridDensity(double bpm, double durationSeconds, double widthPoints) {
    if (!(bpm > 0.0) || !(durationSeconds > 0.0) || !(widthPoints > 0.0))
        return GridDensity::none;
    const double beatSpacing = 60.0 / bpm / durationSeconds * widthPoints;
    if (beatSpacing >= kMinimumSpacingPoints)
        return GridDensity::everyBeat;
    if (kBeatsPerBar * beatSpacing >= kMinimumSpacingPoints)
        return GridDensity::barsOnly;
    return GridDensity::none;
}

std::vector<GridLine> gridLines(const GridInput& input, double widthPoints) {
    const GridDensity density = gridDensity(input.bpm, input.durationSeconds, widthPoints);
    if (density == GridDensity::none)
        return {};
    const double period = 60.0 / input.bpm;
    std::vector<GridLine> lines;
    for (auto k = static_cast<long long>(std::ceil(-input.beatOffsetSeconds / period));; ++k) {
        const double t = static_cast<double>(k) * period + input.beatOffsetSeconds;
        if (t > input.durationSeconds)
            break;
        if (t < 0.0)
            continue;
        const bool bar = isBar(k, input.downbeat);
        if (bar || density == GridDensity::everyBeat)
            lines.push_back({xForSeconds(t, input.durationSeconds, widthPoints), bar});
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
