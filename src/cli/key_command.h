#pragma once

#include <iosfwd>
#include <span>
#include <string_view>

namespace quorlen::cli {

inline constexpr std::string_view kKeySynopsis = "quorlen key KEY [--a4 HZ] [--json]";
inline constexpr std::string_view kKeySummary =
    "A major (C, F#, Db) or minor key (Am, Bbm), or its Camelot code (8B, 11A): signature, "
    "scale, diatonic chords with their root frequencies, related keys.";

int runKeyCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);

} // namespace quorlen::cli
