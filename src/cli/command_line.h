#pragma once

#include <iosfwd>
#include <span>
#include <string_view>

namespace quorlen::cli {

// Exit statuses: 0 done, 2 the arguments were not understood.
inline constexpr int kExitOk = 0;
inline constexpr int kExitUsage = 2;

// Runs one invocation; `args` excludes the program name. Results go to
// `out`, reasons for refusing the arguments to `err`.
int runCommandLine(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);

} // namespace quorlen::cli
