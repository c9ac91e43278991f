#pragma once

#include "tags/audio_tags.h"
#include "tags/file_stamp.h"

#include <optional>
#include <string>

namespace quorlen::tags {

// What to write into one file.
struct TagRequest {
    double bpm = 0;
    // The key in ASCII spelling ("F#m", "Db"); absent leaves the key tag alone.
    std::optional<std::string> key = std::nullopt;
    // Replace a BPM tag the file already has; without it such a file is kept.
    bool replaceExisting = false;
    // The file as it was analysed; a file that differs now is not written.
    std::optional<FileStamp> analyzed = std::nullopt;
};

enum class TagResult { written, kept, failed };

struct TagOutcome {
    TagResult result = TagResult::failed;
    // The BPM tag the file had before, as written there (absent if none).
    std::optional<std::string> taggedBpm = std::nullopt;
    // The tempo as it went into the tag ("128", "127.93"), when written.
    std::string writtenBpm = {};
    // The new file's stamp, when written: what a later write compares to.
    std::optional<FileStamp> writtenStamp = std::nullopt;
    // Why, when failed: the end of "PATH: could not write tags: REASON".
    std::string reason = {};
};

// Writes the tempo (and key) tags of the audio file at `path` through a copy
// that replaces it by rename: every other tag, picture and audio byte stays,
// and the file keeps its permission bits. A symbolic link stays a link; its
// target is replaced. Never throws.
TagOutcome writeTempoTags(const std::string& path, const TagRequest& request);

// The tempo and key tags of the file at `path`. Throws WriteError when it is
// not a file of a kind whose tags are written.
TempoTags readTempoTags(const std::string& path);

} // namespace quorlen::tags
