#include "audio/engine/async_output.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace quorlen {
namespace {

using namespace std::chrono_literals;

// A device as slow to open as a sound server, which can be told to fail and
// gives a start up when abandoned; the test sees what it went through.
struct Device {
    std::chrono::milliseconds startTime = 300ms;
    std::atomic<bool> fail{true}, running{false}, starting{false}, abandoned{false};
};

class SlowDevice final : public AudioBackend {
public:
    explicit SlowDevice(Device& device) : m_device(device) {}
    bool start(RenderSource&) override {
        m_device.starting = true;
        const auto deadline = std::chrono::steady_clock::now() + m_device.startTime;
        while (!m_device.abandoned && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(1ms);
        m_device.running = !m_device.fail && !m_device.abandoned;
        m_device.starting = false;
        return m_device.running;
    }
    void pause() override { m_device.running = false; }
    bool isRunning() const override { return m_device.running; }
    void abandon() noexcept override { m_device.abandoned = true; }

private:
    Device& m_device;
};

class CountingSource final : public RenderSource {
public:
    void render(float*, int) noexcept override {}
    void discard() noexcept override { ++discards; }
    std::atomic<int> discards{0};
};

TEST(AsyncOutput, StartsWithoutMakingTheCallerWaitAndAFailedStartDiscardsWhatWasQueued) {
    Device device;
    AsyncOutput output(std::make_unique<SlowDevice>(device));
    CountingSource source;
    output.start(source);
    ASSERT_TRUE(output.waitUntilSettled(5s));
    EXPECT_EQ(output.state(), AsyncOutput::State::failed);
    EXPECT_FALSE(output.isRunning());
    EXPECT_EQ(source.discards, 1);

    // The next start tries again, and the caller does not wait for it.
    device.fail = false;
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
    EXPECT_FALSE(device.running);

    // A device that goes away reads as stopped within its check interval.
    output.start(source);
    ASSERT_TRUE(output.waitUntilSettled(5s));
    device.running = false;
    const auto deadline = std::chrono::steady_clock::now() + 2s;
    while (output.isRunning() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(10ms);
    EXPECT_EQ(output.state(), AsyncOutput::State::stopped);
}

TEST(AsyncOutput, GoingAwayAbandonsAStartThatHangsInsteadOfWaitingForIt) {
    Device device;
    device.startTime = 5s; // a sound server that never answers
    CountingSource source;
    {
        AsyncOutput output(std::make_unique<SlowDevice>(device));
        output.start(source);
        while (!device.starting)
            std::this_thread::sleep_for(1ms);
    }
    EXPECT_TRUE(device.abandoned);
    EXPECT_FALSE(device.starting) << "the start has returned";
}

} // namespace
} // namespace quorlen
