#include "detection/display_text.h"

#include "text/number_format.h"

#include <cmath>

namespace quorlen::detection {
namespace {

const std::string kSeparator = " · ";

double roundedToCents(double value) { return text::roundHalfAway(value * 100.0) / 100.0; }

} // namespace

std::string tempoText(double bpm, bool shortForm) {
    const double rounded = roundedToCents(bpm);
    if (rounded == std::trunc(rounded))
        return text::format("%.0f", rounded);
    return text::format(shortForm ? "%.1f" : "%.2f", rounded);
}

ConfidenceLevel confidenceLevel(double confidence) {
    return confidence >= 0.7    ? ConfidenceLevel::high
           : confidence >= 0.45 ? ConfidenceLevel::medium
                                : ConfidenceLevel::low;
}

std::string confidenceLabel(double confidence) {
    const ConfidenceLevel level = confidenceLevel(confidence);
    const char* name = level == ConfidenceLevel::high     ? "High"
                       : level == ConfidenceLevel::medium ? "Medium"
                                                          : "Low";
    return std::string(name) + kSeparator +
           text::format("%.0f", text::roundHalfAway(confidence * 100.0)) + "%";
}

std::string alternativesText(const std::vector<double>& alternativesBpm) {
    std::string list;
    for (const double bpm : alternativesBpm) {
        const double rounded = roundedToCents(bpm);
        list += (list.empty() ? "" : ", ") +
                text::format(rounded == std::trunc(rounded) ? "%.0f" : "%.1f", rounded);
    }
    return "also plausible: " + list + " BPM";
}

std::string detectionNote(const NoteInput& input) {
    std::string note = input.name + kSeparator + text::format("%.1f s", input.durationSeconds);
    if (input.damaged)
        note += kSeparator + kDamagedNote;
    if (!input.tagNote.empty())
        note += kSeparator + input.tagNote;
    if (input.snappedBars)
        note += kSeparator + "file length fits exactly " + std::to_string(*input.snappedBars) +
                " bars — tempo snapped to the loop";
    if (confidenceLevel(input.confidence) != ConfidenceLevel::high)
        note += kSeparator + "check the grid against the waveform; ÷2 and ×2 fix octave mistakes";
    if (!input.alternativesBpm.empty())
        note += kSeparator + alternativesText(input.alternativesBpm);
    return note;
}

} // namespace quorlen::detection
