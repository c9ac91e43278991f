#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorlen::detection {

// How the reported tempo's octave is chosen among the candidates the
// periodicity analysis produces.
enum class OctaveKind {
    classic,   // the detector's own ranking, unchanged
    automatic, // the octave model decides between the tempo's relatives
    range,     // the classic tempo folded by factors of two into [low, high)
};

struct OctaveMode {
    // The bounds a range may have, those of the app's picker: tempos of
    // music, where a fold by factors of two still means something.
    static constexpr double kLowestBpm = 30.0;      // lowBpm at least
    static constexpr double kHighestLowBpm = 200.0; // lowBpm at most
    static constexpr double kHighestBpm = 400.0;    // highBpm at most

    OctaveKind kind = OctaveKind::classic;
    double lowBpm = 0.0;  // range only
    double highBpm = 0.0; // range only, at least 2 x lowBpm so every tempo folds in

    bool operator==(const OctaveMode&) const = default;

    static OctaveMode classic() { return {}; }
    static OctaveMode automatic() { return {OctaveKind::automatic}; }
    // nullopt unless kLowestBpm <= low <= kHighestLowBpm and
    // 2 low <= high <= kHighestBpm.
    static std::optional<OctaveMode> range(double lowBpm, double highBpm);
};

// Reads "classic", "auto" or "LO-HI" (e.g. "80-160"; decimals with "." are
// allowed); nullopt for anything else, including a range narrower than an
// octave or beyond the bounds above.
std::optional<OctaveMode> parseOctaveMode(std::string_view text);

// The text `parseOctaveMode` reads back: "classic", "auto", "80-160".
std::string octaveModeText(const OctaveMode& mode);

// `bpm` times the power of two that brings it into [lowBpm, highBpm);
// needs highBpm >= 2 lowBpm and bpm > 0.
double foldIntoRange(double bpm, double lowBpm, double highBpm);

} // namespace quorlen::detection
