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
class SilentServer {
public:
    SilentServer() {
        m_fd = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = m_dir.file("native").string();
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        m_listening =
            m_fd >= 0 &&
            bind(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
            listen(m_fd, 64) == 0;
        m_address = "unix:" + path;
    }
    ~SilentServer() {
        if (m_fd >= 0)
            close(m_fd);
    }
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;

    bool listening() const { return m_listening; }
    const std::string& address() const { return m_address; }

private:
    TempDir m_dir;
    int m_fd = -1;
    bool m_listening = false;
    std::string m_address;
};

ChildRun quorlenWithServer(const std::string& command, const std::string& server) {
    ChildRun run;
    run.argv = {QUORLEN_CLI_PATH};
    for (const std::string& word : words(command))
        run.argv.push_back(word);
    run.environment = {{"PULSE_SERVER", server}};
    run.timeout = 20s;
    return run;
}

void expectEnd(const ChildResult& result, int status, const std::string& err) {
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(result.status, status) << result.err;
    EXPECT_EQ(result.err, err);
}

// Ctrl+C ends the program with 130. On a loaded machine the earliest
// interrupts can land before its handler is set up, and the default action
// then ends it by the signal itself, which a shell reports as 130 too.
void expectInterrupted(const ChildResult& result) {
    EXPECT_FALSE(result.timedOut);
    EXPECT_TRUE(result.status == 130 || result.signal == SIGINT)
        << "status " << result.status << ", signal " << result.signal;
    EXPECT_EQ(result.err, "");
}

TEST(SoundFaults, AServerThatNeverAnswersIsNoOutputWithinSeconds) {
    const SilentServer server;
    ASSERT_TRUE(server.listening());
    const struct {
        const char* command;
        const char* err;
    } cases[] = {
        {"euclid 3 8 --play --cycles 1", "quorlen euclid: no sound output device is available\n"},
        {"tempo 120 --click --bars 1", "quorlen tempo: no sound output device is available\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.command);
        const ChildResult result = runChild(quorlenWithServer(c.command, server.address()));
        expectEnd(result, 1, c.err);
        EXPECT_LT(result.seconds, 6);
    }
}

TEST(SoundFaults, CtrlCEndsAWaitForAServerThatNeverAnswers) {
    const SilentServer server;
    ASSERT_TRUE(server.listening());
    for (const auto at : {20ms, 300ms, 1500ms}) {
        SCOPED_TRACE(at.count());
        ChildRun run = quorlenWithServer("euclid 3 8 --play", server.address());
        run.events = {interruptAt(at)};
        const ChildResult result = runChild(run);
        expectInterrupted(result);
        // The promise is half a second; the margin is for a loaded machine.
        EXPECT_LT(result.secondsAfterLastEvent, 1.0);
    }
}

class FreezingServer : public ::testing::Test {
protected:
    void SetUp() override {
        if (const QString reason = m_server.start(); !reason.isEmpty())
            GTEST_SKIP() << reason.toStdString();
    }
    void TearDown() override {
        if (m_server.serverPid() > 0)
            kill(static_cast<pid_t>(m_server.serverPid()), SIGCONT);
    }
    ChildRun::Event freezeAt(std::chrono::milliseconds at) {
        const auto pid = static_cast<pid_t>(m_server.serverPid());
        return {at, [pid](int) { kill(pid, SIGSTOP); }};
    }
    std::string address() const { return m_server.address().toStdString(); }

    PrivateSoundServer m_server;
};

TEST_F(FreezingServer, AClockThatStopsIsOutputLost) {
    ChildRun run = quorlenWithServer("euclid 3 8 --play --cycles 3", address());
    run.events = {freezeAt(1500ms)};
    const ChildResult result = runChild(run);
    expectEnd(result, 1, "quorlen euclid: the sound output stopped playing\n");
    EXPECT_LT(result.secondsAfterLastEvent, 5);
}

TEST_F(FreezingServer, CtrlCEndsPlayingOrAFrozenServerAtOnce) {
    struct Case {
        const char* name;
        std::vector<ChildRun::Event> events;
    };
    const std::vector<Case> cases = {
        {"while the output opens", {interruptAt(30ms)}},
        {"at the first clicks", {interruptAt(400ms)}},
        {"while playing", {interruptAt(1200ms)}},
        {"on a frozen server", {freezeAt(800ms), interruptAt(1300ms)}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ChildRun run = quorlenWithServer("euclid 3 8 --play", address());
        run.events = c.events;
        const ChildResult result = runChild(run);
        expectInterrupted(result);
        EXPECT_LT(result.secondsAfterLastEvent, 1.0);
        kill(static_cast<pid_t>(m_server.serverPid()), SIGCONT);
    }
}

} // namespace
} // namespace quorlen::testing
