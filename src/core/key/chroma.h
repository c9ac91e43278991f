#pragma once

#include "key/tonal_frames.h"

#include <array>
#include <optional>
#include <span>

namespace quorlen::key {

using PitchClasses = std::array<double, 12>; // C, C#, D ... B

// Peaks in this band set the tuning: below it the bins are too coarse for a
// cent, above it partials of strings and pianos drift sharp of the grid.
inline constexpr double kTuningLowestHz = 80.0;
inline constexpr double kTuningHighestHz = 2000.0;
// Peaks in this band make the chroma; the bass chroma ends lower.
inline constexpr double kChromaLowestHz = 50.0;
inline constexpr double kChromaHighestHz = 2500.0;
inline constexpr double kBassHighestHz = 250.0;

// How much one peak counts: its frame's tonalness (so that drum hits and
// noise count less) times the square root of its magnitude relative to the
// frame's strongest peak (so that quiet partials still count).
double peakWeight(const TonalFrame& frame, const Peak& peak, float strongest);

// The offset, in cents within (-50, 50], of the grid the peaks' pitches sit
// on from the one of A4 = 440 Hz: the mode of the peaks' distances from the
// nearest equal-tempered semitone (a weighted histogram of whole cents,
// wrapped at ±50 and smoothed), refined to the weighted mean within ±8
// cents of it. The mode, not the mean: fifth and seventh harmonics sit 14
// and 31 cents flat of the grid. Nothing when no peak lies in the band.
std::optional<double> estimateTuning(std::span<const TonalFrame> frames);

// Energy of each pitch class: every peak in the chroma band is placed on
// the grid of A4 = 440 × 2^(tuningCents / 1200) and adds its weight times
// cos²(π d) to its nearest semitone, d its distance in semitones (≤ 0.5).
struct Chroma {
    PitchClasses all{};
    PitchClasses bass{}; // peaks up to kBassHighestHz
};
Chroma foldChroma(std::span<const TonalFrame> frames, double tuningCents);

} // namespace quorlen::key
