#pragma once

#include "detection/final_tempo.h"
#include "detection/octave_mode.h"
#include "detection/tempo_detector.h"

#include <optional>
#include <vector>

namespace quorlen::detection {

// The tempos of the analysis's refined candidates, best first.
std::vector<double> refinedTempos(const TempoEvidence& evidence);

// What a non-classic octave mode shows.
struct OctaveChoice {
    FinalTempo tempo;
    double confidence = 0.0;             // the probability that `tempo` is right
    std::vector<RankedTempo> candidates; // up to 4, most likely first
};

// The final tempo of a non-classic octave mode, from the classic one (none
// for a loop too short for the periodicity analysis): folded into the
// range, or the candidate the octave model finds most likely. A folded
// tempo is the classic one times a power of two, exactly, and keeps its
// loop length in beats; a tempo the model moved is refined and snapped
// again, to loops of its own octave only. A file short enough to be a loop
// ends on the tempo at which it holds a whole number of beats. Either way
// the grid's phase is placed anew (the low band decides it when it carries
// the beat). Throws Failure::noRhythm when there is no candidate at all.
// `classicConfidence` is the classic mode's confidence in its own tempo.
OctaveChoice chooseOctaveTempo(const TempoEvidence& evidence, const OctaveMode& mode,
                               const std::optional<FinalTempo>& classic, double classicConfidence);

} // namespace quorlen::detection
