#pragma once

#include "audio/engine/audio_backend.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

namespace quorlen {

// The sound card through RtAudio: PulseAudio first (PipeWire serves it
// too), then ALSA, then JACK; the first that opens a stereo float output
// wins. It asks for 44.1 kHz and otherwise takes the device's own rate,
// adapting a source that does not follow it (see RenderSource::renderRateFor).
//
// No call waits on the sound server without end: opening gives up after
// kOpenLimit, and starting, pausing and closing after kCallLimit. A server
// that does not answer in time is left to its own thread (see runWithin):
// the output reads as failed, and no new one is opened while such a call
// still hangs, since it would only hang as well.
class RtAudioBackend final : public AudioBackend {
public:
    // How much the server may hold: a player that answers a click wants
    // sound within about 23 ms; a click track that only has to stay on its
    // grid trades that for a buffer a busy machine cannot starve.
    enum class Latency { interactive, steady };

    static constexpr std::chrono::milliseconds kOpenLimit{3000};
    static constexpr std::chrono::milliseconds kCallLimit{250};

    // `giveUp`, when given, is asked while an output opens; true abandons
    // the opening at once (the command line's Ctrl+C).
    explicit RtAudioBackend(Latency latency = Latency::interactive,
                            std::function<bool()> giveUp = {});
    ~RtAudioBackend() override;

    bool start(RenderSource& source) override;
    void pause() override;
    bool isRunning() const override;
    void abandon() noexcept override { m_abandoned->store(true); }
    // The blocks the server was asked to queue.
    double latencySeconds() const override;

    // Rate of the open stream in Hz, 0 when none is open.
    unsigned int deviceRateHz() const;
    // Frames per callback of the open stream.
    unsigned int blockFrames() const;
    // Blocks the server found missing (it played silence) since the output
    // was made; any thread.
    unsigned int underruns() const { return m_underruns.load(std::memory_order_relaxed); }

    struct Stream;

private:
    bool open(RenderSource& source);
    // Runs `operation` on the open stream within `limit`; when the server
    // does not answer, the stream is abandoned to the operation's thread.
    bool onStream(std::chrono::milliseconds limit, std::function<void(Stream&)> operation);
    void close();

    int m_queuedBlocks;
    std::function<bool()> m_giveUp;
    // Shared with the giving-up checks of calls under way.
    std::shared_ptr<std::atomic<bool>> m_abandoned = std::make_shared<std::atomic<bool>>(false);
    // Asked while a call waits on the server: true ends the wait.
    std::function<bool()> givingUp() const;
    std::atomic<unsigned int> m_underruns{0};
    // Shared with the threads of calls that may outlive this object.
    std::shared_ptr<Stream> m_stream;
};

} // namespace quorlen
