#include "audio/engine/rtaudio_backend.h"

#include "audio/engine/bounded_call.h"
#include "audio/engine/rate_adapter.h"

#include <RtAudio.h>

#include <algorithm>
#include <alsa/error.h>
#include <atomic>
#include <cstdarg>
#include <thread>
#include <vector>

namespace quorlen {

// One open output and everything its audio thread touches. Shared with the
// threads of bounded calls: a call the server never answers keeps it.
struct RtAudioBackend::Stream {
    std::unique_ptr<RtAudio> audio;
    RenderSource* source = nullptr;
    std::atomic<unsigned int>* underruns = nullptr;
    RateAdapter adapter;
    unsigned int rateHz = 0;
    unsigned int blockFrames = 0;
    // Raised when the backend lets go: from then on the audio thread
    // renders silence and touches nothing outside the stream, since the
    // source and the counter may be gone. `rendering` tells the backend
    // when a block under way has finished with them.
    std::atomic<bool> detached{false};
    std::atomic<bool> rendering{false};
};

namespace {

// RtAudio's error callback carries no context, so the one stream failure it
// can report lives here. Set on any thread (also the audio thread when a
// device vanishes), read on the main thread.
std::atomic<bool> g_streamFailed{false};

// RtAudio 5 reports a lost PulseAudio server, and ALSA write failures, only
// as warnings whose text says "write error" (an ALSA underrun says
// "underrun" and recovers); its thread then keeps retrying the dead stream.
void onStreamError(RtAudioError::Type type, const std::string& message) {
    const bool warning = type == RtAudioError::WARNING || type == RtAudioError::DEBUG_WARNING;
    if (!warning || message.find("write error") != std::string::npos)
        g_streamFailed.store(true);
}

// libasound prints its own failures (no card, no server) on stderr; audio
// failures are silent in this app.
void ignoreAlsaMessage(const char*, int, const char*, int, const char*, ...) {}

// 256 frames (5.8 ms) a block, and at most 4 blocks queued in the server:
// about 23 ms from a rendered block to the speaker where PulseAudio or
// PipeWire grants it. Without a limit PulseAudio buffers up to 2 s and a
// click sounds 150 ms after its request; with 2 blocks a busy machine
// (two cores, load 9) starves the server and the clicks drift. Even 4
// blocks starve now and then on such a machine (a sound-server test of
// the command line's click track slipped in 5 of 10 runs, 1 in 10 with 8
// blocks), so output that needs no quick answer queues 16 (93 ms).
constexpr unsigned int kPreferredBlockFrames = 256;
constexpr int kInteractiveQueuedBlocks = 4;
constexpr int kSteadyQueuedBlocks = 16;

using Stream = RtAudioBackend::Stream;

int onBlock(void* output, void*, unsigned int frameCount, double, unsigned int status,
            void* context) {
    auto* stream = static_cast<Stream*>(context);
    auto* out = static_cast<float*>(output);
    // Announced before `detached` is read; the backend raises `detached`
    // before it reads this (both sequentially consistent), so one of the
    // two always sees the other.
    stream->rendering.store(true);
    if (stream->detached.load()) {
        stream->rendering.store(false);
        std::fill_n(out, std::size_t{2} * frameCount, 0.0f);
        return 0;
    }
    if (status & RTAUDIO_OUTPUT_UNDERFLOW)
        stream->underruns->fetch_add(1, std::memory_order_relaxed);
    stream->adapter.render(*stream->source, out, static_cast<int>(frameCount));
    stream->rendering.store(false);
    // After a device failure, 2 asks RtAudio to abort the stream, so its
    // thread stops retrying writes until the next start reopens the output.
    return g_streamFailed.load(std::memory_order_relaxed) ? 2 : 0;
}

// Once this returns, the audio thread no longer reads the source.
void detach(Stream& stream) {
    stream.detached.store(true);
    while (stream.rendering.load())
        std::this_thread::yield();
}

void closeStream(Stream& stream) {
    if (!stream.audio)
        return;
    try {
        if (stream.audio->isStreamRunning())
            stream.audio->abortStream();
        if (stream.audio->isStreamOpen())
            stream.audio->closeStream();
    } catch (...) {
    }
    stream.audio.reset();
}

// Tries the APIs in order; on success `stream.audio` holds an open stream.
// May block on a sound server without end (see RtAudioBackend::open).
void openFirstOutput(Stream& stream, int queuedBlocks) {
    const RtAudio::Api order[] = {RtAudio::LINUX_PULSE, RtAudio::LINUX_ALSA, RtAudio::UNIX_JACK};
    std::vector<RtAudio::Api> compiled;
    RtAudio::getCompiledApi(compiled);
    for (const RtAudio::Api api : order) {
        if (std::find(compiled.begin(), compiled.end(), api) == compiled.end())
            continue;
        try {
            auto audio = std::make_unique<RtAudio>(api);
            audio->showWarnings(false);
            if (audio->getDeviceCount() == 0)
                continue;
            RtAudio::StreamParameters output;
            output.deviceId = audio->getDefaultOutputDevice();
            output.nChannels = 2;
            const RtAudio::DeviceInfo info = audio->getDeviceInfo(output.deviceId);
            // 44.1 kHz needs no adapting for most sources; otherwise the
            // device's own rate.
            const unsigned int rates[] = {44100, info.preferredSampleRate, 48000};
            for (const unsigned int rate : rates) {
                if (rate == 0)
                    continue;
                g_streamFailed.store(false);
                unsigned int blockFrames = kPreferredBlockFrames;
                RtAudio::StreamOptions options;
                options.streamName = "Quorlen Calculator";
                options.numberOfBuffers = queuedBlocks;
                options.flags = RTAUDIO_MINIMIZE_LATENCY;
                try {
                    audio->openStream(&output, nullptr, RTAUDIO_FLOAT32, rate, &blockFrames,
                                      &onBlock, &stream, &options, &onStreamError);
                } catch (...) {
                }
                if (!audio->isStreamOpen() || g_streamFailed.load()) {
                    if (audio->isStreamOpen())
                        audio->closeStream();
                    continue;
                }
                stream.rateHz = audio->getStreamSampleRate();
                stream.blockFrames = blockFrames;
                stream.audio = std::move(audio);
                return;
            }
        } catch (...) {
        }
    }
}

} // namespace

RtAudioBackend::RtAudioBackend(Latency latency, std::function<bool()> giveUp)
    : m_queuedBlocks(latency == Latency::steady ? kSteadyQueuedBlocks : kInteractiveQueuedBlocks),
      m_giveUp(std::move(giveUp)) {
    snd_lib_error_set_handler(&ignoreAlsaMessage);
}

RtAudioBackend::~RtAudioBackend() { close(); }

std::function<bool()> RtAudioBackend::givingUp() const {
    return [abandoned = m_abandoned, giveUp = m_giveUp] {
        return abandoned->load() || (giveUp && giveUp());
    };
}

bool RtAudioBackend::start(RenderSource& source) {
    if (m_stream && (g_streamFailed.load() || m_stream->source != &source))
        close();
    if (!m_stream && !open(source))
        return false;
    if (!m_stream->audio->isStreamRunning()) {
        // Nothing pulls yet, so the source and the adapter are free to change.
        const double rateHz = m_stream->rateHz;
        m_stream->adapter.reset(source.renderRateFor(rateHz), rateHz);
        if (!onStream(kCallLimit, [](Stream& stream) { stream.audio->startStream(); }))
            return false;
    }
    if (!isRunning()) {
        close();
        return false;
    }
    return true;
}

bool RtAudioBackend::open(RenderSource& source) {
    // A server that left an earlier call hanging would only hang this one.
    if (abandonedCallsRunning() > 0)
        return false;
    auto stream = std::make_shared<Stream>();
    stream->source = &source;
    stream->underruns = &m_underruns;
    const int queuedBlocks = m_queuedBlocks;
    const CallEnd end = runWithin(
        kOpenLimit, [stream, queuedBlocks] { openFirstOutput(*stream, queuedBlocks); },
        [stream] {
            detach(*stream);
            closeStream(*stream);
        },
        givingUp());
    if (end != CallEnd::finished || !stream->audio)
        return false;
    m_stream = std::move(stream);
    return true;
}

bool RtAudioBackend::onStream(std::chrono::milliseconds limit,
                              std::function<void(Stream&)> operation) {
    const std::shared_ptr<Stream> stream = m_stream;
    auto threw = std::make_shared<std::atomic<bool>>(false);
    const CallEnd end = runWithin(
        limit,
        [stream, threw, operation = std::move(operation)] {
            try {
                operation(*stream);
            } catch (...) {
                threw->store(true);
            }
        },
        [stream] { closeStream(*stream); }, givingUp());
    if (end == CallEnd::finished && !threw->load())
        return true;
    if (end == CallEnd::finished || end == CallEnd::notStarted) {
        close();
        return false;
    }
    // The call's thread owns the stream now, and closes it if it ever can.
    detach(*stream);
    m_stream.reset();
    return false;
}

void RtAudioBackend::close() {
    if (!m_stream)
        return;
    const std::shared_ptr<Stream> stream = std::move(m_stream);
    detach(*stream);
    // Without a thread for the call, closing here is all that is left.
    if (runWithin(
            kCallLimit, [stream] { closeStream(*stream); }, {}, givingUp()) == CallEnd::notStarted)
        closeStream(*stream);
}

void RtAudioBackend::pause() {
    if (!m_stream)
        return;
    if (g_streamFailed.load()) {
        close();
        return;
    }
    if (m_stream->audio->isStreamRunning())
        onStream(kCallLimit, [](Stream& stream) { stream.audio->stopStream(); });
}

bool RtAudioBackend::isRunning() const {
    return m_stream && m_stream->audio->isStreamRunning() && !g_streamFailed.load();
}

double RtAudioBackend::latencySeconds() const {
    if (!isRunning() || m_stream->rateHz == 0)
        return 0;
    return static_cast<double>(m_queuedBlocks) * m_stream->blockFrames / m_stream->rateHz;
}

unsigned int RtAudioBackend::deviceRateHz() const { return m_stream ? m_stream->rateHz : 0; }

unsigned int RtAudioBackend::blockFrames() const { return m_stream ? m_stream->blockFrames : 0; }

} // namespace quorlen
