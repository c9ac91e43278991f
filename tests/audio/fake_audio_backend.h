#pragma once

#include "audio/audio_backend.h"

#include <cstddef>
#include <vector>

namespace quorlen::testing {

// An output without a device: the test decides whether starting works,
// sees every start and pause, and pulls blocks as the audio thread would.
class FakeAudioBackend final : public AudioBackend {
public:
    bool failStarts = false;
    int starts = 0;
    int pauses = 0;

    bool start(RenderSource& source) override {
        ++starts;
        if (failStarts)
            return false;
        m_source = &source;
        m_running = true;
        return true;
    }
    void pause() override {
        ++pauses;
        m_running = false;
    }
    bool isRunning() const override { return m_running; }

    // The device went away under a running stream.
    void disappear() { m_running = false; }

    // One block of interleaved stereo frames from the source.
    std::vector<float> pull(int frameCount) {
        std::vector<float> block(static_cast<size_t>(2 * frameCount), 999.0f);
        if (m_source)
            m_source->render(block.data(), frameCount);
        return block;
    }

private:
    RenderSource* m_source = nullptr;
    bool m_running = false;
};

} // namespace quorlen::testing
