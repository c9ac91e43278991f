#include "detection/grid_score.h"

#include <algorithm>
#include <cmath>

namespace quorlen::detection {
namespace {

constexpr double kPriorCentreBpm = 125.0;
constexpr double kPriorWidthOctaves = 0.9;
constexpr double kAlternationExponent = 1.2;

struct Comb {
    bool counts = false; // at least two beats visited
    double mean = 0.0;
    double ratio = 1.0;
};

// Beats at t0, t0 + P, ... below `limit`; even and odd beats are averaged
// apart so a grid at twice the true tempo shows up as a low ratio.
Comb runComb(std::span<const double> envelope, double t0, double period, double limit) {
    double sum = 0.0, evenSum = 0.0, oddSum = 0.0;
    long long visits = 0;
    for (double t = t0; t < limit; t += period) {
        const double value = envelopeAt(envelope, t);
        sum += value;
        (visits % 2 == 0 ? evenSum : oddSum) += value;
        ++visits;
    }
    Comb comb;
    if (visits < 2)
        return comb;
    const long long evens = (visits + 1) / 2, odds = visits / 2;
    const double evenMean = evenSum / double(evens);
    const double oddMean = odds > 0 ? oddSum / double(odds) : 0.0;
    const double high = std::max(evenMean, oddMean);
    comb.counts = true;
    comb.mean = sum / double(visits);
    comb.ratio = high > 0.0 ? std::min(evenMean, oddMean) / high : 1.0;
    return comb;
}

struct BestComb {
    double mean = -1.0;
    double phase = 0.0;
    double ratio = 1.0;
};

BestComb bestPhase(std::span<const double> envelope, double period, int steps, double base,
                   double limit) {
    BestComb best;
    for (int k = 0; k < steps; ++k) {
        const double phi = std::fmod(period * double(k) / double(steps), period);
        const Comb comb = runComb(envelope, phi + base, period, limit);
        if (comb.counts && comb.mean > best.mean)
            best = {comb.mean, phi, comb.ratio};
    }
    return best;
}

} // namespace

double tempoPrior(double bpm) {
    const double octaves = std::log2(bpm / kPriorCentreBpm) / kPriorWidthOctaves;
    return std::exp(-0.5 * octaves * octaves);
}

double candidateValue(double bpm, const GridFit& fit) {
    return tempoPrior(bpm) * fit.score * std::pow(fit.alt, kAlternationExponent);
}

GridFit gridScoreReference(std::span<const double> envelope, double fps, double bpm,
                           std::optional<double> segmentSeconds) {
    const auto n = static_cast<double>(envelope.size());
    const double period = 60.0 * fps / bpm;
    if (period <= 1.0 || 2.0 * period >= n)
        return {};
    const int steps = static_cast<int>(std::clamp(std::round(2.0 * period), 20.0, 96.0));
    const double segment = segmentSeconds ? std::max(fps * *segmentSeconds, 4.0 * period) : n;
    if (!segmentSeconds || segment >= n) {
        const BestComb best = bestPhase(envelope, period, steps, 0.0, n - 1.0);
        return {std::max(best.mean, 0.0), best.phase, best.ratio};
    }
    double scoreSum = 0.0, ratioSum = 0.0, firstPhase = 0.0;
    int segments = 0;
    for (double a = 0.0;; a += segment) {
        const double limit = std::min(n, std::trunc(a + segment)) - 1.0;
        const BestComb best = bestPhase(envelope, period, steps, std::trunc(a), limit);
        scoreSum += std::max(best.mean, 0.0);
        ratioSum += best.ratio;
        if (segments++ == 0)
            firstPhase = best.phase;
        if (!(a + segment + 2.0 * period < n))
            break;
    }
    return {scoreSum / segments, firstPhase, ratioSum / segments};
}

GridFit gridScore(std::span<const double> envelope, double fps, double bpm,
                  std::optional<double> segmentSeconds) {
    return gridScoreReference(envelope, fps, bpm, segmentSeconds);
}

} // namespace quorlen::detection
