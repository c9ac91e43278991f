#include "detection/final_tempo.h"

#include "detection/analysis_rate.h"
#include "detection/autocorrelation.h"
#include "detection/grid_score.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quorlen::detection {
namespace {

constexpr double kMaxLoopSeconds = 90.0;
constexpr double kShortFileSeconds = 8.0;
constexpr int kBeatsPerBar = 4;
constexpr int kMaxLoopBeats = 4096;
constexpr double kHopSeconds = 256.0 / kAnalysisRateHz; // 0.011609977324263039
constexpr double kMinSnapTolerance = 0.002;
constexpr double kCloseLoop = 0.025;
constexpr double kRoundingAcceptance = 0.9;

bool nearRelative(double loopBpm, double detectedBpm) {
    return std::any_of(kTempoRatios.begin(), kTempoRatios.end(), [&](double ratio) {
        const double t = detectedBpm * ratio;
        return inTempoRange(t) && std::abs(loopBpm - t) / t <= kCloseLoop;
    });
}

double roundTo(double value, double scale) { return std::round(value * scale) / scale; }

} // namespace

std::vector<LoopCandidate> loopCandidates(double durationSeconds) {
    std::vector<LoopCandidate> loops;
    for (int beats = kBeatsPerBar; beats <= kMaxLoopBeats; beats += kBeatsPerBar) {
        const double bpm = beats * 60.0 / durationSeconds;
        if (bpm > kMaxBpm)
            break;
        if (bpm >= kMinBpm)
            loops.push_back({bpm, beats});
    }
    return loops;
}

std::optional<FinalTempo> snapToLoop(std::span<const double> envelope, double fps,
                                     double durationSeconds, const Candidate& best,
                                     LoopScope scope) {
    if (!(durationSeconds > 0.0 && durationSeconds <= kMaxLoopSeconds))
        return std::nullopt;
    const double tolerance = std::max(kHopSeconds / durationSeconds, kMinSnapTolerance);
    std::optional<FinalTempo> accepted;
    double acceptedValue = 0.0;
    for (const LoopCandidate& loop : loopCandidates(durationSeconds)) {
        const double rel = std::abs(loop.bpm - best.bpm) / best.bpm;
        const bool close = rel <= kCloseLoop;
        if (!close && (scope == LoopScope::sameOctave || (!(durationSeconds < kShortFileSeconds) &&
                                                          !nearRelative(loop.bpm, best.bpm))))
            continue;
        const GridFit comb = gridScore(envelope, fps, loop.bpm, std::nullopt);
        const double factor =
            close ? best.alt : std::pow(gridScore(envelope, fps, loop.bpm, 4.0).alt, 1.2);
        const double value = tempoPrior(loop.bpm) * comb.score * factor;
        const double threshold =
            rel < tolerance ? 0.0 : (close ? 0.97 * best.score : 0.7 * best.score);
        if (value < threshold)
            continue;
        if (!accepted || value > acceptedValue) {
            accepted = FinalTempo{loop.bpm, comb.phase, comb.score, loop.beats / kBeatsPerBar};
            acceptedValue = value;
        }
    }
    return accepted;
}

FinalTempo roundTempo(std::span<const double> envelope, double fps, const Candidate& best) {
    const FinalTempo unchanged{best.bpm, best.phase, best.raw, std::nullopt};
    const double tolerance = best.bpm / static_cast<double>(envelope.size());
    const std::array<double, 3> roundings = {
        roundTo(std::round(best.bpm), 1000.0),
        roundTo(std::round(2.0 * best.bpm) / 2.0, 1000.0),
        roundTo(std::round(best.bpm / 0.1) * 0.1, 1000.0),
    };
    for (const double r : roundings) {
        if (!inTempoRange(r) || std::abs(r - best.bpm) > tolerance)
            continue;
        const GridFit fit = gridScore(envelope, fps, r, std::nullopt);
        if (fit.score >= kRoundingAcceptance * best.raw)
            return {r, fit.phase, fit.score, std::nullopt};
        return unchanged;
    }
    return unchanged;
}

} // namespace quorlen::detection
