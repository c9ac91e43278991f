#include "cli/detect_report.h"

#include "detection/display_text.h"
#include "text/number_format.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace quorlen::cli {
namespace {

const std::string kSeparator = " · ";

std::string jsonNumber(double value) {
    if (!std::isfinite(value))
        return "null";
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

} // namespace

std::string textLine(const std::string& file, const detection::Estimate& e, bool damaged) {
    std::string line = file + ": " + detection::tempoText(e.bpm, false) + " BPM";
    line += kSeparator + detection::confidenceLabel(e.confidence);
    line += kSeparator + text::format("first beat %.3f s", e.beatOffsetSeconds);
    line += kSeparator + "downbeat " + std::to_string(e.downbeat);
    if (e.snappedBars)
        line += kSeparator + std::to_string(*e.snappedBars) + (*e.snappedBars == 1 ? " bar" : " bars");
    if (!e.alternatives.empty())
        line += kSeparator + detection::alternativesText(e.alternatives);
    line += kSeparator + text::format("%.1f s", e.durationSeconds);
    if (damaged)
        line += kSeparator + detection::kDamagedNote;
    return line + '\n';
}

std::string textFailureLine(const std::string& file, const std::string& message) {
    return file + ": " + message + '\n';
}

std::string jsonLine(const std::string& file, const detection::Estimate& e, bool damaged) {
    std::string alternatives;
    for (const double bpm : e.alternatives)
        alternatives += (alternatives.empty() ? "" : ",") + jsonNumber(bpm);
    return "{\"file\":" + jsonString(file) + ",\"bpm\":" + jsonNumber(e.bpm) +
           ",\"beatOffset\":" + jsonNumber(e.beatOffsetSeconds) +
           ",\"downbeat\":" + std::to_string(e.downbeat) +
           ",\"confidence\":" + jsonNumber(e.confidence) + ",\"snappedBars\":" +
           (e.snappedBars ? std::to_string(*e.snappedBars) : "null") + ",\"alternatives\":[" +
           alternatives + "],\"duration\":" + jsonNumber(e.durationSeconds) +
           ",\"damaged\":" + (damaged ? "true" : "false") + "}\n";
}

std::string jsonFailureLine(const std::string& file, const std::string& message) {
    return "{\"file\":" + jsonString(file) + ",\"error\":" + jsonString(message) + "}\n";
}

std::string jsonString(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char escape[8];
                std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
                out += escape;
            } else {
                out += c;
            }
        }
    }
    return out + "\"";
}

} // namespace quorlen::cli
