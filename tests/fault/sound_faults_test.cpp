// The command line's sound output against servers that misbehave: one that
// accepts a connection and never answers, one that freezes in the middle
// of playing. Each must end within seconds with one line and status 1, and
// Ctrl+C must end any of them, at any moment, with 130.
#include "child_process.h"
#include "support/lines.h"
#include "support/private_sound_server.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace quorlen::testing {
namespace {

using namespace std::chrono_literals;
using detection::testing::TempDir;

// A Unix socket that takes connections (the kernel queues them) and never
// says a word: a sound server hung before its first answer.
struct SilentServer {
    SilentServer() {
        sockaddr_un socketAddress{.sun_family = AF_UNIX, .sun_path = {}};
        const std::string path = dir.file("native").string();
        path.copy(socketAddress.sun_path, sizeof socketAddress.sun_path - 1);
        listening = fd >= 0 &&
                    bind(fd, reinterpret_cast<const sockaddr*>(&socketAddress),
                         sizeof socketAddress) == 0 &&
                    listen(fd, 64) == 0;
        address = "unix:" + path;
    }
    ~SilentServer() { close(fd); }

    TempDir dir;
    int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    bool listening = false;
    std::string address;
};

ChildRun quorlenWithServer(const std::string& command, const std::string& server,
                           std::vector<ChildRun::Event> events = {}) {
    ChildRun run;
    run.argv = words(command);
    run.argv.insert(run.argv.begin(), QUORLEN_CLI_PATH);
    run.environment = {{"PULSE_SERVER", server}};
    run.events = std::move(events);
    return run;
}

void expectEnd(const ChildResult& result, int status, const std::string& err) {
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(result.status, status) << result.err;
    EXPECT_EQ(result.err, err);
}

// Ctrl+C ends the program with 130, at once: the promise is half a second,
// the margin is for a loaded machine. The earliest interrupts can land
// before its handler is set up, and the default action then ends it by the
// signal itself, which a shell reports as 130 too.
void expectInterrupted(const ChildResult& result) {
    EXPECT_FALSE(result.timedOut);
    EXPECT_TRUE(result.status == 130 || result.signal == SIGINT)
        << "status " << result.status << ", signal " << result.signal;
    EXPECT_EQ(result.err, "");
    EXPECT_LT(result.secondsAfterLastEvent, 1.0);
}

TEST(SoundFaults, AServerThatNeverAnswersIsNoOutputWithinSecondsOrEndsOnCtrlC) {
    const SilentServer server;
    ASSERT_TRUE(server.listening);
    for (const char* command : {"euclid 3 8 --play --cycles 1", "tempo 120 --click --bars 1"}) {
        SCOPED_TRACE(command);
        const ChildResult result = runChild(quorlenWithServer(command, server.address));
        expectEnd(result, 1,
                  "quorlen " + words(command)[0] + ": no sound output device is available\n");
        EXPECT_LT(result.seconds, 6);
    }
    for (const auto at : {20ms, 300ms, 1500ms}) {
        SCOPED_TRACE(at.count());
        expectInterrupted(
            runChild(quorlenWithServer("euclid 3 8 --play", server.address, {interruptAt(at)})));
    }
}

class FreezingServer : public ::testing::Test {
protected:
    void SetUp() override {
        if (const QString reason = m_server.start(); !reason.isEmpty())
            GTEST_SKIP() << reason.toStdString();
    }
    void TearDown() override { thaw(); }
    void thaw() {
        if (m_server.serverPid() > 0)
            kill(static_cast<pid_t>(m_server.serverPid()), SIGCONT);
    }
    ChildRun::Event freezeAt(std::chrono::milliseconds at) {
        return {at, [pid = static_cast<pid_t>(m_server.serverPid())](int) { kill(pid, SIGSTOP); }};
    }
    std::string address() const { return m_server.address().toStdString(); }

    PrivateSoundServer m_server;
};

TEST_F(FreezingServer, AClockThatStopsIsOutputLost) {
    const ChildResult result =
        runChild(quorlenWithServer("euclid 3 8 --play --cycles 3", address(), {freezeAt(1500ms)}));
    expectEnd(result, 1, "quorlen euclid: the sound output stopped playing\n");
    EXPECT_LT(result.secondsAfterLastEvent, 5);
}

TEST_F(FreezingServer, CtrlCEndsPlayingOrAFrozenServerAtOnce) {
    const std::pair<const char*, std::vector<ChildRun::Event>> cases[] = {
        {"while the output opens", {interruptAt(30ms)}},
        {"at the first clicks", {interruptAt(400ms)}},
        {"while playing", {interruptAt(1200ms)}},
        {"on a frozen server", {freezeAt(800ms), interruptAt(1300ms)}},
    };
    for (const auto& [name, events] : cases) {
        SCOPED_TRACE(name);
        expectInterrupted(runChild(quorlenWithServer("euclid 3 8 --play", address(), events)));
        thaw();
    }
}

} // namespace
} // namespace quorlen::testing
