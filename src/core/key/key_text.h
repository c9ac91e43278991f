#pragma once

#include "key/key_detector.h"

#include <string>

namespace quorlen::key {

// The tuning as shown and reported: cents to one decimal (halves away from
// zero), and A4 = 440 × 2^(cents / 1200) of those shown cents to two, so
// the two figures always agree.
double shownCents(double cents);
double shownA4(double cents);

// "-14.0", "+25.0", "0.0".
std::string centsText(double cents);
// "436.46".
std::string a4Text(double cents);
// The confidence as a whole percentage: "82%".
std::string percentText(double confidence);

// The one-line summary under a tempo:
//   "key F#m (11A) · 82% · tuning -14.0 cents (A4 436.46 Hz)",
// names in the clipboard's ASCII spelling; "key none · no tonal content"
// for an estimate without a key.
std::string summaryText(const KeyEstimate& estimate);

inline constexpr const char* kNoKeyText = "no tonal content";

} // namespace quorlen::key
