#pragma once

#include <vector>

namespace quorlen::key::testing {

// Chords of harmonic tones: every note has six partials falling by half per
// partial, struck `strikesPerChord` times per chord and decaying between
// strikes, on the grid of A4 = 440 × 2^(cents / 1200). The sequence plays
// `repeats` times; the signal peaks at 0.5.
struct Chords {
    std::vector<std::vector<int>> notes; // MIDI note numbers per chord
    double secondsPerChord = 1.0;
    int strikesPerChord = 2;
    int repeats = 3;
    double cents = 0.0;
    double rateHz = 22050.0;
};

std::vector<float> chordSequence(const Chords& chords);

// I IV V I in C major with the bass an octave below each root.
Chords cMajorCadence();
// i iv V i in A minor, the V with its G sharp.
Chords aMinorCadence();

} // namespace quorlen::key::testing
