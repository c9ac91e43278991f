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
// How far (as a share) a candidate may be from a whole-beat tempo of the
// loop and still count as agreeing with it: the refined tempos are a
// percent or so off, and a loop's file may have a few ms of tail.
constexpr double kLoopSpread = 0.02;
// Beats a loop may hold, as candidates of their own: bars and their halves.
constexpr std::array<int, 14> kLoopBeatCounts = {1, 2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64, 96, 128};

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

// Mean of the envelope at `fraction` of every beat of a grid, plus a floor
// (a share of the envelope's mean) so that nothing there reads as little,
// not as nothing.
double strengthAt(std::span<const double> x, double phase, double period, double fraction,
                  double mean) {
    double sum = 0.0;
    size_t count = 0;
    for (double t = phase + fraction * period; t + 1.0 < double(x.size()); t += period) {
        sum += envelopeAt(x, t);
        ++count;
    }
    return (count ? sum / double(count) : 0.0) + kBetweenFloor * mean;
}

// x smoothed over +-2 frames, so that a bar a frame or two longer or
// shorter than four candidate beats still finds itself, less its mean.
std::vector<double> smoothedCentred(std::span<const double> x, double mean) {
    std::vector<double> out(x.size());
    for (size_t i = 0; i < x.size(); ++i) {
        const size_t from = i >= 2 ? i - 2 : 0;
        const size_t to = std::min(x.size(), i + 3);
        out[i] = std::accumulate(x.begin() + from, x.begin() + to, 0.0) / double(to - from) - mean;
    }
    return out;
}

// Correlation of a centred envelope with itself `lag` frames later (0 when
// negative or when the envelope is flat).
struct Repeat {
    std::vector<double> centred;
    double power = 0.0;

    Repeat(std::span<const double> x, double mean)
        : centred(smoothedCentred(x, mean)), power(recurrence(centred, 0.0)) {}
    double after(double lag) const { return power > 0.0 ? recurrence(centred, lag) / power : 0.0; }
};

// exp(-0.5 (d / spread)^2) of the relative distance d from `bpm` to the
// nearest tempo at which `unit` beats repeat a whole number of times.
double wholeFit(double bpm, double seconds, double unit) {
    const double units = std::max(1.0, std::round(bpm * seconds / 60.0 / unit));
    const double d = std::abs(tempoOfBeats(units * unit, seconds) - bpm) / bpm / kLoopSpread;
    return std::exp(-0.5 * d * d);
}

} // namespace

