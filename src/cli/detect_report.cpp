#include "cli/detect_report.h"

#include "cli/json_writer.h"
#include "cli/terminal_text.h"
#include "detection/display_text.h"
#include "tags/tag_values.h"
#include "text/number_format.h"

#include <cmath>

namespace quorlen::cli {
namespace {

const std::string kSeparator = " · ";

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
                      "{\"bpm\":" + shortestJsonNumber(c.bpm) +
                      ",\"p\":" + shortestJsonNumber(c.p) + "}";
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

std::string withTagOutcome(std::string line, const tags::TagOutcome& outcome, bool json) {
    using tags::TagResult;
    const auto& tagged = outcome.taggedBpm;
    std::string added;
    if (json) {
        added = std::string(",\"tags\":\"") +
                (outcome.result == TagResult::written ? "written"
                 : outcome.result == TagResult::kept  ? "kept"
                                                      : "failed") +
                '"';
        if (tagged) {
            const auto bpm = tags::bpmFromTagText(*tagged);
            added += ",\"taggedBpm\":" + (bpm ? shortestJsonNumber(*bpm) : jsonString(*tagged));
        }
    } else if (outcome.result == TagResult::written) {
        added = kSeparator + "tags written" +
                (tagged ? ", replacing " + terminalSafe(*tagged) + " BPM" : std::string());
    } else if (outcome.result == TagResult::kept) {
        added =
            kSeparator + "tags kept: the file says " + terminalSafe(tagged.value_or("")) + " BPM";
    } else {
        added = kSeparator + "tags not written";
    }
    // Before the closing brace of JSON, before the newline of text.
    line.insert(line.size() - (json ? 2 : 1), added);
    return line;
}

std::string tagFailureLine(const std::string& file, const std::string& reason) {
    return terminalSafe(file) + ": could not write tags: " + terminalSafe(reason) + '\n';
}

} // namespace quorlen::cli
