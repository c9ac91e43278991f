#include "detection/tempo_search.h"

#include "detection/autocorrelation.h"
#include "detection/grid_score.h"
#include "detection/parallel_for.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace quorlen::detection {
namespace {

constexpr int kGridIntervals = 40; // 41 tempos per search range
// The coarse grid runs over 0.975c ... 1.025c around each proposal c.
constexpr double kCoarseLow = 0.975;
constexpr double kCoarseHigh = 1.025;
constexpr double kCoarseSegmentSeconds = 4.0;
constexpr double kDistinct = 0.02;
constexpr double kSecondDistance = 0.03;
constexpr size_t kRefinedLeaders = 4;

void sortByScore(std::vector<Candidate>& candidates) {
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate& a, const Candidate& b) { return a.score > b.score; });
}

double gridTempo(double lo, double hi, int i) { return lo + (hi - lo) * i / kGridIntervals; }

// Grid fits of the 41 tempos lo ... hi (tempos out of range are left unset).
std::vector<std::optional<GridFit>> scoreRange(std::span<const double> envelope, double fps,
                                               double lo, double hi, std::optional<double> segment,
                                               int threads) {
    std::vector<std::optional<GridFit>> fits(kGridIntervals + 1);
    parallelFor(fits.size(), threads, [&](size_t i) {
        const double bpm = gridTempo(lo, hi, static_cast<int>(i));
        if (inTempoRange(bpm))
            fits[i] = gridScore(envelope, fps, bpm, segment);
    });
    return fits;
}

bool nearAny(const std::vector<Candidate>& list, double bpm) {
    return std::any_of(list.begin(), list.end(), [bpm](const Candidate& r) {
        return std::abs(r.bpm - bpm) / bpm < kDistinct;
    });
}

} // namespace

const Ladder& analysisLadder() {
    static const Ladder ladder = {4.0, 12.0, 40.0, std::nullopt};
    return ladder;
}

std::vector<Candidate> coarseRanking(std::span<const double> envelope, double fps,
                                     std::span<const double> tempos, int threads) {
    const size_t points = kGridIntervals + 1;
    std::vector<std::optional<GridFit>> fits(tempos.size() * points);
    parallelFor(fits.size(), threads, [&](size_t index) {
        const double c = tempos[index / points];
        const double bpm =
            gridTempo(kCoarseLow * c, kCoarseHigh * c, static_cast<int>(index % points));
        if (inTempoRange(bpm))
            fits[index] = gridScore(envelope, fps, bpm, kCoarseSegmentSeconds);
    });
    std::vector<Candidate> ranked;
    for (size_t t = 0; t < tempos.size(); ++t) {
        const double c = tempos[t];
        Candidate best{c, 0.0, 0.0, 0.0, 1.0};
        bool found = false;
        for (size_t i = 0; i < points; ++i) {
            const auto& fit = fits[t * points + i];
            if (!fit)
                continue;
            const double bpm = gridTempo(kCoarseLow * c, kCoarseHigh * c, int(i));
            const double value = candidateValue(bpm, *fit);
            if (!found || value > best.score) {
                best = {bpm, value, fit->score, fit->phase, std::pow(fit->alt, 1.2)};
                found = true;
            }
        }
        ranked.push_back(best);
    }
    sortByScore(ranked);
    return ranked;
}

namespace {

struct RungBest {
    double bpm = 0.0;
    double value = 0.0;
    GridFit fit;
    double factor = 1.0;
};

// The best of the 41 tempos of one rung; nullopt when none is in range.
// `fixedFactor` replaces the alternation factor after the first rung.
std::optional<RungBest> bestOnRung(std::span<const double> envelope, double fps, double lo,
                                   double hi, std::optional<double> segment,
                                   std::optional<double> fixedFactor, int threads) {
    const auto fits = scoreRange(envelope, fps, lo, hi, segment, threads);
    std::optional<RungBest> best;
    for (size_t i = 0; i < fits.size(); ++i) {
        if (!fits[i])
            continue;
        const double bpm = gridTempo(lo, hi, static_cast<int>(i));
        const double factor = fixedFactor ? *fixedFactor : std::pow(fits[i]->alt, 1.2);
        const double value = tempoPrior(bpm) * fits[i]->score * factor;
        if (!best || value > best->value)
            best = RungBest{bpm, value, *fits[i], factor};
    }
    return best;
}

// Parabolic step through the values at best - step, best, best + step on
// the last rung's segment; accepted only when it scores at least as well.
RungBest parabolicRefinement(std::span<const double> envelope, double fps, const RungBest& best,
                             double step, std::optional<double> segment, double fixedFactor) {
    const auto valueAt = [&](double bpm, GridFit* fitOut) {
        const GridFit fit = gridScore(envelope, fps, bpm, segment);
        if (fitOut)
            *fitOut = fit;
        return fixedFactor * tempoPrior(bpm) * fit.score;
    };
    const double vA = valueAt(best.bpm - step, nullptr);
    const double vC = valueAt(best.bpm + step, nullptr);
    const double denom = vA - 2.0 * best.value + vC;
    if (!(denom < 0.0))
        return best;
    const double delta = step * 0.5 * (vA - vC) / denom;
    const double bpm = best.bpm + delta;
    if (std::abs(delta) > step || !inTempoRange(bpm))
        return best;
    GridFit fit;
    const double value = valueAt(bpm, &fit);
    if (value >= best.value)
        return RungBest{bpm, value, fit, fixedFactor};
    return best;
}

} // namespace

