#pragma once

#include "detection/failure.h"
#include "harmony/key_selection.h"
#include "key/chroma.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace quorlen::key {

// What the signal says before any key is chosen.
struct KeyEvidence {
    std::optional<double> tuningCents; // nothing without peaks in the tuning band
    Chroma chroma;                     // folded on the tuning's grid
    double tonalness = 0.0;            // mean over the frames with sound, 0 ... 1
    size_t soundingFrames = 0;         // frames within 50 dB of the loudest (and not silent)
};

// The key, the tuning and why.
struct KeyEstimate {
    // Nothing when the file holds no tonal content (drums alone, noise,
    // silence); then the confidence is 0, there are no alternatives, no
    // tuning, and the profile is all zeros.
    std::optional<harmony::KeySelection> key;
    double confidence = 0.0;                         // the model's probability of `key`, 0 ... 1
    std::vector<harmony::KeySelection> alternatives; // up to 3, most likely first
    std::optional<double> tuningCents;               // -50 ... 50, A4 = 440 × 2^(cents / 1200)
    PitchClasses chroma{};                           // C ... B, largest 1
    PitchClasses profile{}; // what `key` leads to expect, C ... B, largest 1

    bool operator==(const KeyEstimate&) const = default;
};

inline constexpr size_t kKeyAlternatives = 3;

// One key's features for the model: the correlations of the chroma with
// the three literature profiles spread over their harmonics, the same of
// the bass chroma with the Krumhansl-Kessler one, and 1 for a minor key.
inline constexpr size_t kKeyFeatureCount = 5;
std::array<double, kKeyFeatureCount> keyFeatures(const Chroma& chroma,
                                                 const harmony::KeySelection& key);

// Scores of all 24 keys as probabilities (a softmax of the model's linear
// score), most likely first; keys that tie keep circle order, majors first.
struct KeyChance {
    harmony::KeySelection key;
    double probability = 0.0;
};
std::array<KeyChance, 24> rankKeys(const Chroma& chroma);

// Tuning and chroma of the 22050 Hz `samples`, its spectra computed on
// `threads` threads (only the speed depends on it). Throws Failure::cancelled.
KeyEvidence measureKey(std::span<const float> samples, const detection::CancelCheck& isCancelled,
                       int threads = 1);

// The key of `evidence`, or none when it is not tonal enough.
KeyEstimate chooseKey(const KeyEvidence& evidence);

// measureKey, then chooseKey.
KeyEstimate estimateKey(std::span<const float> samples, const detection::CancelCheck& isCancelled,
                        int threads = 1);

// A4 in Hz for a tuning offset: 440 × 2^(cents / 1200).
double a4ForCents(double cents);

} // namespace quorlen::key
