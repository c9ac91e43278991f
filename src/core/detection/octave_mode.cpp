#include "detection/octave_mode.h"

#include <charconv>
#include <cmath>

namespace quorlen::detection {
namespace {

std::optional<double> plainNumber(std::string_view text) {
    double value = 0.0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, std::chars_format::fixed);
    if (text.empty() || error != std::errc() || stop != end || !std::isfinite(value))
        return std::nullopt;
    return value;
}

// Shortest text that reads back as the same number ("80", "72.5"), never
// in exponent form, which the parser refuses.
std::string numberText(double value) {
    char buffer[32];
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    return std::string(buffer, result.ptr);
}

} // namespace

std::optional<OctaveMode> OctaveMode::range(double lowBpm, double highBpm) {
    if (!(lowBpm >= kLowestBpm && lowBpm <= kHighestLowBpm && highBpm >= 2.0 * lowBpm &&
          highBpm <= kHighestBpm))
        return std::nullopt;
    return OctaveMode{OctaveKind::range, lowBpm, highBpm};
}

std::optional<OctaveMode> parseOctaveMode(std::string_view text) {
    if (text == "classic")
        return OctaveMode::classic();
    if (text == "auto")
        return OctaveMode::automatic();
    const size_t dash = text.find('-');
    if (dash == std::string_view::npos)
        return std::nullopt;
    const auto low = plainNumber(text.substr(0, dash));
    const auto high = plainNumber(text.substr(dash + 1));
    if (!low || !high)
        return std::nullopt;
    return OctaveMode::range(*low, *high);
}

std::string octaveModeText(const OctaveMode& mode) {
    switch (mode.kind) {
    case OctaveKind::classic:
        return "classic";
    case OctaveKind::automatic:
        return "auto";
    case OctaveKind::range:
        break;
    }
    return numberText(mode.lowBpm) + "-" + numberText(mode.highBpm);
}

double foldIntoRange(double bpm, double lowBpm, double highBpm) {
    while (bpm < lowBpm)
        bpm *= 2.0;
    while (bpm >= highBpm)
        bpm *= 0.5;
    return bpm;
}

} // namespace quorlen::detection
