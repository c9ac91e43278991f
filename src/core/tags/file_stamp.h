#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quorlen::tags {

// What tells that a file changed: its size and modification time, taken
// before the analysis and compared before the tags go in.
struct FileStamp {
    std::uintmax_t sizeBytes = 0;
    std::int64_t modifiedNs = 0; // since the epoch

    bool operator==(const FileStamp&) const = default;
};

// The stamp of the file at `path` (symbolic links followed); nullopt when it
// cannot be looked at.
std::optional<FileStamp> stampOf(const std::string& path);

} // namespace quorlen::tags
