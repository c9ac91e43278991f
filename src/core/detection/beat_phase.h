#pragma once

#include <span>

namespace quorlen::detection {

// Where the beats of a grid at `bpm` sit, in frames within one period.
// The full-band grid's phase follows the loudest onsets, which on a kick
// and off-beat hi-hat groove are the hats, half a beat late. When the low
// band (kick and bass) carries the beat at this tempo, and its grid
// disagrees with the full band's by more than an eighth of a beat, the low
// band's phase wins; otherwise the full band's stands.
double placeBeatPhase(std::span<const double> lowEnvelope, double fps, double bpm,
                      double fullPhase);

} // namespace quorlen::detection
