#pragma once

#include <string>
#include <vector>

namespace quorlen::pitch {

// One step k of an equal division of the octave.
struct TetStep {
    int index;               // k, 0 … N
    double frequency;        // f0 × 2^(k/N), Hz
    double ratio;            // 2^(k/N)
    double centsFromRoot;    // k × 1200 / N
    std::string nearestNote; // nearest 12-TET note for the given A4, such as "A#4"
    double nearestCents;     // signed distance from it, in [-50, +50]
};

// The N + 1 steps from the reference up to and including its octave.
// `divisions` must be at least 1.
std::vector<TetStep> tetScale(double reference, int divisions, double a4);

} // namespace quorlen::pitch
