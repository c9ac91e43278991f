#pragma once

#include <iosfwd>
#include <span>
#include <string_view>

namespace quorlen::cli {

inline constexpr std::string_view kSpaceSynopsis =
    "quorlen space [BPM] [--total BARS] [--pre N] [--json]";
inline constexpr std::string_view kSpaceSummary =
    "Reverb pre-delay, decay and total, and delay times. BARS: 0.25 0.5 1 2 4 8 (default 1);\n"
    "      N: 256 128 64 32 16 (default 64, a 1/64 note).";

// `quorlen space`: the reverb and delay tool's figures. The tempo is read
// like the app's tempo field, then clamped to 20 to 400 as the tool does.
int runSpaceCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);

} // namespace quorlen::cli
