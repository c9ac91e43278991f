#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace quorlen::decoding {

// The bytes of one file, read and sought in the demuxer's terms: counts of
// bytes, or a negative FFmpeg error code (AVERROR_EOF at the end).
class ByteSource {
public:
    virtual ~ByteSource() = default;
    virtual int read(std::uint8_t* buffer, int size) = 0;
    // `whence` is SEEK_SET, SEEK_CUR or SEEK_END; returns the new position.
    virtual std::int64_t seek(std::int64_t offset, int whence) = 0;
    // Total size in bytes, or a negative error code when unknown.
    virtual std::int64_t size() const = 0;
};

// Opens `path` for reading without ever blocking: a FIFO, a device or a
// folder is refused at once, before anything waits on it. Throws ReadError
// ("File not found", "Permission denied", "Not a regular file", ...).
std::unique_ptr<ByteSource> openFileBytes(const std::string& path);

// Bytes held by the caller, which must outlive the source.
std::unique_ptr<ByteSource> memoryBytes(std::span<const std::byte> bytes);

} // namespace quorlen::decoding
