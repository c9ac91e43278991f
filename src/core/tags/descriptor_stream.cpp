#include "tags/descriptor_stream.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace quorlen::tags {
namespace {

constexpr long kMoveChunkBytes = long{1} << 20;

} // namespace

DescriptorStream::DescriptorStream(int fd, std::string name) : m_fd(fd), m_name(std::move(name)) {}

void DescriptorStream::fail(int errorNumber) {
    if (!m_failure)
        m_failure = errorNumber;
}

bool DescriptorStream::readAt(char* data, size_t size, long offset, size_t& got) {
    got = 0;
    while (got < size) {
        const ssize_t n = ::pread(m_fd, data + got, size - got, offset + long(got));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            fail(errno);
            return false;
        }
        if (n == 0)
            break;
        got += size_t(n);
    }
    return true;
}

bool DescriptorStream::writeAt(const char* data, size_t size, long offset) {
    size_t done = 0;
    while (done < size) {
        const ssize_t n = ::pwrite(m_fd, data + done, size - done, offset + long(done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            fail(n < 0 ? errno : ENOSPC);
            return false;
        }
        done += size_t(n);
    }
    return true;
}

TagLib::ByteVector DescriptorStream::readBlock(unsigned long length) {
    const long available = std::max(0L, DescriptorStream::length() - m_position);
    TagLib::ByteVector block(static_cast<unsigned int>(std::min<unsigned long>(length, available)),
                             '\0');
    size_t got = 0;
    readAt(block.data(), block.size(), m_position, got);
    block.resize(static_cast<unsigned int>(got));
    m_position += long(got);
    return block;
}

void DescriptorStream::writeBlock(const TagLib::ByteVector& data) {
    if (writeAt(data.data(), data.size(), m_position))
        m_position += long(data.size());
}

bool DescriptorStream::moveTail(long from, long to) {
    const long end = length();
    if (from >= end || from == to)
        return true;
    std::vector<char> chunk(size_t(std::min(kMoveChunkBytes, end - from)));
    const long shift = to - from;
    // Moving forward, the last chunk goes first; moving back, the first.
    const long count = (end - from + long(chunk.size()) - 1) / long(chunk.size());
    for (long i = 0; i < count; ++i) {
        const long index = shift > 0 ? count - 1 - i : i;
        const long at = from + index * long(chunk.size());
        const size_t size = size_t(std::min(long(chunk.size()), end - at));
        size_t got = 0;
        if (!readAt(chunk.data(), size, at, got) || !writeAt(chunk.data(), got, at + shift))
            return false;
    }
    return true;
}

void DescriptorStream::insert(const TagLib::ByteVector& data, unsigned long start,
                              unsigned long replace) {
    const long oldLength = length();
    const long tail = std::min(long(start + replace), std::max(oldLength, long(start)));
    const long newTail = long(start + data.size());
    if (newTail != tail && !moveTail(tail, newTail))
        return;
    if (!writeAt(data.data(), data.size(), long(start)))
        return;
    if (newTail < tail)
        truncate(oldLength - (tail - newTail));
    m_position = newTail;
}

void DescriptorStream::removeBlock(unsigned long start, unsigned long length) {
    insert(TagLib::ByteVector(), start, length);
}

void DescriptorStream::seek(long offset, Position p) {
    const long base = p == Beginning ? 0 : p == Current ? m_position : length();
    m_position = std::max(0L, base + offset);
}

long DescriptorStream::length() {
    struct stat status {};
    if (::fstat(m_fd, &status) != 0) {
        fail(errno);
        return 0;
    }
    return long(status.st_size);
}

void DescriptorStream::truncate(long length) {
    if (::ftruncate(m_fd, length) != 0)
        fail(errno);
}

} // namespace quorlen::tags
