#include "audio/engine/rtaudio_backend.h"

#include <RtAudio.h>

#include <algorithm>
#include <alsa/error.h>
#include <atomic>
#include <cstdarg>
#include <vector>

namespace quorlen {
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

} // namespace

RtAudioBackend::RtAudioBackend(Latency latency)
    : m_queuedBlocks(latency == Latency::steady ? kSteadyQueuedBlocks : kInteractiveQueuedBlocks) {
    snd_lib_error_set_handler(&ignoreAlsaMessage);
}

RtAudioBackend::~RtAudioBackend() { close(); }

int RtAudioBackend::onBlock(void* output, void*, unsigned int frameCount, double,
                            unsigned int status, void* context) {
    auto* self = static_cast<RtAudioBackend*>(context);
    if (status & RTAUDIO_OUTPUT_UNDERFLOW)
        self->m_underruns.fetch_add(1, std::memory_order_relaxed);
    self->m_adapter.render(*self->m_source, static_cast<float*>(output),
                           static_cast<int>(frameCount));
    // After a device failure, 2 asks RtAudio to abort the stream, so its
    // thread stops retrying writes until the next start reopens the output.
    return g_streamFailed.load(std::memory_order_relaxed) ? 2 : 0;
}

bool RtAudioBackend::start(RenderSource& source) {
    if (m_audio && (g_streamFailed.load() || m_source != &source))
        close();
    try {
        if (!m_audio && !open(source))
            return false;
        if (!m_audio->isStreamRunning())
            m_audio->startStream();
    } catch (...) {
        close();
        return false;
    }
    if (!isRunning()) {
        close();
        return false;
    }
    return true;
}

bool RtAudioBackend::open(RenderSource& source) {
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
            // 44.1 kHz needs no adapting; otherwise the device's own rate.
            const unsigned int rates[] = {44100, info.preferredSampleRate, 48000};
            for (const unsigned int rate : rates) {
                if (rate == 0)
                    continue;
                g_streamFailed.store(false);
                unsigned int blockFrames = kPreferredBlockFrames;
                RtAudio::StreamOptions options;
                options.streamName = "Quorlen Calculator";
                options.numberOfBuffers = m_queuedBlocks;
                options.flags = RTAUDIO_MINIMIZE_LATENCY;
                try {
                    m_source = &source;
                    audio->openStream(&output, nullptr, RTAUDIO_FLOAT32, rate, &blockFrames,
                                      &RtAudioBackend::onBlock, this, &options, &onStreamError);
                } catch (...) {
                }
                if (!audio->isStreamOpen() || g_streamFailed.load()) {
                    if (audio->isStreamOpen())
                        audio->closeStream();
                    continue;
                }
                m_adapter.reset(audio->getStreamSampleRate());
                m_blockFrames = blockFrames;
                m_audio = std::move(audio);
                return true;
            }
        } catch (...) {
        }
    }
    m_source = nullptr;
    return false;
}

void RtAudioBackend::close() {
    if (!m_audio)
        return;
    try {
        if (m_audio->isStreamRunning())
            m_audio->abortStream();
        if (m_audio->isStreamOpen())
            m_audio->closeStream();
    } catch (...) {
    }
    m_audio.reset();
    m_source = nullptr;
    m_blockFrames = 0;
}

void RtAudioBackend::pause() {
    if (!m_audio)
        return;
    if (g_streamFailed.load()) {
        close();
        return;
    }
    try {
        if (m_audio->isStreamRunning())
            m_audio->stopStream();
    } catch (...) {
        close();
    }
}

bool RtAudioBackend::isRunning() const {
    return m_audio && m_audio->isStreamRunning() && !g_streamFailed.load();
}

unsigned int RtAudioBackend::deviceRateHz() const {
    return m_audio && m_audio->isStreamOpen() ? m_audio->getStreamSampleRate() : 0;
}

} // namespace quorlen
