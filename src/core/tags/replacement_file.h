#pragma once

#include "tags/file_stamp.h"

#include <string>

namespace quorlen::tags {

// A new version of a file, made as a copy beside it and put in its place by
// one rename: whenever the process stops, the path holds the old file or the
// new one, complete. Until the rename the copy has no name (where the file
// system allows), so a process killed before it leaves nothing behind; any
// failure removes the copy and leaves the original as it was.
class ReplacementFile {
public:
    // Copies the regular file `target` (a path without symbolic links) into a
    // new file in its folder with its permission bits and, where allowed, its
    // owner and group. Throws WriteError.
    explicit ReplacementFile(const std::string& target);
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;

    // The copy, open for reading and writing.
    int descriptor() const { return m_fd; }
    // The target's stamp when it was copied.
    const FileStamp& copiedFrom() const { return m_copiedFrom; }

    // Flushes the copy to the disk and renames it over the target, provided
    // the target still has the stamp it had when copied; returns the new
    // file's stamp. Throws WriteError (the target then stays as it was and
    // the copy is gone).
    FileStamp replaceTarget();

private:
    void nameCopy();
    void discard();

    std::string m_target;
    std::string m_folder;
    std::string m_name; // the copy's path once it has one
    int m_fd = -1;
    FileStamp m_copiedFrom;
    bool m_done = false;
};

} // namespace quorlen::tags
