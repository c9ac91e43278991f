#pragma once

#include "audio/engine/audio_backend.h"
#include "audio/engine/rate_adapter.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <thread>
#include <vector>

namespace quorlen::testing {

// An output without a device: the test decides whether starting works,
// sees every start and pause, and pulls blocks as the audio thread would.
// In real time, a thread of its own pulls 256-frame blocks at the pace of a
// 44.1 kHz device instead, so the audio clock moves as on a sound card.
class FakeAudioBackend final : public AudioBackend {
public:
    static constexpr int kRealTimeBlockFrames = 256;
    // In real time, the left channel of the first 20 s is kept; read it
    // after pause().
    static constexpr size_t kRecordFrames = 20 * 44100;
    std::vector<float> recordedLeft;

    explicit FakeAudioBackend(bool realTime = false) : m_realTime(realTime) {
        if (realTime)
            recordedLeft.reserve(kRecordFrames);
    }
    ~FakeAudioBackend() override { stopPulling(); }

    bool failStarts = false;
    double latency = 0; // seconds, reported while running
    // The rate of the device: a source that does not follow it is
    // converted, as on a sound card.
    double rateHz = RenderSource::kRateHz;
    int starts = 0;
    int pauses = 0;

    bool start(RenderSource& source) override {
        ++starts;
        if (failStarts)
            return false;
        m_source = &source;
        m_adapter.reset(source.renderRateFor(rateHz), rateHz);
        m_running = true;
        if (m_realTime && !m_puller.joinable())
            m_puller = std::thread([this] { pullInRealTime(); });
        return true;
    }
    void pause() override {
        ++pauses;
        stopPulling();
        m_running = false;
    }
    bool isRunning() const override { return m_running; }
    double latencySeconds() const override { return m_running ? latency : 0; }

    // The device went away under a running stream.
    void disappear() {
        stopPulling();
        m_running = false;
    }

    // One block of interleaved stereo frames from the source.
    std::vector<float> pull(int frameCount) {
        std::vector<float> block(static_cast<size_t>(2 * frameCount), 999.0f);
        if (m_source)
            m_adapter.render(*m_source, block.data(), frameCount);
        return block;
    }

private:
    void pullInRealTime() {
        using namespace std::chrono;
        const auto blockTime = duration_cast<steady_clock::duration>(
            duration<double>(kRealTimeBlockFrames / RenderSource::kRateHz));
        auto next = steady_clock::now();
        std::vector<float> block(2 * kRealTimeBlockFrames);
        while (!m_stop.load()) {
            m_adapter.render(*m_source, block.data(), kRealTimeBlockFrames);
            for (size_t i = 0; i < block.size() && recordedLeft.size() < kRecordFrames; i += 2)
                recordedLeft.push_back(block[i]);
            next += blockTime;
            std::this_thread::sleep_until(next);
        }
    }
    void stopPulling() {
        if (!m_puller.joinable())
            return;
        m_stop.store(true);
        m_puller.join();
        m_stop.store(false);
    }

    const bool m_realTime;
    RenderSource* m_source = nullptr;
    RateAdapter m_adapter;
    std::atomic<bool> m_running{false};
    std::atomic<bool> m_stop{false};
    std::thread m_puller;
};

} // namespace quorlen::testing
