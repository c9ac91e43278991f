#include "detection/octave_choice.h"

#include "detection/beat_phase.h"
#include "detection/grid_score.h"
#include "detection/octave_model.h"
#include "detection/onset_envelope.h"

#include <cmath>

namespace quorlen::detection {
namespace {

constexpr double kSameTempo = 0.02; // candidates closer than this are one tempo
constexpr int kBeatsPerBar = 4;
// Beyond any loop a file holds; keeps the conversion to bars defined.
constexpr double kMostLoopBeats = 1 << 20;

// The classic tempo times `factor` (a power of two); a loop of b beats at
// the classic tempo is b x factor beats at the new one.
FinalTempo scaled(const TempoEvidence& evidence, const FinalTempo& classic, double factor) {
    const double bpm = classic.bpm * factor;
    const GridFit fit = gridScore(evidence.full, kEnvelopeFps, bpm, std::nullopt);
    FinalTempo result{bpm, fit.phase, fit.score, std::nullopt};
    if (classic.snappedBars) {
        const double beats = *classic.snappedBars * kBeatsPerBar * factor;
        if (beats >= kBeatsPerBar && beats <= kMostLoopBeats &&
            std::fmod(beats, kBeatsPerBar) == 0.0)
            result.snappedBars = static_cast<int>(beats) / kBeatsPerBar;
    }
    return result;
}

// The tempo near `target`: a refined candidate if one is that tempo,
// otherwise a new ladder search; then snapping within its own octave, or
// rounding, as for the classic tempo.
FinalTempo retuned(const TempoEvidence& evidence, double target) {
    const double fps = kEnvelopeFps;
    Candidate candidate;
    bool found = false;
    for (const Candidate& c : evidence.candidates.refined) {
        if (std::abs(c.bpm - target) / target < kSameTempo) {
            candidate = c;
            found = true;
            break;
        }
    }
    if (!found)
        candidate = searchLadder(evidence.full, fps, target, analysisLadder(), kLadderSpan);
    if (const auto snapped = snapToLoop(evidence.full, fps, evidence.durationSeconds, candidate,
                                        LoopScope::sameOctave))
        return *snapped;
    return roundTempo(evidence.full, fps, candidate);
}

} // namespace

std::vector<double> refinedTempos(const TempoEvidence& evidence) {
    std::vector<double> tempos;
    for (const Candidate& c : evidence.candidates.refined)
        tempos.push_back(c.bpm);
    return tempos;
}

FinalTempo chooseFinalOctave(const TempoEvidence& evidence, const OctaveMode& mode,
                             const FinalTempo& classic) {
    FinalTempo chosen = classic;
    if (mode.kind == OctaveKind::range) {
        const double bpm = foldIntoRange(classic.bpm, mode.lowBpm, mode.highBpm);
        if (bpm != classic.bpm)
            chosen = scaled(evidence, classic, bpm / classic.bpm);
    } else if (mode.kind == OctaveKind::automatic) {
        const std::vector<double> others = refinedTempos(evidence);
        const double ratio = chooseOctave(
            {evidence.full, evidence.low, evidence.mid, kEnvelopeFps, others}, classic.bpm);
        if (ratio != 1.0)
            chosen = retuned(evidence, classic.bpm * ratio);
    }
    chosen.phase = placeBeatPhase(evidence.low, kEnvelopeFps, chosen.bpm, chosen.phase);
    return chosen;
}

} // namespace quorlen::detection
