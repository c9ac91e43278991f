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
constexpr std::array<double, 9> kRelatives = {1.0,       0.5, 2.0,  2.0 / 3.0, 1.5,
                                              1.0 / 3.0, 3.0, 0.75, 4.0 / 3.0};
// An onset is a value above twice the envelope's RMS (which is 1)
// that is the largest within +-4 frames (+-46 ms).
constexpr double kOnsetThreshold = 2.0;
constexpr size_t kOnsetHalfWindow = 4;
// Logs of strengths are clipped here, so one empty grid (score 0)
// cannot dominate the sum.
constexpr double kLogFloor = -4.0;
// Added to every recurrence of the mid band's accents, as a share of their
// mean power (their recurrence at lag 0).
constexpr double kRecurrenceFloor = 0.05;
// Added to the onset strengths between beats, as a share of the envelope's
// mean, so that a grid with nothing between its beats reads as neutral.
constexpr double kBetweenFloor = 0.1;
// Tempos closer than this share are one candidate.
constexpr double kSameTempo = 0.02;

double meanOf(std::span<const double> x) {
    return x.empty() ? 0.0 : std::accumulate(x.begin(), x.end(), 0.0) / double(x.size());
}

double clippedLog(double numerator, double denominator) {
    if (!(numerator > 0.0 && denominator > 0.0))
        return kLogFloor;
    return std::max(std::log(numerator / denominator), kLogFloor);
}

// Mean of x[t] x[t + lag] over the frames where both exist, the best of the
// lags within one frame of `lag`: an onset smears over a few frames and the
// candidate's period is not exact.
double recurrence(std::span<const double> x, double lag) {
    double best = 0.0;
    for (const double shift : {-1.0, 0.0, 1.0}) {
        const double l = lag + shift;
        if (!(l >= 0.0) || l + 1.0 >= double(x.size()))
            continue;
        const auto count = static_cast<size_t>(double(x.size()) - 1.0 - l);
        double sum = 0.0;
        for (size_t t = 0; t < count; ++t)
            sum += x[t] * envelopeAt(x, double(t) + l);
        best = std::max(best, sum / double(count));
    }
    return best;
}

double wholeScore(std::span<const double> envelope, double fps, double bpm) {
    return gridScore(envelope, fps, bpm, std::nullopt).score;
}

// Mean of the envelope at `fraction` of every beat of the grid.
double between(std::span<const double> x, double phase, double period, double fraction) {
    double sum = 0.0;
    size_t count = 0;
    for (double t = phase + fraction * period; t + 1.0 < double(x.size()); t += period) {
        sum += envelopeAt(x, t);
        ++count;
    }
    return count ? sum / double(count) : 0.0;
}

double tripletFeel(std::span<const double> x, double phase, double period, double mean) {
    const double thirds =
        0.5 * (between(x, phase, period, 1.0 / 3.0) + between(x, phase, period, 2.0 / 3.0));
    const double half = between(x, phase, period, 0.5);
    return std::log((thirds + kBetweenFloor * mean) / (half + kBetweenFloor * mean));
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
    // Accents are where the mid band rises clearly above the low band: a
    // snare or clap, not the click of a kick, and not the weak mid-band trace
    // of dense hats, which would hide where the snare recurs.
    std::vector<double> accents(evidence.mid.size());
    double power = 0.0;
    for (size_t i = 0; i < accents.size(); ++i) {
        const double lowAt = i < evidence.low.size() ? evidence.low[i] : 0.0;
        const double rise = evidence.mid[i] - lowAt;
        accents[i] = rise > 1.0 ? rise : 0.0;
        power += accents[i] * accents[i];
    }
    // Keeps the ratios finite, and near 0, where hardly anything recurs;
    // without any accent the features stay 0.
    const double floor = kRecurrenceFloor * power / double(std::max<size_t>(accents.size(), 1));
    // The full band, centred: how alike it is to itself one bar later.
    // Smoothed over +-2 frames, so that a bar that is a frame or two longer
    // or shorter than four candidate beats still finds itself.
    std::vector<double> centred(evidence.full.size());
    for (size_t i = 0; i < centred.size(); ++i) {
        const size_t from = i >= 2 ? i - 2 : 0;
        const size_t to = std::min(centred.size(), i + 3);
        double sum = 0.0;
        for (size_t k = from; k < to; ++k)
            sum += evidence.full[k];
        centred[i] = sum / double(to - from) - fullMean;
    }
    const double centredPower = recurrence(centred, 0.0);
    std::vector<OctaveFeatures> candidates;
    const auto measure = [&](double bpm) {
        OctaveFeatures f;
        f.bpm = bpm;
        f.ratio = bpm / classicBpm;
        f.logTempo = std::log2(bpm / kReferenceBpm);
        const GridFit fullFit = gridScore(evidence.full, evidence.fps, bpm, std::nullopt);
        f.fullStrength = clippedLog(fullFit.score, fullMean);
        f.lowStrength =
            lowMean > 0.0 ? clippedLog(wholeScore(evidence.low, evidence.fps, bpm), lowMean) : 0.0;
        f.kicksPerBeat = lowRate > 0.0 ? std::log2(lowRate * 60.0 / bpm) : 0.0;
        const double period = 60.0 * evidence.fps / bpm;
        f.tripletFeel = tripletFeel(evidence.full, fullFit.phase, period, fullMean);
        if (centredPower > 0.0)
            f.barRepeat = recurrence(centred, 4.0 * period) / centredPower;
        if (power > 0.0) {
            const double every1 = recurrence(accents, period) + floor;
            const double every2 = recurrence(accents, 2.0 * period) + floor;
            const double every4 = recurrence(accents, 4.0 * period) + floor;
            const double every8 = recurrence(accents, 8.0 * period) + floor;
            f.accentEvery2 = std::log(every2 / every1);
            f.accentEvery4 = std::log(every4 / every2);
            f.accentEvery8 = std::log(every8 / every4);
        }
        candidates.push_back(f);
    };
    for (const double ratio : kRelatives) {
        if (inTempoRange(classicBpm * ratio))
            measure(classicBpm * ratio);
    }
    for (const double bpm : evidence.otherTempos) {
        const bool known = std::any_of(candidates.begin(), candidates.end(), [&](const auto& c) {
            return std::abs(c.bpm - bpm) < kSameTempo * bpm;
        });
        if (!known && inTempoRange(bpm))
            measure(bpm);
    }
    return candidates;
}

double octaveScore(const OctaveFeatures& f) {
    return -1.930 * f.logTempo * f.logTempo + 2.025 * f.fullStrength + 2.258 * f.lowStrength -
           1.251 * f.kicksPerBeat * f.kicksPerBeat + 0.156 * f.accentEvery2 +
           0.184 * f.accentEvery4 - 0.704 * f.accentEvery8 + 2.129 * f.barRepeat -
           0.176 * f.tripletFeel;
}

double chooseOctave(const OctaveEvidence& evidence, double classicBpm) {
    const std::vector<OctaveFeatures> candidates = octaveCandidates(evidence, classicBpm);
    if (candidates.empty())
        return 1.0;
    const auto best = std::max_element(candidates.begin(), candidates.end(),
                                       [](const OctaveFeatures& a, const OctaveFeatures& b) {
                                           return octaveScore(a) < octaveScore(b);
                                       });
    return best->ratio;
}

} // namespace quorlen::detection
