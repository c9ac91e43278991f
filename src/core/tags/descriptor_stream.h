#pragma once

#include <optional>
#include <string>
#include <taglib/tiostream.h>

namespace quorlen::tags {

// TagLib's view of an open file descriptor that remembers the first read or
// write that failed. TagLib's own file stream drops write errors, so a disk
// that fills up while tags are saved would pass unnoticed; here the caller
// asks `failure()` after saving. Does not own the descriptor.
class DescriptorStream final : public TagLib::IOStream {
public:
    DescriptorStream(int fd, std::string name);

    // The system's error number of the first failed read or write.
    std::optional<int> failure() const { return m_failure; }

    TagLib::FileName name() const override { return m_name.c_str(); }
    TagLib::ByteVector readBlock(unsigned long length) override;
    void writeBlock(const TagLib::ByteVector& data) override;
    void insert(const TagLib::ByteVector& data, unsigned long start = 0,
                unsigned long replace = 0) override;
    void removeBlock(unsigned long start = 0, unsigned long length = 0) override;
    bool readOnly() const override { return false; }
    bool isOpen() const override { return m_fd >= 0; }
    void seek(long offset, Position p = Beginning) override;
    long tell() const override { return m_position; }
    long length() override;
    void truncate(long length) override;

private:
    bool readAt(char* data, size_t size, long offset, size_t& got);
    bool writeAt(const char* data, size_t size, long offset);
    // Moves the bytes from `from` to the end of the file so that they start
    // at `to`, in chunks, in the order that never overwrites bytes still to
    // be moved.
    bool moveTail(long from, long to);
    void fail(int errorNumber);

    int m_fd;
    std::string m_name;
    long m_position = 0;
    std::optional<int> m_failure;
};

} // namespace quorlen::tags
