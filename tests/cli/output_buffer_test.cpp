#include "cli/output_buffer.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <ostream>
#include <string>
#include <unistd.h>

namespace quorlen::cli {
namespace {

TEST(OutputBuffer, DeliversEverythingToAWorkingDescriptor) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    {
        OutputBuffer buffer(fds[1]);
        std::ostream out(&buffer);
        // More than one buffer's worth, so overflow and the final flush both run.
        out << std::string(20000, 'x') << "end\n" << std::flush;
        EXPECT_TRUE(out);
        EXPECT_EQ(buffer.error(), 0);
    }
    close(fds[1]);
    std::string received;
    char chunk[4096];
    for (ssize_t n; (n = read(fds[0], chunk, sizeof chunk)) > 0;)
        received.append(chunk, static_cast<size_t>(n));
    close(fds[0]);
    EXPECT_EQ(received, std::string(20000, 'x') + "end\n");
}

TEST(OutputBuffer, RemembersWhyTheOutputFailed) {
    // With SIGPIPE ignored (as under many shells' pipelines of tools), a
    // reader that went away shows as EPIPE rather than ending the program.
    const auto previous = std::signal(SIGPIPE, SIG_IGN);
    int pipeFds[2];
    ASSERT_EQ(pipe(pipeFds), 0);
    close(pipeFds[0]);
    const struct {
        const char* what;
        int fd;
        int error;
    } cases[] = {
        {"a full disk", open("/dev/full", O_WRONLY), ENOSPC},
        {"a descriptor open for reading", open("/dev/null", O_RDONLY), EBADF},
        {"a pipe nobody reads", pipeFds[1], EPIPE},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_GE(c.fd, 0);
        OutputBuffer buffer(c.fd);
        std::ostream out(&buffer);
        out << "Tempo 120 BPM\n" << std::flush;
        EXPECT_FALSE(out);
        EXPECT_EQ(buffer.error(), c.error);
        // Later writes fail too: no output with a hole in the middle.
        out.clear();
        out << "more" << std::flush;
        EXPECT_FALSE(out);
        close(c.fd);
    }
    std::signal(SIGPIPE, previous);
}

} // namespace
} // namespace quorlen::cli
