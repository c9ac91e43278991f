#include "audio/engine/bounded_call.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace quorlen {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Work that hangs, like a call into a sound server that never answers,
// until the test lets it go.
class Gate {
public:
    void wait() {
        std::unique_lock lock(m_mutex);
        m_opened.wait(lock, [this] { return m_open; });
    }
    void open() {
        {
            std::lock_guard lock(m_mutex);
            m_open = true;
        }
        m_opened.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_opened;
    bool m_open = false;
};

bool eventually(const std::function<bool()>& condition) {
    const auto deadline = Clock::now() + 5s;
    while (!condition()) {
        if (Clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

TEST(BoundedCall, WorkInTimeFinishesAndNothingIsLeftBehind) {
    std::atomic<int> worked{0};
    std::atomic<int> released{0};
    EXPECT_EQ(runWithin(
                  2s, [&] { ++worked; }, [&] { ++released; }),
              CallEnd::finished);
    EXPECT_EQ(worked, 1);
    EXPECT_EQ(released, 0);
    EXPECT_EQ(abandonedCallsRunning(), 0);
}

TEST(BoundedCall, HangingWorkIsAbandonedAtItsLimitOrWhenGivenUp) {
    struct Case {
        const char* name;
        std::chrono::milliseconds limit;
        bool giveUp;
        CallEnd expected;
    };
    const Case cases[] = {
        {"limit", 100ms, false, CallEnd::timedOut},
        {"given up", 60s, true, CallEnd::givenUp},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Gate gate;
        std::atomic<bool> released{false};
        const auto started = Clock::now();
        const CallEnd end = runWithin(
            c.limit, [&gate] { gate.wait(); }, [&released] { released = true; },
            [&] { return c.giveUp && Clock::now() - started > 50ms; });
        const auto waited = Clock::now() - started;
        EXPECT_EQ(end, c.expected);
        EXPECT_GE(waited, c.giveUp ? 50ms : c.limit);
        EXPECT_LT(waited, c.giveUp ? 1s : c.limit + 1s);
        EXPECT_EQ(abandonedCallsRunning(), 1);
        EXPECT_FALSE(released) << "the work still holds what it uses";

        // Once the work returns, its own thread releases what it held.
        gate.open();
        EXPECT_TRUE(eventually([&] { return released.load(); }));
        EXPECT_TRUE(eventually([] { return abandonedCallsRunning() == 0; }));
    }
}

} // namespace
} // namespace quorlen
