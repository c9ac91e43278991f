#include "tempo/tap_tempo.h"

#include "tempo/tempo_field.h"
#include "text/number_format.h"

#include <algorithm>

namespace quorlen::tempo {

TapOutcome tap(std::span<const double> tapTimesSeconds, double nowSeconds) {
    TapOutcome outcome;
    const bool paused =
        !tapTimesSeconds.empty() && nowSeconds - tapTimesSeconds.back() > kTapResetSeconds;
    if (!paused)
        outcome.tapTimesSeconds.assign(tapTimesSeconds.begin(), tapTimesSeconds.end());
    outcome.tapTimesSeconds.push_back(nowSeconds);
    outcome.bpm = tapTempoBpm(outcome.tapTimesSeconds);
    return outcome;
}

std::optional<double> tapTempoBpm(std::span<const double> tapTimesSeconds) {
    if (tapTimesSeconds.size() < 2)
        return std::nullopt;
    const auto recent = tapTimesSeconds.last(std::min(tapTimesSeconds.size(), kTapWindow));
    double sumSeconds = 0;
    for (size_t i = 1; i < recent.size(); ++i)
        sumSeconds += recent[i] - recent[i - 1];
    const double averageSeconds = sumSeconds / static_cast<double>(recent.size() - 1);
    // Taps at one instant (or a clock that stepped back) are as fast as it
    // gets; this also keeps infinities and NaN out of the rounding.
    if (!(averageSeconds > 0))
        return kControlBpmRange.max;
    const double candidate = text::roundHalfAway(60.0 / averageSeconds);
    return std::clamp(candidate, kControlBpmRange.min, kControlBpmRange.max);
}

} // namespace quorlen::tempo
