#include "tags/replacement_file.h"

#include "tags/write_error.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace quorlen::tags {
namespace {

constexpr size_t kCopyChunkBytes = size_t{1} << 20;

// Closes a descriptor when it goes out of scope.
class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

void writeAll(int fd, const char* data, size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            throw systemWriteError(text::failure::kCannotCopy, written < 0 ? errno : ENOSPC);
        data += written;
        size -= static_cast<size_t>(written);
    }
}

void copyContents(int from, int to) {
    std::vector<char> chunk(kCopyChunkBytes);
    for (;;) {
        const ssize_t got = ::read(from, chunk.data(), chunk.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            throw systemWriteError(text::failure::kCannotRead, errno);
        if (got == 0)
            return;
        writeAll(to, chunk.data(), static_cast<size_t>(got));
    }
}

FileStamp stampFrom(const struct stat& status) {
    return {static_cast<std::uintmax_t>(status.st_size),
            std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec};
}

// A name for the copy that no file in the folder has yet: hidden, and
// telling whose it is should one ever be left behind.
std::string candidateName(const std::string& folder, const std::string& target) {
    static thread_local std::mt19937_64 random{std::random_device{}()};
    char suffix[17];
    std::snprintf(suffix, sizeof suffix, "%016llx", static_cast<unsigned long long>(random()));
    return folder + "/." + std::filesystem::path(target).filename().string() + ".quorlen-" + suffix;
}

} // namespace

WriteError systemWriteError(const std::string& what, int errorNumber) {
    return WriteError(what + ": " + std::strerror(errorNumber));
}

ReplacementFile::ReplacementFile(const std::string& target)
    : m_target(target), m_folder(std::filesystem::path(target).parent_path().string()) {
    if (m_folder.empty())
        m_folder = ".";
    const Descriptor source(::open(target.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    if (source.get() < 0 || ::fstat(source.get(), &status) != 0)
        throw systemWriteError(text::failure::kCannotRead, errno);
    if (!S_ISREG(status.st_mode))
        throw WriteError(text::failure::kNotRegularFile);
    m_copiedFrom = stampFrom(status);

    m_fd = ::open(m_folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    // File systems without unnamed files get a named copy at once.
    if (m_fd < 0 && (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL)) {
        for (int attempt = 0; attempt < 16 && m_fd < 0; ++attempt) {
            m_name = candidateName(m_folder, target);
            m_fd = ::open(m_name.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0600);
            if (m_fd < 0 && errno != EEXIST)
                break;
        }
        if (m_fd < 0)
            m_name.clear();
    }
    if (m_fd < 0)
        throw systemWriteError(text::failure::kCannotCreateBeside, errno);
    try {
        // Mode bits first: the copy then never has more rights than the
        // original, and an owner that cannot be kept only changes who owns it.
        if (::fchmod(m_fd, status.st_mode & 07777) != 0)
            throw systemWriteError(text::failure::kCannotSetPermissions, errno);
        if (::fchown(m_fd, status.st_uid, status.st_gid) == 0)
            ::fchmod(m_fd, status.st_mode & 07777); // chown clears set-id bits
        copyContents(source.get(), m_fd);
    } catch (...) {
        discard();
        throw;
    }
}

ReplacementFile::~ReplacementFile() {
    if (!m_done)
        discard();
}

void ReplacementFile::discard() {
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
    if (!m_name.empty())
        ::unlink(m_name.c_str());
    m_name.clear();
    m_done = true;
}

void ReplacementFile::nameCopy() {
    if (!m_name.empty())
        return;
    // Linking through /proc needs no privilege, unlike AT_EMPTY_PATH.
    const std::string self = "/proc/self/fd/" + std::to_string(m_fd);
    for (int attempt = 0; attempt < 16; ++attempt) {
        const std::string name = candidateName(m_folder, m_target);
        if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            m_name = name;
            return;
        }
        if (errno != EEXIST)
            throw systemWriteError(text::failure::kCannotName, errno);
    }
    throw systemWriteError(text::failure::kCannotName, EEXIST);
}

FileStamp ReplacementFile::replaceTarget() {
    struct stat copied {};
    try {
        if (m_fd < 0)
            throw WriteError(text::failure::kNewFileGone);
        if (::fsync(m_fd) != 0 || ::fstat(m_fd, &copied) != 0)
            throw systemWriteError(text::failure::kCannotSync, errno);
        nameCopy();
        struct stat status {};
        if (::stat(m_target.c_str(), &status) != 0 || stampFrom(status) != m_copiedFrom)
            throw WriteError(text::failure::kChangedWhileWritten);
        if (::rename(m_name.c_str(), m_target.c_str()) != 0)
            throw systemWriteError(text::failure::kCannotReplace, errno);
    } catch (...) {
        discard();
        throw;
    }
    m_name.clear();
    ::close(m_fd);
    m_fd = -1;
    m_done = true;
    // The rename itself reaches the disk with the folder. The file is
    // already replaced, so a failure here changes nothing that can be undone.
    const Descriptor folder(::open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.get() >= 0)
        ::fsync(folder.get());
    return stampFrom(copied);
}

} // namespace quorlen::tags
