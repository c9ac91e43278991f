#include "detection/grid_score.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quorlen::detection {
namespace {

constexpr double kPriorCentreBpm = 125.0;
constexpr double kPriorWidthOctaves = 0.9;
constexpr double kAlternationExponent = 1.2;

// Running sums of one comb: beats at t0, t0 + P, ... below a limit, even
// and odd beats apart so a grid at twice the true tempo shows up as a low
// ratio. Positions accumulate by repeated addition of P.
struct CombSums {
    double t = 0.0; // next position
    double sum = 0.0, evenSum = 0.0, oddSum = 0.0;
    long long visits = 0;

    void visit(const double* x, double period) {
        const double value = envelopeAt(x, t);
        sum += value;
        (visits % 2 == 0 ? evenSum : oddSum) += value;
        ++visits;
        t += period;
    }
};

double meanOf(const CombSums& sums) { return sums.sum / double(sums.visits); }

double ratioOf(const CombSums& sums) {
    const long long evens = (sums.visits + 1) / 2, odds = sums.visits / 2;
    const double evenMean = sums.evenSum / double(evens);
    const double oddMean = odds > 0 ? sums.oddSum / double(odds) : 0.0;
    const double high = std::max(evenMean, oddMean);
    return high > 0.0 ? std::min(evenMean, oddMean) / high : 1.0;
}

CombSums runComb(const double* x, double t0, double period, double limit) {
    CombSums sums{t0};
    while (sums.t < limit)
        sums.visit(x, period);
    return sums;
}

// All combs of one tempo stepped together, beat by beat: the inner loop
// runs across phases, so it has no chain of dependent additions and no
// hard-to-predict exit after a handful of beats (a 4 s segment holds about
// 8). Each comb keeps exactly the arithmetic of `runComb`. Starts ascend
// with k and rounding is monotonic, so at every beat the combs still below
// the limit are a prefix 0 ... active - 1.
// One beat of every active comb. Lanes are independent, so the loop
// vectorises; on processors with AVX2 a second version reads the envelope
// with gathers. Positions stay below n - 1 < 2^31, so the 32-bit truncation
// gives the same frame as `envelopeAt`.
__attribute__((target_clones("avx2", "default"))) void
stepCombs(const double* __restrict x, double* __restrict t, double* __restrict sum,
          double* __restrict paritySum, int active, double period) {
    for (int k = 0; k < active; ++k) {
        const int frame = static_cast<int>(t[k]);
        const double f = t[k] - static_cast<double>(frame);
        const double value = (1.0 - f) * x[frame] + f * x[frame + 1];
        sum[k] += value;
        paritySum[k] += value;
        t[k] += period;
    }
}

void runCombsTogether(const double* x, const double* starts, int steps, double period, double limit,
                      CombSums* out) {
    double t[96], sum[96] = {}, evenSum[96] = {}, oddSum[96] = {};
    std::copy(starts, starts + steps, t);
    int active = steps;
    for (long long beat = 0;; ++beat) {
        while (active > 0 && !(t[active - 1] < limit)) {
            --active;
            out[active] = {t[active], sum[active], evenSum[active], oddSum[active], beat};
        }
        if (active == 0)
            return;
        stepCombs(x, t, sum, beat % 2 == 0 ? evenSum : oddSum, active, period);
    }
}

// The phases tried at one tempo: P k / steps for k = 0 ... steps - 1.
struct Phases {
    std::array<double, 96> values;
    int steps = 0;
};

Phases phasesFor(double period, int steps) {
    Phases phases;
    phases.steps = steps;
    for (int k = 0; k < steps; ++k) {
        // P k / steps is below P for k < steps, where fmod returns it
        // unchanged; the call is kept for any value rounding up to P.
        const double phase = period * double(k) / double(steps);
        phases.values[size_t(k)] = phase < period ? phase : std::fmod(phase, period);
    }
    return phases;
}

struct BestComb {
    double mean = -1.0;
    double phase = 0.0;
    double ratio = 1.0;
};

// The comb with the highest mean over at least two beats; the first of
// equal ones. Only the winner's alternation ratio is worked out.
BestComb bestPhase(std::span<const double> envelope, double period, const Phases& phases,
                   double base, double limit, bool together) {
    std::array<double, 96> starts;
    std::array<CombSums, 96> combs;
    const int steps = phases.steps;
    for (int k = 0; k < steps; ++k)
        starts[size_t(k)] = phases.values[size_t(k)] + base;
    if (together) {
        runCombsTogether(envelope.data(), starts.data(), steps, period, limit, combs.data());
    } else {
        for (int k = 0; k < steps; ++k)
            combs[size_t(k)] = runComb(envelope.data(), starts[size_t(k)], period, limit);
    }
    BestComb best;
    int bestIndex = -1;
    for (int k = 0; k < steps; ++k) {
        const CombSums& comb = combs[size_t(k)];
        if (comb.visits >= 2 && meanOf(comb) > best.mean) {
            best.mean = meanOf(comb);
            bestIndex = k;
        }
    }
    if (bestIndex >= 0) {
        best.phase = phases.values[size_t(bestIndex)];
        best.ratio = ratioOf(combs[size_t(bestIndex)]);
    }
    return best;
}

GridFit gridScoreWith(std::span<const double> envelope, double fps, double bpm,
                      std::optional<double> segmentSeconds, bool together) {
    const auto n = static_cast<double>(envelope.size());
    const double period = 60.0 * fps / bpm;
    if (period <= 1.0 || 2.0 * period >= n)
        return {};
    const int steps = static_cast<int>(std::clamp(std::round(2.0 * period), 20.0, 96.0));
    const Phases phases = phasesFor(period, steps);
    const double segment = segmentSeconds ? std::max(fps * *segmentSeconds, 4.0 * period) : n;
    if (!segmentSeconds || segment >= n) {
        const BestComb best = bestPhase(envelope, period, phases, 0.0, n - 1.0, together);
        return {std::max(best.mean, 0.0), best.phase, best.ratio};
    }
    double scoreSum = 0.0, ratioSum = 0.0, firstPhase = 0.0;
    int segments = 0;
    for (double a = 0.0;; a += segment) {
        const double limit = std::min(n, std::trunc(a + segment)) - 1.0;
        const BestComb best = bestPhase(envelope, period, phases, std::trunc(a), limit, together);
        scoreSum += std::max(best.mean, 0.0);
        ratioSum += best.ratio;
        if (segments++ == 0)
            firstPhase = best.phase;
        if (!(a + segment + 2.0 * period < n))
            break;
    }
    return {scoreSum / segments, firstPhase, ratioSum / segments};
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
    return gridScoreWith(envelope, fps, bpm, segmentSeconds, false);
}

GridFit gridScore(std::span<const double> envelope, double fps, double bpm,
                  std::optional<double> segmentSeconds) {
    return gridScoreWith(envelope, fps, bpm, segmentSeconds, true);
}

} // namespace quorlen::detection
