#include "rhythm/euclid.h"

#include <algorithm>

namespace quorlen::rhythm::Euclid {

std::vector<bool> pattern(int pulses, int steps, int rotation) {
    if (steps <= 0)
        return {};
    const int n = steps;
    const int k = std::clamp(pulses, 0, n);
    // (rotation % n) keeps the dividend's sign; adding n brings it to 0...n−1.
    const int r = ((rotation % n) + n) % n;
    std::vector<bool> result(static_cast<size_t>(n));
    for (int j = 0; j < n; ++j) {
        const int i = ((j - r) % n + n) % n;
        // i × k can pass the int range for very long cycles.
        result[static_cast<size_t>(j)] = (static_cast<long long>(i) * k) % n < k;
    }
    return result;
}

std::string notation(const std::vector<bool>& pattern) {
    std::string text;
    text.reserve(pattern.size());
    for (const bool hit : pattern)
        text += hit ? 'x' : '.';
    return text;
}

std::vector<int> hitIndices(const std::vector<bool>& pattern) {
    std::vector<int> hits;
    for (size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i])
            hits.push_back(static_cast<int>(i));
    }
    return hits;
}

Inputs withSteps(Inputs inputs, int steps) {
    return {steps, std::min(inputs.pulses, steps),
            std::min(inputs.rotation, std::max(steps - 1, 0))};
}

} // namespace quorlen::rhythm::Euclid
