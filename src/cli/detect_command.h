#pragma once

#include <atomic>
#include <iosfwd>
#include <span>
#include <string_view>

namespace quorlen::cli {

inline constexpr std::string_view kDetectSynopsis =
    "quorlen detect [--json|--csv] [--key] [-j N] [--octave classic|auto|LO-HI] "
    "[--write-tags [--force]] PATH...";
inline constexpr std::string_view kDetectSummary =
    "Tempo, beat offset, downbeat and confidence of audio files, or of folders of them; with "
    "--key also their key and tuning.";

// What `quorlen detect` needs from its surroundings, so tests can supply it.
struct DetectEnvironment {
    const std::atomic<bool>* interrupted = nullptr; // raised by Ctrl+C
    bool stderrIsTerminal = false;                  // progress line only on a terminal
    int defaultThreads = 1;
};

// `quorlen detect [--json|--csv] [--key] [-j N] [--octave MODE] [--write-tags
// [--force]] PATH...`: tempo of every file, one line each in input order
// (CSV: after a header row, the JSON's members as columns),
// analysed on N threads, its octave chosen as MODE says (classic by
// default); --key adds the key and tuning (JSON members, or a second line
// of text). With --write-tags the tempo (and with --key the key) goes into
// each file's tags too (a file that has a BPM tag keeps it unless --force).
// A file that fails, and a folder without audio files, get a line of their
// own: in JSON among the results, in text on `err`. Exit 0 when all were
// analysed (and tagged), 1 when any failed, 2 for bad arguments, 130 when
// interrupted.
int runDetect(std::span<const std::string_view> args, std::ostream& out, std::ostream& err,
              const DetectEnvironment& environment);

// The command-table entry: Ctrl+C handling, the terminal check and the
// machine's core count around `runDetect`.
int detectCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);

} // namespace quorlen::cli
