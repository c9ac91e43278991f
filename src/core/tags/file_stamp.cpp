#include "tags/file_stamp.h"

#include <sys/stat.h>

namespace quorlen::tags {

std::optional<FileStamp> stampOf(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0)
        return std::nullopt;
    return FileStamp{static_cast<std::uintmax_t>(status.st_size),
                     std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec};
}

} // namespace quorlen::tags