Candidate searchLadder(std::span<const double> envelope, double fps, double bpm0,
                       const Ladder& ladder, double span, int threads) {
    const Candidate fallback{bpm0, 0.0, 0.0, 0.0, 1.0};
    if (ladder.empty())
        return fallback;
    double lo = bpm0 * (1.0 - span), hi = bpm0 * (1.0 + span);
    std::optional<double> fixedFactor;
    RungBest best;
    double step = 0.0;
    std::optional<double> segment;
    for (size_t r = 0; r < ladder.size(); ++r) {
        const auto rungBest = bestOnRung(envelope, fps, lo, hi, ladder[r], fixedFactor, threads);
        if (!rungBest) {
            if (r == 0)
                return fallback;
            break;
        }
        best = *rungBest;
        step = (hi - lo) / kGridIntervals;
        segment = ladder[r];
        if (r == 0)
            fixedFactor = best.factor;
        const double seconds = ladder[r] ? *ladder[r] : double(envelope.size()) / fps;
        const double w = std::max(1.5 * step, 2.0 * best.bpm / (fps * seconds));
        lo = best.bpm - w;
        hi = best.bpm + w;
    }
    if (ladder.size() != 1 && step > 0.0)
        best = parabolicRefinement(envelope, fps, best, step, segment, *fixedFactor);
    return {best.bpm, best.value, best.fit.score, best.fit.phase, best.factor};
}

namespace {

// Refines `tempos` side by side, one search per thread; only a lone search
// splits its own rungs over the threads instead.
std::vector<Candidate> searchAll(std::span<const double> envelope, double fps,
                                 const std::vector<double>& tempos, int threads) {
    std::vector<Candidate> found(tempos.size());
    const int inner = tempos.size() == 1 ? threads : 1;
    parallelFor(tempos.size(), threads, [&](size_t i) {
        found[i] = searchLadder(envelope, fps, tempos[i], analysisLadder(), kLadderSpan, inner);
    });
    return found;
}

// Adds the searches of `tempos` in order, each unless one already added is
// near it: the outcome of searching and adding them one at a time. A tempo
// near none added before the batch may still come near one of the batch.
void addUnlessNear(std::vector<Candidate>& refined, const std::vector<double>& tempos,
                   const std::vector<Candidate>& found, size_t most) {
    for (size_t i = 0; i < tempos.size() && refined.size() < most; ++i)
        if (!nearAny(refined, tempos[i]))
            refined.push_back(found[i]);
}

} // namespace

TempoCandidates refineCandidates(std::span<const double> envelope, double fps,
                                 std::span<const Candidate> coarse, const CancelCheck& isCancelled,
                                 int threads) {
    TempoCandidates result;
    auto& refined = result.refined;
    const auto batchSize = static_cast<size_t>(std::max(threads, 1));
    for (size_t next = 0; next < coarse.size() && refined.size() < kRefinedLeaders;) {
        // As many of the next leaders as there are threads and places left.
        std::vector<double> batch;
        const size_t wanted = std::min(batchSize, kRefinedLeaders - refined.size());
        for (; next < coarse.size() && batch.size() < wanted; ++next) {
            throwIfCancelled(isCancelled);
            if (!nearAny(refined, coarse[next].bpm))
                batch.push_back(coarse[next].bpm);
        }
        addUnlessNear(refined, batch, searchAll(envelope, fps, batch, threads), kRefinedLeaders);
    }
    sortByScore(refined);
    if (refined.empty())
        return result;
    const double top = refined.front().bpm;
    std::vector<double> octaves;
    for (const double t : {top * 0.5, top * 2.0})
        if (inTempoRange(t) && !nearAny(refined, t))
            octaves.push_back(t);
    addUnlessNear(refined, octaves, searchAll(envelope, fps, octaves, threads), SIZE_MAX);
    sortByScore(refined);
    const double bestBpm = refined.front().bpm;
    for (const Candidate& c : refined) {
        if (std::abs(c.bpm - bestBpm) > kSecondDistance * bestBpm) {
            result.secondRaw = c.raw;
            break;
        }
    }
    return result;
}

} // namespace quorlen::detection
