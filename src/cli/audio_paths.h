#pragma once

#include <string>
#include <vector>

namespace quorlen::cli {

inline constexpr const char* kNoAudioFiles = "No audio files found";

// One path to analyse, or one that could not be looked into.
struct AudioPath {
    std::string path;
    std::string error; // why the folder could not be read ("Permission denied"); empty if fine
};

// The files a list of command-line paths stands for, in order: a file as
// given (whatever its name, so a wrong one is reported rather than skipped),
// a directory as its audio files (by extension) found recursively, sorted by
// path. A path that does not exist is kept, so its analysis reports why; a
// folder that cannot be read, the given one or one inside it, is kept with
// the reason.
// A folder without any audio file is kept with `kNoAudioFiles`: asking for
// the tempo of nothing is a mistake the caller should hear of.
// Symbolic links to folders are not followed, so a link loop ends the walk.
std::vector<AudioPath> expandAudioPaths(const std::vector<std::string>& paths);

} // namespace quorlen::cli
