#pragma once

#include <iosfwd>
#include <span>
#include <string_view>

namespace quorlen::cli {

inline constexpr std::string_view kTetSynopsis = "quorlen tet N [--ref HZ] [--a4 HZ] [--json]";
inline constexpr std::string_view kTetSummary =
    "The N + 1 steps of N equal divisions of the octave (N 1 to 53, reference 20 to 2000 Hz).";

int runTetCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);

} // namespace quorlen::cli
