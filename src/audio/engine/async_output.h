#pragma once

#include "audio/engine/audio_backend.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace quorlen {

// Runs another backend's starts and pauses on a thread of its own, so that
// whoever asks never waits for a sound server: opening a PulseAudio stream
// takes a few hundred milliseconds. Requests return at once; the latest
// one wins. While a start is under way the output counts as running, so
// sounds keep being queued and play from the stream's first block. A start
// that fails discards what the source holds and leaves the output stopped;
// the next start tries again. A running device that goes away is noticed
// within 200 ms and reads as stopped.
class AsyncOutput final : public AudioBackend {
public:
    enum class State { stopped, starting, running, failed };

    explicit AsyncOutput(std::unique_ptr<AudioBackend> device);
    // Abandons the device (see AudioBackend::abandon), so the request under
    // way ends as soon as the device lets it, then closes it.
    ~AsyncOutput() override;

    bool start(RenderSource& source) override;
    void pause() override;
    bool isRunning() const override;
    bool isStarting() const override { return state() == State::starting; }
    // The device's, as it was when its last start succeeded.
    double latencySeconds() const override;

    State state() const { return m_state.load(std::memory_order_acquire); }
    // Blocks until no request is pending or under way, or `timeout` passed;
    // true when settled. For callers that may wait: the command line, tests.
    bool waitUntilSettled(std::chrono::milliseconds timeout);
    // The wrapped device; only while settled.
    const AudioBackend& device() const { return *m_device; }

private:
    void run();

    std::unique_ptr<AudioBackend> m_device; // output thread only, once it runs
    std::atomic<State> m_state{State::stopped};
    std::atomic<double> m_latencySeconds{0};

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_settled;
    RenderSource* m_source = nullptr; // guarded by m_mutex
    bool m_wantRunning = false;       // guarded by m_mutex
    unsigned m_requested = 0;         // guarded by m_mutex
    unsigned m_done = 0;              // guarded by m_mutex
    bool m_quit = false;              // guarded by m_mutex
    std::thread m_thread;
};

} // namespace quorlen
