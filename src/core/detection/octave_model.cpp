#include "detection/octave_model.h"

#include "detection/autocorrelation.h"
#include "detection/grid_score.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <optional>

namespace quorlen::detection {
namespace {

constexpr double kReferenceBpm = 120.0;
// Octave and triplet relatives, and the dotted ones that a swung or
// syncopated groove suggests.
constexpr std::array<double, 9> kRelatives = {1.0, 0.5, 2.0, 2.0 / 3.0, 1.5, 1.0 / 3.0, 3.0,
                                              0.75, 4.0 / 3.0};
// An onset is a value above twice the envelope's RMS (which is 1)
// that is the largest within +-4 frames (+-46 ms).
constexpr double kOnsetThreshold = 2.0;
constexpr size_t kOnsetHalfWindow = 4;
// Logs of strengths are clipped here, so one empty grid (score 0)
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
    const size_t n = envelope.size();
    if (n == 0 || !(fps > 0.0))
        return 0.0;
    size_t peaks = 0;
    for (size_t i = 0; i < n; ++i) {
        if (!(envelope[i] > kOnsetThreshold))
            continue;
        // One onset smears over a few frames (a kick's sweep crosses several
        // bands); only the largest value within the window counts, the first
        // of equal ones.
        const size_t from = i >= kOnsetHalfWindow ? i - kOnsetHalfWindow : 0;
        const size_t to = std::min(n, i + kOnsetHalfWindow + 1);
        bool largest = true;
        for (size_t k = from; k < to && largest; ++k)
            largest = k < i ? envelope[k] < envelope[i] : (k == i || envelope[k] <= envelope[i]);
        peaks += largest ? 1 : 0;
    }
    return double(peaks) * fps / double(n);
}

std::vector<OctaveFeatures> octaveCandidates(const OctaveEvidence& evidence, double classicBpm) {
    const double fullMean = meanOf(evidence.full);
    const double lowMean = meanOf(evidence.low);
    const double lowRate = onsetRate(evidence.low, evidence.fps);
    std::vector<OctaveFeatures> candidates;
    for (const double ratio : kRelatives) {
        const double bpm = classicBpm * ratio;
        if (!inTempoRange(bpm))
            continue;
        OctaveFeatures f;
        f.bpm = bpm;
        f.ratio = ratio;
        f.logTempo = std::log2(bpm / kReferenceBpm);
        f.fullStrength = clippedLog(wholeScore(evidence.full, evidence.fps, bpm), fullMean);
        f.lowStrength = lowMean > 0.0
                            ? clippedLog(wholeScore(evidence.low, evidence.fps, bpm), lowMean)
                            : 0.0;
        f.kicksPerBeat = lowRate > 0.0 ? std::log2(lowRate * 60.0 / bpm) : 0.0;
        candidates.push_back(f);
    }
    return candidates;
}

double octaveScore(const OctaveFeatures& f) {
    return -1.719 * f.logTempo * f.logTempo + 2.233 * f.fullStrength + 2.255 * f.lowStrength -
           1.444 * f.kicksPerBeat * f.kicksPerBeat;
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
