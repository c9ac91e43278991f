#pragma once

#include <iosfwd>
#include <span>
#include <string_view>

namespace quorlen::cli {

inline constexpr std::string_view kNotesSynopsis = "quorlen notes [--a4 HZ] [--json]";
inline constexpr std::string_view kNotesSummary =
    "Frequencies of every note from C0 to B8 (A4 400 to 480 Hz, default 440).";

int runNotesCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);

} // namespace quorlen::cli
