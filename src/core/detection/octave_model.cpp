#include "detection/octave_model.h"

#include "detection/autocorrelation.h"
#include "detection/grid_score.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>

namespace quorlen::detection {
namespace {

constexpr double kReferenceBpm = 120.0;
constexpr double kAlternationSegmentSeconds = 4.0;
// Logs of strengths and gains are clipped here, so one empty grid (score 0)
// cannot dominate the sum.
constexpr double kLogFloor = -4.0;

double meanOf(std::span<const double> x) {
    return x.empty() ? 0.0 : std::accumulate(x.begin(), x.end(), 0.0) / double(x.size());
}

double clippedLog(double numerator, double denominator) {
    if (!(numerator > 0.0 && denominator > 0.0))
        return kLogFloor;
    return std::max(std::log(numerator / denominator), kLogFloor);
}

double wholeScore(std::span<const double> envelope, double fps, double bpm) {
    return gridScore(envelope, fps, bpm, std::nullopt).score;
}

} // namespace

double onsetRate(std::span<const double> envelope, double fps) {
    if (envelope.size() < 3 || !(fps > 0.0))
        return 0.0;
    size_t peaks = 0;
    for (size_t i = 1; i + 1 < envelope.size(); ++i)
        if (envelope[i] > 1.0 && envelope[i] >= envelope[i - 1] && envelope[i] > envelope[i + 1])
            ++peaks;
    return double(peaks) * fps / double(envelope.size());
}

std::vector<OctaveFeatures> octaveCandidates(const OctaveEvidence& evidence, double classicBpm) {
    const double fullMean = meanOf(evidence.full);
    const double lowMean = meanOf(evidence.low);
    const double rate = onsetRate(evidence.full, evidence.fps);
    std::vector<OctaveFeatures> candidates;
    for (const double ratio : kTempoRatios) {
        const double bpm = classicBpm * ratio;
        if (!inTempoRange(bpm))
            continue;
        const GridFit fit = gridScore(evidence.full, evidence.fps, bpm, std::nullopt);
        OctaveFeatures f;
        f.bpm = bpm;
        f.ratio = ratio;
        f.logTempo = std::log2(bpm / kReferenceBpm);
        f.fullStrength = clippedLog(fit.score, fullMean);
        f.lowStrength = lowMean > 0.0
                            ? clippedLog(wholeScore(evidence.low, evidence.fps, bpm), lowMean)
                            : 0.0;
        f.alternation =
            gridScore(evidence.full, evidence.fps, bpm, kAlternationSegmentSeconds).alt;
        f.halfGain = clippedLog(wholeScore(evidence.full, evidence.fps, bpm * 0.5), fit.score);
        f.doubleGain = clippedLog(wholeScore(evidence.full, evidence.fps, bpm * 2.0), fit.score);
        f.onsetsPerBeat = rate > 0.0 ? std::log2(rate * 60.0 / bpm) : 0.0;
        candidates.push_back(f);
    }
    return candidates;
}

double octaveScore(const OctaveFeatures& f) {
    // Weights fitted by scripts/fit-octave-model on the development corpus.
    const double tempoTerm = -1.0 * f.logTempo * f.logTempo;
    return tempoTerm + 1.0 * f.fullStrength + 0.0 * f.lowStrength + 0.0 * f.alternation +
           0.0 * f.halfGain + 0.0 * f.doubleGain + 0.0 * f.onsetsPerBeat;
}

double chooseOctave(const OctaveEvidence& evidence, double classicBpm) {
    const std::vector<OctaveFeatures> candidates = octaveCandidates(evidence, classicBpm);
    if (candidates.empty())
        return 1.0;
    const auto best = std::max_element(
        candidates.begin(), candidates.end(),
        [](const OctaveFeatures& a, const OctaveFeatures& b) { return octaveScore(a) < octaveScore(b); });
    return best->ratio;
}

} // namespace quorlen::detection
