#pragma once

#include <array>
#include <streambuf>

namespace quorlen::cli {

// A stream buffer that writes to a file descriptor and remembers why a write
// failed (a full disk, a closed pipe or descriptor), so the command line can
// say so instead of ending as if all went out. Once a write has failed,
// everything after it fails too: no output with a hole in the middle.
class OutputBuffer : public std::streambuf {
public:
    explicit OutputBuffer(int fd);
    ~OutputBuffer() override;
    OutputBuffer(const OutputBuffer&) = delete;
    OutputBuffer& operator=(const OutputBuffer&) = delete;

    // The errno of the first failed write, 0 while all went well.
    int error() const { return m_error; }

protected:
    int_type overflow(int_type c) override;
    int sync() override;

private:
    bool drain();

    int m_fd;
    int m_error = 0;
    std::array<char, 16384> m_buffer{};
};

// Gives each of the standard descriptors 0, 1 and 2 that the caller left
// closed a stand-in on /dev/null, so no file opened later takes its number
// and receives output meant for the terminal. Output sent to a stand-in
// for a closed stdout fails (it is opened for reading only), as it should.
void occupyClosedStandardDescriptors();

} // namespace quorlen::cli
