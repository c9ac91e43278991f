#include "audio/engine/async_output.h"

namespace quorlen {
namespace {

constexpr auto kDeviceCheck = std::chrono::milliseconds(200);

} // namespace

AsyncOutput::AsyncOutput(std::unique_ptr<AudioBackend> device)
    : m_device(std::move(device)), m_thread([this] { run(); }) {}

AsyncOutput::~AsyncOutput() {
    m_device->abandon();
    {
        std::lock_guard lock(m_mutex);
        m_quit = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

bool AsyncOutput::start(RenderSource& source) {
    {
        std::lock_guard lock(m_mutex);
        m_source = &source;
        m_wantRunning = true;
        ++m_requested;
        if (m_state.load() != State::running)
            m_state.store(State::starting, std::memory_order_release);
    }
    m_wake.notify_one();
    return true;
}

void AsyncOutput::pause() {
    {
        std::lock_guard lock(m_mutex);
        m_wantRunning = false;
        ++m_requested;
    }
    m_wake.notify_one();
}

bool AsyncOutput::isRunning() const {
    const State state = m_state.load(std::memory_order_acquire);
    return state == State::starting || state == State::running;
}

double AsyncOutput::latencySeconds() const {
    return state() == State::running ? m_latencySeconds.load(std::memory_order_relaxed) : 0;
}

bool AsyncOutput::waitUntilSettled(std::chrono::milliseconds timeout) {
    std::unique_lock lock(m_mutex);
    return m_settled.wait_for(lock, timeout, [this] { return m_done == m_requested; });
}

void AsyncOutput::run() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait_for(lock, kDeviceCheck, [this] { return m_quit || m_done != m_requested; });
        if (m_quit)
            break;
        if (m_done == m_requested) {
            // Nothing asked: watch for a device that went away.
            if (m_state.load() == State::running && !m_device->isRunning())
                m_state.store(State::stopped, std::memory_order_release);
            continue;
        }
        const unsigned request = m_requested;
        const bool wantRunning = m_wantRunning;
        RenderSource* const source = m_source;
        lock.unlock();
        State reached = State::stopped;
        if (wantRunning) {
            if (m_device->isRunning() || m_device->start(*source)) {
                reached = State::running;
                m_latencySeconds.store(m_device->latencySeconds(), std::memory_order_relaxed);
            } else {
                // No stream runs, so this thread may stand in for the audio one.
                source->discard();
                reached = State::failed;
            }
        } else if (m_device->isRunning()) {
            m_device->pause();
        }
        lock.lock();
        m_done = request;
        // A request that came meanwhile keeps its "starting".
        if (m_done == m_requested)
            m_state.store(reached, std::memory_order_release);
        m_settled.notify_all();
    }
    lock.unlock();
    m_device.reset();
}

} // namespace quorlen
