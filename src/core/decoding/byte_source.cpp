#include "decoding/byte_source.h"

#include "decoding/read_error.h"

extern "C" {
#include <libavutil/error.h>
}

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorlen::decoding {
namespace {

const char* openErrorMessage(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
    case ENAMETOOLONG:
        return text::failure::kNotFound;
    case EACCES:
    case EPERM:
        return text::failure::kPermissionDenied;
    case ENOMEM:
        return text::failure::kOutOfMemory;
    default:
        return text::failure::kCouldNotRead;
    }
}

std::int64_t clampedPosition(std::int64_t base, std::int64_t offset, std::int64_t size) {
    return std::clamp<std::int64_t>(base + offset, 0, size);
}

class FileBytes final : public ByteSource {
public:
    explicit FileBytes(int fd, std::int64_t size) : m_fd(fd), m_size(size) {}
    ~FileBytes() override { ::close(m_fd); }
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;

    int read(std::uint8_t* buffer, int size) override {
        for (;;) {
            const ssize_t n = ::read(m_fd, buffer, static_cast<size_t>(size));
            if (n > 0)
                return static_cast<int>(n);
            if (n == 0)
                return AVERROR_EOF;
            if (errno != EINTR)
                return AVERROR(errno);
        }
    }

    std::int64_t seek(std::int64_t offset, int whence) override {
        const off_t position = ::lseek(m_fd, static_cast<off_t>(offset), whence);
        return position < 0 ? AVERROR(errno) : static_cast<std::int64_t>(position);
    }

    std::int64_t size() const override { return m_size; }

private:
    int m_fd;
    std::int64_t m_size;
};

class MemoryBytes final : public ByteSource {
public:
    explicit MemoryBytes(std::span<const std::byte> bytes) : m_bytes(bytes) {}

    int read(std::uint8_t* buffer, int size) override {
        const auto available = static_cast<std::int64_t>(m_bytes.size()) - m_position;
        const auto n = static_cast<int>(std::min<std::int64_t>(size, available));
        if (n <= 0)
            return AVERROR_EOF;
        std::memcpy(buffer, m_bytes.data() + m_position, static_cast<size_t>(n));
        m_position += n;
        return n;
    }

    std::int64_t seek(std::int64_t offset, int whence) override {
        const auto size = static_cast<std::int64_t>(m_bytes.size());
        const std::int64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? m_position : size;
        m_position = clampedPosition(base, offset, size);
        return m_position;
    }

    std::int64_t size() const override { return static_cast<std::int64_t>(m_bytes.size()); }

private:
    std::span<const std::byte> m_bytes;
    std::int64_t m_position = 0;
};

} // namespace

std::unique_ptr<ByteSource> openFileBytes(const std::string& path) {
    // O_NONBLOCK: opening a FIFO without a writer would otherwise wait
    // forever. The type is checked on the opened descriptor, so nothing can
    // be swapped in between.
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0)
        throw ReadError(openErrorMessage(errno));
    struct stat status {};
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(fd);
        throw ReadError(text::failure::kNotRegular);
    }
    const int flags = ::fcntl(fd, F_GETFL);
    if (flags >= 0)
        ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
    return std::make_unique<FileBytes>(fd, static_cast<std::int64_t>(status.st_size));
}

std::unique_ptr<ByteSource> memoryBytes(std::span<const std::byte> bytes) {
    return std::make_unique<MemoryBytes>(bytes);
}

} // namespace quorlen::decoding
