#pragma once

#include <string>
#include <vector>

namespace quorlen::pitch {

struct Harmonic {
    int number;           // n, 1 … count
    double frequency;     // n × fundamental, Hz
    std::string noteName; // nearest 12-TET note, such as "E3"
    double cents;         // signed drift from that note, in [-50, +50]
};

// Harmonics 1 … count of `fundamental` (Hz), named against `a4` (Hz).
std::vector<Harmonic> harmonicSeries(double fundamental, double a4, int count);

// The fundamental of a pitch class (0 = C … 11 = B) in an octave (0 … 4):
// A1 is 55 Hz when A4 is 440 Hz.
double overtoneFundamentalHz(int pitchClass, int octave, double a4);

} // namespace quorlen::pitch
