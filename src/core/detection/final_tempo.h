#pragma once

#include "detection/tempo_search.h"

#include <optional>
#include <span>
#include <vector>

namespace quorlen::detection {

// A whole number of 4-beat bars that exactly fills the file.
struct LoopCandidate {
    double bpm = 0.0;
    int beats = 0;

    bool operator==(const LoopCandidate&) const = default;
};

// Tempos at which 4, 8, 12, ... 4096 beats fill `durationSeconds`, from
// the first at or above 40 BPM up to 250 BPM, ascending.
std::vector<LoopCandidate> loopCandidates(double durationSeconds);

// The tempo the detector reports, with the grid that goes with it.
struct FinalTempo {
    double bpm = 0.0;
    double phase = 0.0; // frames
    double raw = 0.0;   // grid score at `bpm`
    std::optional<int> snappedBars;
};

// Which loop tempos snapping may move to: any octave or triplet relative
// of the detected tempo, or only those within 2.5 % of it (once the octave
// has been chosen on other grounds, snapping must not undo the choice).
enum class LoopScope { relatives, sameOctave };

// For files of at most 90 s: the loop tempo that best fits the normalised
// envelope, if any passes its threshold (none within max(hop / duration,
// 0.2 %) of the detected tempo, 0.97 x best score within 2.5 %, 0.7 x best
// score for octave and triplet relatives).
std::optional<FinalTempo> snapToLoop(std::span<const double> envelope, double fps,
                                     double durationSeconds, const Candidate& best,
                                     LoopScope scope = LoopScope::relatives);

// A round tempo (whole, half or tenth BPM) within bpm / frames of the best
// candidate replaces it when its whole-envelope grid keeps 90 % of the
// candidate's grid score; otherwise the candidate stands.
FinalTempo roundTempo(std::span<const double> envelope, double fps, const Candidate& best);

} // namespace quorlen::detection
