#include "audio/engine/bounded_call.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace quorlen {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

bool eventually(const std::function<bool()>& condition) {
    const auto deadline = Clock::now() + 5s;
    while (!condition()) {
        if (Clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// Work that hangs, like a call into a sound server that never answers, is
// abandoned at its limit or when given up, and releases what it held once
// it returns; work in time finishes and leaves nothing behind.
TEST(BoundedCall, WorkInTimeFinishesAndHangingWorkIsAbandonedAtItsLimitOrWhenGivenUp) {
    struct Case {
        const char* name;
        std::chrono::milliseconds limit;
        bool hangs, giveUp;
        CallEnd expected;
    };
    const Case cases[] = {
        {"in time", 2s, false, false, CallEnd::finished},
        {"limit", 100ms, true, false, CallEnd::timedOut},
        {"given up", 60s, true, true, CallEnd::givenUp},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::promise<void> gate;
        if (!c.hangs)
            gate.set_value();
        std::atomic<bool> worked{false}, released{false};
        const auto started = Clock::now();
        const CallEnd end = runWithin(
            c.limit,
            [&worked, opened = gate.get_future().share()] {
                opened.wait();
                worked = true;
            },
            [&released] { released = true; },
            [&] { return c.giveUp && Clock::now() - started > 50ms; });
        const auto waited = Clock::now() - started;
        EXPECT_EQ(end, c.expected);
        EXPECT_EQ(worked, !c.hangs);
        EXPECT_FALSE(released) << "work in time releases nothing; hanging work still holds it";
        EXPECT_EQ(abandonedCallsRunning(), c.hangs ? 1 : 0);
        if (!c.hangs)
            continue;
        EXPECT_GE(waited, c.giveUp ? 50ms : c.limit);
        EXPECT_LT(waited, c.giveUp ? 1s : c.limit + 1s);
        // Once the work returns, its own thread releases what it held.
        gate.set_value();
        EXPECT_TRUE(eventually([&] { return released.load(); }));
        EXPECT_TRUE(eventually([] { return abandonedCallsRunning() == 0; }));
    }
}

} // namespace
} // namespace quorlen
