#pragma once

#include <span>
#include <vector>

namespace quorlen::detection {

// Which of the first four grid beats (0 ... 3) starts the bar: the slot of
// the 4-beat cycle where the normalised low-band envelope (kick and bass) is
// strongest on average. Ties keep the earlier slot; 0 when nothing can be
// measured (period <= 1 frame, empty envelope, phase at or beyond n - 1).
int downbeat(std::span<const double> lowEnvelope, double fps, double bpm, double phaseFrames);

// Largest absolute sample of each of `columns` equal slices of the signal,
// for drawing; slices that hold no sample are 0.
std::vector<float> peakEnvelope(std::span<const float> samples, int columns);

} // namespace quorlen::detection
