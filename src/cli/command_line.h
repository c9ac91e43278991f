#pragma once

#include <iosfwd>
#include <span>
#include <string_view>

namespace quorlen::cli {

// Exit statuses: 0 done, 1 some input could not be processed, 2 the
// arguments were not understood, 130 stopped by Ctrl+C (128 + SIGINT).
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitInterrupted = 130;

// Runs one invocation; `args` excludes the program name. Results go to
// `out`, reasons for refusing the arguments to `err`.
int runCommandLine(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);

} // namespace quorlen::cli
