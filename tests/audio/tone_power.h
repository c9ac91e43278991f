#pragma once

// Reading tones out of what a sound server recorded, at 44.1 kHz.
#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <numbers>
#include <span>

namespace quorlen::testing {

// Power of one frequency in a Hann-windowed stretch (a single DFT bin, by
// Goertzel's recurrence).
inline double powerAt(std::span<const float> samples, double frequencyHz) {
    const double coefficient = 2 * std::cos(2 * std::numbers::pi * frequencyHz / 44100.0);
    const double last = static_cast<double>(samples.size() - 1);
    double previous = 0;
    double beforePrevious = 0;
    for (size_t n = 0; n < samples.size(); ++n) {
        const double window = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * n / last);
        const double current = samples[n] * window + coefficient * previous - beforePrevious;
        beforePrevious = previous;
        previous = current;
    }
    return previous * previous + beforePrevious * beforePrevious -
           coefficient * previous * beforePrevious;
}

// Of `candidates`, the frequency with the most power in `samples`.
inline double strongest(std::span<const float> samples, std::initializer_list<double> candidates) {
    return *std::max_element(candidates.begin(), candidates.end(), [&](double a, double b) {
        return powerAt(samples, a) < powerAt(samples, b);
    });
}

inline float peak(std::span<const float> samples) {
    float result = 0;
    for (const float sample : samples)
        result = std::max(result, std::abs(sample));
    return result;
}

} // namespace quorlen::testing
