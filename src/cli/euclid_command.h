#pragma once

#include <iosfwd>
#include <span>
#include <string_view>

namespace quorlen::cli {

inline constexpr std::string_view kEuclidSynopsis =
    "quorlen euclid K N [--rotate R] [--note 4|8|16] [--bpm B] [--json] [--play [--cycles C]]";
inline constexpr std::string_view kEuclidSummary =
    "K hits spread over N steps: the pattern, its hits, step and cycle in ms; --play plays it.";

// `quorlen euclid`: prints the pattern in x/. notation, its hit indices, and the step and
// cycle lengths in ms; --json gives the same as one object. --play then plays it as the
// rhythm tool does, for C cycles or until Ctrl+C.
int runEuclid(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);

} // namespace quorlen::cli
