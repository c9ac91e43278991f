#pragma once

#include <iosfwd>
#include <span>
#include <string_view>

namespace quorlen::cli {

inline constexpr std::string_view kTempoSynopsis =
    "quorlen tempo [BPM] [--json] [--click [--bars N]]";
inline constexpr std::string_view kTempoSummary =
    "Note lengths in ms and Hz from 32 bars to 1/128, straight, dotted and triplet; "
    "--click plays a metronome.";

// `quorlen tempo`: the tempo tool's header figures and its thirteen-row
// table, for a tempo read like the app's field (default 120, 1 to 999);
// with --click, then a 4/4 metronome for N bars or until Ctrl+C.
int runTempoCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);

} // namespace quorlen::cli
