#include "synth/triad.h"

#include <cmath>

namespace quorlen::synth {

std::array<double, 3> triadFrequencies(double rootHz, TriadQuality quality) {
    const int thirdSemitones = quality == TriadQuality::major ? 4 : 3;
    const int fifthSemitones = quality == TriadQuality::diminished ? 6 : 7;
    return {rootHz, rootHz * std::pow(2.0, thirdSemitones / 12.0),
            rootHz * std::pow(2.0, fifthSemitones / 12.0)};
}

} // namespace quorlen::synth
