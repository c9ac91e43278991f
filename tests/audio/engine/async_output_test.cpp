#include "audio/engine/async_output.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace quorlen {
namespace {

using namespace std::chrono_literals;

// A device as slow to open as a sound server, which can be told to fail.
class SlowDevice final : public AudioBackend {
public:
    SlowDevice(std::atomic<bool>& fail, std::atomic<bool>& running)
        : m_fail(fail), m_running(running) {}
    bool start(RenderSource&) override {
        std::this_thread::sleep_for(300ms);
        m_running = !m_fail;
        return m_running;
    }
    void pause() override { m_running = false; }
    bool isRunning() const override { return m_running; }

private:
    std::atomic<bool>& m_fail;
    std::atomic<bool>& m_running;
};

class CountingSource final : public RenderSource {
public:
    void render(float*, int) noexcept override {}
    void discard() noexcept override { ++discards; }
    std::atomic<int> discards{0};
};

TEST(AsyncOutput, StartsWithoutMakingTheCallerWaitAndAFailedStartDiscardsWhatWasQueued) {
    std::atomic<bool> fail{true};
    std::atomic<bool> running{false};
    AsyncOutput output(std::make_unique<SlowDevice>(fail, running));
    CountingSource source;
    output.start(source);
    ASSERT_TRUE(output.waitUntilSettled(5s));
    EXPECT_EQ(output.state(), AsyncOutput::State::failed);
    EXPECT_FALSE(output.isRunning());
    EXPECT_EQ(source.discards, 1);

    // The next start tries again, and the caller does not wait for it.
    fail = false;
    const auto before = std::chrono::steady_clock::now();
    EXPECT_TRUE(output.start(source));
    EXPECT_LT(std::chrono::steady_clock::now() - before, 50ms);
    EXPECT_TRUE(output.isRunning()) << "a start under way counts as running";
    EXPECT_TRUE(output.isStarting());
    ASSERT_TRUE(output.waitUntilSettled(5s));
    EXPECT_EQ(output.state(), AsyncOutput::State::running);
    EXPECT_FALSE(output.isStarting());

    output.pause();
    ASSERT_TRUE(output.waitUntilSettled(5s));
    EXPECT_FALSE(output.isRunning());
    EXPECT_FALSE(running);

    // A device that goes away reads as stopped within its check interval.
    output.start(source);
    ASSERT_TRUE(output.waitUntilSettled(5s));
    running = false;
    const auto deadline = std::chrono::steady_clock::now() + 2s;
    while (output.isRunning() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(10ms);
    EXPECT_EQ(output.state(), AsyncOutput::State::stopped);
}

// A sound server that never answers a start until the device is abandoned.
class HangingDevice final : public AudioBackend {
public:
    explicit HangingDevice(std::atomic<int>& outcome) : m_outcome(outcome) {}
    bool start(RenderSource&) override {
        m_outcome = 1; // under way
        const auto deadline = std::chrono::steady_clock::now() + 5s;
        while (!m_abandoned && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(1ms);
        m_outcome = m_abandoned ? 2 : 3; // given up, or waited the server out
        return false;
    }
    void pause() override {}
    bool isRunning() const override { return false; }
    void abandon() noexcept override { m_abandoned = true; }

private:
    std::atomic<int>& m_outcome;
    std::atomic<bool> m_abandoned{false};
};

TEST(AsyncOutput, GoingAwayAbandonsAStartThatHangsInsteadOfWaitingForIt) {
    std::atomic<int> outcome{0};
    CountingSource source;
    {
        AsyncOutput output(std::make_unique<HangingDevice>(outcome));
        output.start(source);
        while (outcome == 0)
            std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(outcome, 2);
}

} // namespace
} // namespace quorlen
