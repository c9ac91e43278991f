#include "detection/display_text.h"

#include "text/number_format.h"

#include <cmath>

namespace quorlen::detection {

std::string tempoText(double bpm, bool shortForm) {
    const double rounded = text::roundHalfAway(bpm * 100.0) / 100.0;
    if (rounded == std::trunc(rounded))
        return text::format("%.0f", rounded);
    return text::format(shortForm ? "%.1f" : "%.2f", rounded);
}

std::string confidenceLabel(double confidence) {
    const char* level = confidence >= 0.7 ? "High" : confidence >= 0.45 ? "Medium" : "Low";
    return std::string(level) + " · " + text::format("%.0f", text::roundHalfAway(confidence * 100.0)) +
           "%";
}

} // namespace quorlen::detection