int wholeBeats(double bpm, double seconds) {
    return std::max(1, static_cast<int>(std::lround(bpm * seconds / 60.0)));
}

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
    const double fullRate = onsetRate(evidence.full, evidence.fps);
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
    const Repeat fullRepeat(evidence.full, fullMean);
    const Repeat lowRepeat(evidence.low, lowMean);
    const double seconds = evidence.durationSeconds;
    const bool loop = seconds > 0.0 && seconds <= kLoopMaxSeconds;
    std::vector<OctaveFeatures> candidates;
    const auto measure = [&](double bpm) {
        OctaveFeatures f;
        f.bpm = bpm;
        f.shortFile = loop;
        f.ratio = classicBpm > 0.0 ? bpm / classicBpm : 0.0;
        f.logTempo = std::log2(bpm / kReferenceBpm);
        const GridFit fullFit = gridScore(evidence.full, evidence.fps, bpm, std::nullopt);
        f.fullStrength = clippedLog(fullFit.score, fullMean);
        f.lowStrength =
            lowMean > 0.0
                ? clippedLog(gridScore(evidence.low, evidence.fps, bpm, std::nullopt).score,
                             lowMean)
                : 0.0;
        f.kicksPerBeat = lowRate > 0.0 ? std::log2(lowRate * 60.0 / bpm) : 0.0;
        f.onsetsPerBeat = fullRate > 0.0 ? std::log2(fullRate * 60.0 / bpm) : 0.0;
        const double period = 60.0 * evidence.fps / bpm;
        const auto full = [&](double fraction) {
            return strengthAt(evidence.full, fullFit.phase, period, fraction, fullMean);
        };
        f.halfBeat = std::log(full(0.5) / full(0.0));
        f.tripletFeel = std::log(0.5 * (full(1.0 / 3.0) + full(2.0 / 3.0)) / full(0.5));
        const double quarters = 0.5 * (full(0.25) + full(0.75));
        f.quarterBeat = std::log(quarters / full(0.0));
        f.eighthBeat =
            std::log(0.25 * (full(0.125) + full(0.375) + full(0.625) + full(0.875)) / quarters);
        f.sixthBeat = std::log(0.5 * (full(1.0 / 6.0) + full(5.0 / 6.0)) / quarters);
        if (lowMean > 0.0) {
            const auto low = [&](double fraction) {
                return strengthAt(evidence.low, fullFit.phase, period, fraction, lowMean);
            };
            f.lowHalfBeat = std::log(low(0.5) / low(0.0));
        }
        f.barRepeat = fullRepeat.after(4.0 * period);
        f.lowBarRepeat = lowRepeat.after(4.0 * period);
        if (power > 0.0) {
            const double every4 = recurrence(accents, 4.0 * period) + floor;
            const double every8 = recurrence(accents, 8.0 * period) + floor;
            f.accentEvery8 = std::log(every8 / every4);
            const double every1 = recurrence(accents, period) + floor;
            const double every2 = recurrence(accents, 2.0 * period) + floor;
            f.accentEvery2 = std::log(every2 / every1);
        }
        if (classicBpm > 0.0) {
            const auto near = [&](double ratio) {
                return std::abs(f.ratio - ratio) < kSameTempo * ratio;
            };
            f.triplet = near(2.0 / 3.0) || near(1.5) || near(1.0 / 3.0) || near(3.0) ? 1.0 : 0.0;
            f.dotted = near(0.75) || near(4.0 / 3.0) ? 1.0 : 0.0;
            f.unrelated =
                f.triplet == 0.0 && f.dotted == 0.0 && !near(1.0) && !near(0.5) && !near(2.0) ? 1.0
                                                                                              : 0.0;
        }
        if (loop) {
            f.loopBeats = wholeFit(bpm, seconds, 1.0);
            f.loopBars = wholeFit(bpm, seconds, 4.0);
        }
        candidates.push_back(f);
    };
    const auto measureNew = [&](double bpm) {
        const bool known = std::any_of(candidates.begin(), candidates.end(), [&](const auto& c) {
            return std::abs(c.bpm - bpm) < kSameTempo * bpm;
        });
        if (!known && inTempoRange(bpm))
            measure(bpm);
    };
    if (classicBpm > 0.0) {
        for (const double ratio : kRelatives) {
            if (inTempoRange(classicBpm * ratio))
                measure(classicBpm * ratio);
        }
    }
    for (const double bpm : evidence.otherTempos)
        measureNew(bpm);
    if (loop) {
        for (const int beats : kLoopBeatCounts)
            measureNew(tempoOfBeats(beats, seconds));
    }
    return candidates;
}

