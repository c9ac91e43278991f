#pragma once

#include "harmony/key_selection.h"
#include "key/chroma.h"

#include <array>
#include <cstddef>

namespace quorlen::key {

// Major and minor profiles from the literature, tonic first (index 0 is
// the tonic, 7 its fifth), and the same spread over the partials that a
// sounding note adds to a chroma.
struct KeyProfile {
    PitchClasses major;
    PitchClasses minor;
};

// Krumhansl and Kessler (1982), probe-tone ratings; as printed in
// C. L. Krumhansl, Cognitive Foundations of Musical Pitch (1990), p. 30.
extern const KeyProfile kKrumhanslKessler;
// D. Temperley, "What's key for key? The Krumhansl-Schmuckler key-finding
// algorithm reconsidered", Music Perception 17(1), 1999: the revised profiles.
extern const KeyProfile kTemperley;
// B. Aarden, Dynamic melodic expectancy (PhD thesis, Ohio State, 2003):
// pitch-class frequencies of the Essen folk-song collection.
extern const KeyProfile kAardenEssen;

// `profile` with every note's first eight harmonics added at 0.6^(h-1)
// times its weight on their pitch classes (h = 3 and 6 on the fifth, 5 on
// the major third, 7 on the minor seventh, the rest on the note itself),
// after E. Gómez, Tonal description of music audio signals (PhD thesis,
// Universitat Pompeu Fabra, 2006), ch. 4.
PitchClasses withHarmonics(const PitchClasses& profile);

// A tonic-first profile turned to a key: entry p is the weight of pitch
// class p (C = 0) in the key whose tonic is `tonic`.
PitchClasses rotatedTo(const PitchClasses& tonicFirst, int tonic);

// Pearson correlation of two 12-vectors; 0 when either is flat.
double correlation(const PitchClasses& a, const PitchClasses& b);

} // namespace quorlen::key
