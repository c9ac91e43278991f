#pragma once

#include <iosfwd>
#include <span>
#include <string_view>

namespace quorlen::cli {

inline constexpr std::string_view kHarmonicsSynopsis =
    "quorlen harmonics [NOTE] [--a4 HZ] [--count N] [--json]";
inline constexpr std::string_view kHarmonicsSummary =
    "Harmonics of a note C0 to B4 (default A1; Bb2 is A#2), with their drift from 12-TET.";

int runHarmonicsCommand(std::span<const std::string_view> args, std::ostream& out,
                        std::ostream& err);

} // namespace quorlen::cli
