#pragma once

#include "audio/engine/audio_backend.h"
#include "audio/engine/rate_adapter.h"

#include <atomic>
#include <memory>

class RtAudio;

namespace quorlen {

// The sound card through RtAudio: PulseAudio first (PipeWire serves it
// too), then ALSA, then JACK; the first that opens a stereo float output
// wins. It asks for 44.1 kHz and otherwise takes the device's own rate,
// adapting the source to it.
class RtAudioBackend final : public AudioBackend {
public:
    // How much the server may hold: a player that answers a click wants
    // sound within about 23 ms; a click track that only has to stay on its
    // grid trades that for a buffer a busy machine cannot starve.
    enum class Latency { interactive, steady };

    explicit RtAudioBackend(Latency latency = Latency::interactive);
    ~RtAudioBackend() override;

    bool start(RenderSource& source) override;
    void pause() override;
    bool isRunning() const override;

    // Rate of the open stream in Hz, 0 when none is open.
    unsigned int deviceRateHz() const;
    // Frames per callback of the open stream.
    unsigned int blockFrames() const { return m_blockFrames; }
    // Blocks the server found missing (it played silence) since the output
    // was made; any thread.
    unsigned int underruns() const { return m_underruns.load(std::memory_order_relaxed); }

private:
    bool open(RenderSource& source);
    void close();
    static int onBlock(void* output, void* input, unsigned int frameCount, double streamTime,
                       unsigned int status, void* context);

    std::unique_ptr<RtAudio> m_audio;
    int m_queuedBlocks;
    RenderSource* m_source = nullptr;
    RateAdapter m_adapter;
    unsigned int m_blockFrames = 0;
    std::atomic<unsigned int> m_underruns{0};
};

} // namespace quorlen
