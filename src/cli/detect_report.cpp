#include "cli/detect_report.h"

#include "cli/json_writer.h"
#include "cli/terminal_text.h"
#include "detection/display_text.h"
#include "text/number_format.h"

#include <charconv>
#include <cmath>

namespace quorlen::cli {
namespace {

const std::string kSeparator = " · ";

std::string shortestJsonNumber(double value) {
    if (!std::isfinite(value))
        return "null";
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

} // namespace

std::string textLine(const std::string& file, const detection::Estimate& e, bool damaged) {
    std::string line = terminalSafe(file) + ": " + detection::tempoText(e.bpm, false) + " BPM";
    line += kSeparator + detection::confidenceLabel(e.confidence);
    line += kSeparator + text::format("first beat %.3f s", e.beatOffsetSeconds);
    line += kSeparator + "downbeat " + std::to_string(e.downbeat);
    if (e.snappedBars)
        line +=
            kSeparator + std::to_string(*e.snappedBars) + (*e.snappedBars == 1 ? " bar" : " bars");
    if (!e.alternatives.empty())
        line += kSeparator + detection::alternativesText(e.alternatives);
    line += kSeparator + text::format("%.1f s", e.durationSeconds);
    if (damaged)
        line += kSeparator + detection::kDamagedNote;
    return line + '\n';
}

std::string textFailureLine(const std::string& file, const std::string& message) {
    return terminalSafe(file) + ": " + terminalSafe(message) + '\n';
}

std::string jsonLine(const std::string& file, const detection::Estimate& e, bool damaged,
                     const detection::OctaveMode& octave) {
    std::string alternatives;
    for (const double bpm : e.alternatives)
        alternatives += (alternatives.empty() ? "" : ",") + shortestJsonNumber(bpm);
    std::string candidates;
    for (const detection::RankedTempo& c : e.candidates)
        candidates += std::string(candidates.empty() ? "" : ",") +
                      "{\"bpm\":" + shortestJsonNumber(c.bpm) + ",\"p\":" + shortestJsonNumber(c.p) +
                      "}";
    return "{\"file\":" + jsonString(file) + ",\"bpm\":" + shortestJsonNumber(e.bpm) +
           ",\"beatOffset\":" + shortestJsonNumber(e.beatOffsetSeconds) +
           ",\"downbeat\":" + std::to_string(e.downbeat) +
           ",\"confidence\":" + shortestJsonNumber(e.confidence) +
           ",\"snappedBars\":" + (e.snappedBars ? std::to_string(*e.snappedBars) : "null") +
           ",\"alternatives\":[" + alternatives +
           "],\"duration\":" + shortestJsonNumber(e.durationSeconds) +
           ",\"damaged\":" + (damaged ? "true" : "false") +
           (octave.kind == detection::OctaveKind::classic
                ? std::string()
                : ",\"octave\":" + jsonString(detection::octaveModeText(octave)) +
                      ",\"candidates\":[" + candidates + "]") +
           "}\n";
}

std::string jsonFailureLine(const std::string& file, const std::string& message) {
    return "{\"file\":" + jsonString(file) + ",\"error\":" + jsonString(message) + "}\n";
}

} // namespace quorlen::cli