namespace {

// What a model weighs of a candidate, in the order of its weights (and of
// the features scripts/fit-octave-model prints).
constexpr size_t kTerms = 21;
std::array<double, kTerms> terms(const OctaveFeatures& f) {
    return {f.logTempo * f.logTempo,
            f.logTempo,
            f.fullStrength,
            f.lowStrength,
            f.kicksPerBeat * f.kicksPerBeat,
            f.accentEvery8,
            f.barRepeat,
            f.lowBarRepeat,
            f.halfBeat,
            f.tripletFeel,
            f.loopBeats,
            f.loopBars,
            f.triplet,
            f.dotted,
            f.unrelated,
            f.onsetsPerBeat,
            f.onsetsPerBeat * f.onsetsPerBeat,
            f.accentEvery2,
            f.quarterBeat,
            f.sixthBeat,
            f.lowHalfBeat};
}

// A conditional logit's weights, and the temperature and score for "none
// of them" that make its softmax a probability.
struct Model {
    std::array<double, kTerms> weights;
    double temperature;
    double noneScore;
};

// Files of up to 30 s, fitted by scripts/fit-octave-model on thirteen
// sources: MIDI songs of a train game, small MIDI sets (a role-playing
// game, a shooter, piano lessons), music tools' example songs, an
// accompaniment program's grooves and example songs, ABC tunes and
// notation-editor demos, tracker modules of six groups of game and
// teaching packages, the project's own rendered grooves, and noise and
// drones (which only teach the confidence). Read as a whole: a tempo prior
// centred near 110 BPM and about 0.5 octaves wide; four beats that make a
// bar, in the whole band and more so in the kick and bass; off-beats
// lighter than the beats, and less still on the quarters and sixths of the
// beat (notes on a grid of sixteenths at most); about one kick and three
// notes per beat; the classic tempo's octaves before its triplet, dotted or
// unrelated rivals; and a whole number of beats, and of bars, in the loop's
// length.
constexpr Model kShortFiles = {{-1.800, -0.372, -0.547, -0.289, -0.414, 0.079,  1.264,
                                1.573,  -0.214, -0.327, 2.380,  1.764,  -0.660, -0.925,
                                -0.917, 0.372,  -0.110, -0.113, -0.670, -0.633, -0.187},
                               0.711,
                               4.600};

// Longer files: the same terms fitted on every file, loops too (a few
// hundred pieces are too few for them alone, and a loop is cut from a
// piece of the same music), calibrated on the long files. It reads much
// as the model above.
constexpr Model kLongFiles = {{-1.654, -0.146, -0.577, -0.387, -0.470, 0.083,  1.412,
                               1.666,  -0.341, -0.490, 1.895,  1.427,  -0.785, -1.171,
                               -0.918, 0.146,  -0.246, -0.161, -0.644, -0.659, -0.221},
                              0.760,
                              0.400};

// The confidence: a logistic regression on answers the model gave for
// sources it was not fitted on, so that it speaks for music it has not
// seen, and on noise and drones, whose every answer is wrong. Its terms:
// a bias, the logit of the model's probability, agreeing with the classic
// tempo, the distance from 120 BPM in octaves, moving to whole beats of a
// loop, the grid's clarity and bar repeat, the classic confidence, and
// (squared log2) notes per beat and the odd eighths' strength. The model's
// own probability says most; tempos far from 120 BPM, whose octave
// conventions differ most, beats that hold many notes or notes on their
// odd eighths (a tempo read at half) take from it.
constexpr size_t kConfidenceTerms = 10;
constexpr std::array<double, kConfidenceTerms> kConfidence = {0.801,  0.499, 0.090, -0.360, -0.016,
                                                              -0.160, 0.192, 0.010, -0.623, -0.294};

const Model& modelFor(const OctaveFeatures& f) { return f.shortFile ? kShortFiles : kLongFiles; }

} // namespace

double octaveScore(const OctaveFeatures& f) {
    const std::array<double, kTerms> x = terms(f);
    return std::inner_product(x.begin(), x.end(), modelFor(f).weights.begin(), 0.0);
}

std::vector<double> octaveProbabilities(std::span<const OctaveFeatures> candidates) {
    if (candidates.empty())
        return {};
    const Model& model = modelFor(candidates.front());
    std::vector<double> p(candidates.size());
    double top = model.noneScore;
    for (size_t i = 0; i < candidates.size(); ++i) {
        p[i] = octaveScore(candidates[i]) / model.temperature;
        top = std::max(top, p[i]);
    }
    double sum = std::exp(model.noneScore - top);
    for (double& v : p) {
        v = std::exp(v - top);
        sum += v;
    }
    for (double& v : p)
        v /= sum;
    return p;
}

double choiceConfidence(const ChoiceEvidence& e) {
    const double p = std::clamp(e.probability, 1e-3, 1.0 - 1e-3);
    const std::array<double, kConfidenceTerms> x = {1.0,
                                                    std::log(p / (1.0 - p)),
                                                    e.agreesWithClassic ? 1.0 : 0.0,
                                                    std::abs(std::log2(e.bpm / kReferenceBpm)),
                                                    e.wholeBeatLoop ? 1.0 : 0.0,
                                                    e.fullStrength,
                                                    e.barRepeat,
                                                    e.classicConfidence,
                                                    e.onsetsPerBeat * e.onsetsPerBeat,
                                                    e.eighthBeat};
    const double z = std::inner_product(x.begin(), x.end(), kConfidence.begin(), 0.0);
    return 1.0 / (1.0 + std::exp(-z));
}

} // namespace quorlen::detection
