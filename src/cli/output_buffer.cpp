#include "cli/output_buffer.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace quorlen::cli {

OutputBuffer::OutputBuffer(int fd) : m_fd(fd) {
    setp(m_buffer.data(), m_buffer.data() + m_buffer.size());
}

OutputBuffer::~OutputBuffer() { drain(); }

bool OutputBuffer::drain() {
    const char* next = pbase();
    while (m_error == 0 && next < pptr()) {
        const ssize_t written = ::write(m_fd, next, static_cast<size_t>(pptr() - next));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            m_error = written < 0 ? errno : EIO;
        else
            next += written;
    }
    setp(m_buffer.data(), m_buffer.data() + m_buffer.size());
    return m_error == 0;
}

OutputBuffer::int_type OutputBuffer::overflow(int_type c) {
    if (!drain())
        return traits_type::eof();
    if (!traits_type::eq_int_type(c, traits_type::eof()))
        sputc(traits_type::to_char_type(c));
    return traits_type::not_eof(c);
}

int OutputBuffer::sync() { return drain() ? 0 : -1; }

void occupyClosedStandardDescriptors() {
    for (int fd = 0; fd <= 2; ++fd) {
        if (fcntl(fd, F_GETFD) != -1 || errno != EBADF)
            continue;
        // open() returns the lowest free number, which is this one.
        const int standIn = open("/dev/null", fd == STDERR_FILENO ? O_WRONLY : O_RDONLY);
        if (standIn != fd && standIn >= 0)
            close(standIn);
    }
}

} // namespace quorlen::cli
