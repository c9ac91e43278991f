#pragma once

#include <string>
#include <vector>

namespace quorlen::cli {

// The files a list of command-line paths stands for, in order: a file as
// given (whatever its name, so a wrong one is reported rather than skipped),
// a directory as its audio files (by extension) found recursively, sorted by path. A path
// that does not exist is kept, so its analysis reports why.
std::vector<std::string> expandAudioPaths(const std::vector<std::string>& paths);

} // namespace quorlen::cli
