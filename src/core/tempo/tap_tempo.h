#pragma once

#include <optional>
#include <span>
#include <vector>

namespace quorlen::tempo {

// A pause longer than this (in seconds) between two taps starts a new
// sequence.
inline constexpr double kTapResetSeconds = 2.5;
// The tempo follows the last nine taps (eight intervals), so a hesitant
// first tap is soon forgotten.
inline constexpr size_t kTapWindow = 9;

struct TapOutcome {
    // The sequence after this tap, oldest first; the caller keeps it for
    // the next tap.
    std::vector<double> tapTimesSeconds;
    // The tempo to set, whole and within 20...400 BPM; nothing until the
    // sequence has two taps.
    std::optional<double> bpm;
};

// One tap at `nowSeconds` after the earlier taps of the sequence. Time
// stamps are seconds on any clock that never goes backwards.
TapOutcome tap(std::span<const double> tapTimesSeconds, double nowSeconds);

// The tempo of a tap sequence: 60 / mean interval of its last nine taps,
// rounded to a whole BPM and clamped to 20...400; nothing for fewer than
// two taps.
std::optional<double> tapTempoBpm(std::span<const double> tapTimesSeconds);

} // namespace quorlen::tempo
