#pragma once

#include "detection/final_tempo.h"
#include "detection/octave_mode.h"
#include "detection/tempo_detector.h"

#include <vector>

namespace quorlen::detection {

// The tempos of the analysis's refined candidates, best first.
std::vector<double> refinedTempos(const TempoEvidence& evidence);

// The final tempo of a non-classic octave mode, from the classic one:
// folded into the range, or moved to the relative the octave model prefers.
// A folded tempo is the classic one times a power of two, exactly, and keeps
// its loop length in beats; a tempo the model moved is refined and snapped
// again, to loops of its own octave only. Either way the grid's phase is
// placed anew (the low band decides it when it carries the beat).
FinalTempo chooseFinalOctave(const TempoEvidence& evidence, const OctaveMode& mode,
                             const FinalTempo& classic);

} // namespace quorlen::detection
