#include "detection/beat_phase.h"

#include "detection/grid_score.h"

#include <cmath>
#include <numeric>
#include <optional>

namespace quorlen::detection {
namespace {

// The low band carries the beat when its grid gathers at least this many
// times its mean onset strength: a kick on every beat gathers far more, a
// bass line with no pulse of its own about 1.
constexpr double kLowBandCarries = 2.0;
constexpr double kDisagreement = 1.0 / 8.0; // of a beat

} // namespace

double placeBeatPhase(std::span<const double> lowEnvelope, double fps, double bpm,
                      double fullPhase) {
    if (lowEnvelope.empty() || !(bpm > 0.0))
        return fullPhase;
    const double lowMean =
        std::accumulate(lowEnvelope.begin(), lowEnvelope.end(), 0.0) / double(lowEnvelope.size());
    if (!(lowMean > 0.0))
        return fullPhase;
    const GridFit low = gridScore(lowEnvelope, fps, bpm, std::nullopt);
    if (low.score < kLowBandCarries * lowMean)
        return fullPhase;
    const double period = 60.0 * fps / bpm;
    const double apart = std::fmod(std::abs(low.phase - fullPhase), period);
    const double distance = std::min(apart, period - apart);
    return distance > kDisagreement * period ? low.phase : fullPhase;
}

} // namespace quorlen::detection
