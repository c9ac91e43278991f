#include "detection/octave_choice.h"

#include "detection/autocorrelation.h"
#include "detection/beat_phase.h"
#include "detection/grid_score.h"
#include "detection/octave_model.h"
#include "detection/onset_envelope.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace quorlen::detection {
namespace {

constexpr double kSameTempo = 0.02;  // candidates closer than this are one tempo
constexpr double kRightTempo = 0.04; // a tempo this close to the truth is right
constexpr int kBeatsPerBar = 4;
constexpr size_t kShownCandidates = 4;
// A short file's tempo this close to one of whole beats is read as a loop
// and moved there; further off, the file is a clip that is no loop (a
// refined tempo is rarely more than a percent off), unless it holds so few
// beats that it can only be a loop.
constexpr double kLoopSnap = 0.015;
constexpr double kSureLoopBeats = 8.0;
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

// The tempo at which a loop holds a whole number of beats nearest to
// `target`, kept within [low, high] (one beat more or fewer when rounding
// leaves it), with its grid.
FinalTempo wholeBeatTempo(const TempoEvidence& evidence, double target, double low, double high) {
    const double seconds = evidence.durationSeconds;
    int beats = wholeBeats(target, seconds);
    if (tempoOfBeats(beats, seconds) > high && beats > 1)
        --beats;
    else if (tempoOfBeats(beats, seconds) < low)
        ++beats;
    const double bpm = tempoOfBeats(beats, seconds);
    const GridFit fit = gridScore(evidence.full, kEnvelopeFps, bpm, std::nullopt);
    FinalTempo result{bpm, fit.phase, fit.score, std::nullopt};
    if (beats % kBeatsPerBar == 0)
        result.snappedBars = beats / kBeatsPerBar;
    return result;
}

bool readAsLoop(double bpm, const TempoEvidence& evidence) {
    const double seconds = evidence.durationSeconds;
    const double whole = tempoOfBeats(wholeBeats(bpm, seconds), seconds);
    return std::abs(whole - bpm) <= kLoopSnap * bpm || bpm * seconds / 60.0 < kSureLoopBeats;
}

// Within 4 % of `reference`: the same tempo, as far as being right goes.
bool nearTempo(double bpm, double reference) {
    return std::abs(bpm - reference) <= kRightTempo * reference;
}

double probabilityNear(double bpm, const std::vector<OctaveFeatures>& candidates,
                       const std::vector<double>& p) {
    double sum = 0.0;
    for (size_t i = 0; i < candidates.size(); ++i)
        if (nearTempo(candidates[i].bpm, bpm))
            sum += p[i];
    return std::min(sum, 1.0);
}

// The most likely candidates: `shown` with its confidence, and the others
// that are near neither it nor each other, their probabilities scaled to
// share what the confidence leaves of the model's (so all sum to at most 1).
std::vector<RankedTempo> rankedCandidates(double shown, double shownP, double confidence,
                                          const std::vector<OctaveFeatures>& candidates,
                                          const std::vector<double>& p) {
    const double scale = shownP < 1.0 ? std::min(1.0, (1.0 - confidence) / (1.0 - shownP)) : 0.0;
    std::vector<size_t> order(candidates.size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return p[a] > p[b]; });
    std::vector<RankedTempo> ranked;
    for (const size_t i : order) {
        if (ranked.size() == kShownCandidates)
            break;
        const double bpm = std::round(candidates[i].bpm * 100.0) / 100.0;
        if (nearTempo(bpm, shown) || std::any_of(ranked.begin(), ranked.end(), [&](const auto& r) {
                return nearTempo(bpm, r.bpm);
            }))
            continue;
        ranked.push_back({bpm, p[i] * scale});
    }
    ranked.push_back({std::round(shown * 100.0) / 100.0, confidence});
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const RankedTempo& a, const RankedTempo& b) { return a.p > b.p; });
    if (ranked.size() > kShownCandidates)
        ranked.resize(kShownCandidates);
    return ranked;
}

} // namespace

std::vector<double> refinedTempos(const TempoEvidence& evidence) {
    std::vector<double> tempos;
    for (const Candidate& c : evidence.candidates.refined)
        tempos.push_back(c.bpm);
    return tempos;
}

OctaveChoice chooseOctaveTempo(const TempoEvidence& evidence, const OctaveMode& mode,
                               const std::optional<FinalTempo>& classic, double classicConfidence) {
    const std::vector<double> others = refinedTempos(evidence);
    const double classicBpm = classic ? classic->bpm : 0.0;
    const std::vector<OctaveFeatures> candidates = octaveCandidates(
        {evidence.full, evidence.low, evidence.mid, kEnvelopeFps, others, evidence.durationSeconds},
        classicBpm);
    if (candidates.empty())
        throw Failure::noRhythm();
    const std::vector<double> p = octaveProbabilities(candidates);
    const size_t best = static_cast<size_t>(std::max_element(p.begin(), p.end()) - p.begin());
    const bool loop = evidence.durationSeconds <= kLoopMaxSeconds;

    FinalTempo chosen;
    bool wholeBeatLoop = false;
    if (mode.kind == OctaveKind::range) {
        const double target =
            foldIntoRange(classic ? classic->bpm : candidates[best].bpm, mode.lowBpm, mode.highBpm);
        if (classic)
            chosen = target == classic->bpm ? *classic
                                            : scaled(evidence, *classic, target / classic->bpm);
        // The classic tempo of a loop that it did not snap, folded, may
        // leave part of a beat over.
        const double beats = chosen.bpm * evidence.durationSeconds / 60.0;
        const bool fractional = std::abs(beats - std::round(beats)) > 1e-6;
        wholeBeatLoop = loop && (!classic || (fractional && readAsLoop(target, evidence)));
        if (wholeBeatLoop)
            chosen = wholeBeatTempo(evidence, target, mode.lowBpm, mode.highBpm);
    } else if (loop && (!classic || readAsLoop(candidates[best].bpm, evidence))) {
        chosen = wholeBeatTempo(evidence, candidates[best].bpm, kMinBpm, kMaxBpm);
        wholeBeatLoop = true;
    } else {
        chosen = candidates[best].ratio == 1.0 ? *classic : retuned(evidence, candidates[best].bpm);
    }
    chosen.phase = placeBeatPhase(evidence.low, kEnvelopeFps, chosen.bpm, chosen.phase);

    const double probability = probabilityNear(chosen.bpm, candidates, p);
    // The candidate the shown tempo stands for: the likeliest near it.
    size_t shownAs = best;
    for (size_t i = 0; i < candidates.size(); ++i) {
        const bool nearBest = nearTempo(candidates[shownAs].bpm, chosen.bpm);
        if (nearTempo(candidates[i].bpm, chosen.bpm) && (!nearBest || p[i] > p[shownAs]))
            shownAs = i;
    }
    OctaveChoice choice;
    choice.tempo = chosen;
    choice.confidence = choiceConfidence(
        {probability, classic && nearTempo(chosen.bpm, classic->bpm), chosen.bpm, wholeBeatLoop,
         candidates[shownAs].fullStrength, candidates[shownAs].barRepeat, classicConfidence,
         candidates[shownAs].onsetsPerBeat, candidates[shownAs].eighthBeat});
    choice.candidates = rankedCandidates(chosen.bpm, probability, choice.confidence, candidates, p);
    return choice;
}

} // namespace quorlen::detection
