#pragma once

#include <array>

namespace quorlen::synth {

enum class TriadQuality { major, minor, diminished };

// Root, third and fifth in Hz, in that order: root × 2^(semitones / 12) with
// the third 4 semitones up for major and 3 otherwise, the fifth 7 semitones
// up except 6 for diminished. 440 major gives 440, 554.37, 659.26.
std::array<double, 3> triadFrequencies(double rootHz, TriadQuality quality);

} // namespace quorlen::synth
