#include "tempo/tempo_field.h"

#include "text/number_format.h"

#include <algorithm>

namespace quorlen::tempo {

double commitBpmText(std::string_view text, double currentBpm) {
    return text::commitTypedNumber(text, currentBpm, kTypedBpmRange);
}

std::optional<double> liveBpm(std::string_view text) {
    const auto parsed = text::parseTypedNumber(text);
    if (!parsed)
        return std::nullopt;
    return std::clamp(*parsed, kTypedBpmRange.min, kTypedBpmRange.max);
}

double steppedBpm(double bpm, int direction) {
    return std::clamp(bpm + direction, kControlBpmRange.min, kControlBpmRange.max);
}

std::string bpmFieldText(double bpm) {
    return text::format(bpm == text::roundHalfAway(bpm) ? "%.0f" : "%.2f", bpm);
}

std::string msText(double ms) { return text::format("%.2f", ms); }

std::string hzText(double hz) {
    if (hz < 0.1)
        return text::format("%.4f", hz);
    if (hz < 1.0)
        return text::format("%.3f", hz);
    return text::format("%.2f", hz);
}

} // namespace quorlen::tempo
