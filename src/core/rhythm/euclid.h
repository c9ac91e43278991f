#pragma once

#include <string>
#include <vector>

// Euclidean rhythms: k hits spread as evenly as possible over n steps.
namespace quorlen::rhythm::Euclid {

// n booleans (true = hit), step 0 first. Pulses are clamped to 0...n;
// rotation wraps modulo n (negative counts backwards) and moves every hit
// that many steps later. n ≤ 0 gives an empty pattern. The hits are those
// of a Bresenham line, step i being a hit when (i × k) mod n < k, so E(5,8)
// is x.x.xx.x and step 0 is a hit whenever k > 0 before rotation.
std::vector<bool> pattern(int pulses, int steps, int rotation);

// "x" for a hit, "." for a rest: E(3,8) is "x..x..x.".
std::string notation(const std::vector<bool>& pattern);

// Indices of the hits in ascending order.
std::vector<int> hitIndices(const std::vector<bool>& pattern);

// The pattern's inputs as the tool edits them.
struct Inputs {
    int steps;
    int pulses;
    int rotation;

    bool operator==(const Inputs&) const = default;
};

// Inputs after the step count changes to `steps`: pulses may not exceed
// the steps, and rotation stays below them (0 for a single step).
Inputs withSteps(Inputs inputs, int steps);

} // namespace quorlen::rhythm::Euclid
