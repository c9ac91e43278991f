#include "detection/downbeat.h"

#include "detection/grid_score.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quorlen::detection {

int downbeat(std::span<const double> lowEnvelope, double fps, double bpm, double phaseFrames) {
    const double period = 60.0 * fps / bpm;
    // A negative phase never comes from a grid; it is treated as unmeasurable.
    if (!(period > 1.0) || lowEnvelope.empty() || !(phaseFrames >= 0.0))
        return 0;
    std::array<double, 4> sums{};
    std::array<long long, 4> counts{};
    const double limit = static_cast<double>(lowEnvelope.size()) - 1.0;
    size_t k = 0;
    for (double t = phaseFrames; t < limit; t += period, ++k) {
        sums[k % 4] += envelopeAt(lowEnvelope, t);
        ++counts[k % 4];
    }
    double bestMean = -1.0;
    int answer = 0;
    if (counts[0] >= 1)
        bestMean = std::max(sums[0] / double(counts[0]), -1.0);
    for (int slot = 1; slot < 4; ++slot) {
        if (counts[slot] < 1)
            continue;
        const double mean = sums[slot] / double(counts[slot]);
        if (mean > bestMean) {
            bestMean = mean;
            answer = slot;
        }
    }
    return answer;
}

std::vector<float> peakEnvelope(std::span<const float> samples, int columns) {
    if (columns < 1 || samples.empty())
        return {};
    const size_t n = samples.size();
    const double per = static_cast<double>(n) / columns;
    std::vector<float> peaks(static_cast<size_t>(columns), 0.0f);
    for (int i = 0; i < columns; ++i) {
        const auto from = static_cast<size_t>(per * i);
        const auto to = std::min(n, static_cast<size_t>(per * (i + 1)));
        float peak = 0.0f;
        for (size_t k = from; k < to; ++k)
            peak = std::max(peak, std::abs(samples[k]));
        peaks[static_cast<size_t>(i)] = peak;
    }
    return peaks;
}

} // namespace quorlen::detection
