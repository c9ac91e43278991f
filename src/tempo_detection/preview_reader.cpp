#include "tempo_detection/preview_reader.h"

#include "decoding/audio_file_reader.h"
#include "preview/preview_frames.h"
#include "tempo_detection/preview_stream.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace quorlen {
namespace {

constexpr long long kChunkFrames = 4096;
// While the ring is full the reader sleeps this long between tries; the
// ring holds 0.56 s, so a few milliseconds never starve the audio thread.
constexpr auto kPollInterval = std::chrono::milliseconds(5);

} // namespace

PreviewReader::PreviewReader(PreviewStream& stream, FinishedCallback onFinished)
    : m_stream(stream), m_onFinished(std::move(onFinished)), m_thread([this] { run(); }) {}

PreviewReader::~PreviewReader() {
    {
        std::lock_guard lock(m_mutex);
        m_quit = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void PreviewReader::play(uint64_t generation, std::unique_ptr<decoding::AudioFileReader> file,
                         std::vector<float> head) {
    {
        std::lock_guard lock(m_mutex);
        m_next = Command{generation, std::move(file), std::move(head)};
        m_hasNext = true;
    }
    m_wake.notify_one();
}

void PreviewReader::stop() {
    {
        std::lock_guard lock(m_mutex);
        m_next = Command{};
        m_hasNext = true;
    }
    m_wake.notify_one();
}

bool PreviewReader::interrupted() {
    std::lock_guard lock(m_mutex);
    return m_hasNext || m_quit;
}

void PreviewReader::run() {
    for (;;) {
        Command command;
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [this] { return m_hasNext || m_quit; });
            if (m_quit)
                return;
            command = std::move(m_next);
            m_hasNext = false;
        }
        if (command.file)
            stream(command);
        // The file closes here, on this thread, not on the main thread.
    }
}

bool PreviewReader::pushAll(std::vector<float>& stereo, size_t& consumed, uint64_t generation,
                            bool flush, uint64_t& receipt) {
    PreviewStream::Block block;
    block.generation = generation;
    const size_t blockSamples = size_t{2} * PreviewStream::kBlockFrames;
    while (stereo.size() - consumed >= blockSamples || (flush && stereo.size() > consumed)) {
        const size_t count = std::min(blockSamples, stereo.size() - consumed);
        std::copy_n(stereo.begin() + static_cast<std::ptrdiff_t>(consumed), count,
                    block.frames.begin());
        block.frameCount = static_cast<int>(count / 2);
        for (;;) {
            if (interrupted())
                return false;
            if (const auto pushed = m_stream.push(block)) {
                receipt = *pushed;
                break;
            }
            std::this_thread::sleep_for(kPollInterval);
        }
        consumed += count;
    }
    // Keep the unpushed tail at the front for the next chunk.
    stereo.erase(stereo.begin(), stereo.begin() + static_cast<std::ptrdiff_t>(consumed));
    consumed = 0;
    return true;
}

void PreviewReader::stream(Command& command) {
    // An output that is opening tells the stream its rate before it pulls.
    double rateHz = 0;
    while ((rateHz = m_stream.rateHz()) <= 0) {
        if (interrupted())
            return;
        std::this_thread::sleep_for(kPollInterval);
    }
    decoding::AudioFileReader& file = *command.file;
    const int channels = file.channels();
    preview::LinearResampler resampler(file.rateHz(), rateHz);
    std::vector<float> stereoChunk;
    std::vector<float> output; // stereo at the output's rate, not yet pushed
    size_t consumed = 0;
    uint64_t receipt = 0;

    auto feed = [&](const float* interleaved, size_t frames) {
        stereoChunk.resize(2 * frames);
        preview::toStereo(interleaved, frames, channels, stereoChunk.data());
        resampler.push(stereoChunk.data(), frames, output);
    };
    feed(command.head.data(), command.head.size() / static_cast<size_t>(channels));

    std::vector<float> chunk(static_cast<size_t>(kChunkFrames * channels));
    for (;;) {
        if (!pushAll(output, consumed, command.generation, false, receipt))
            return;
        long long read = 0;
        try {
            read = file.read(chunk.data(), kChunkFrames);
        } catch (const std::runtime_error&) {
            read = 0; // a damaged tail ends the preview where it breaks
        }
        if (read <= 0)
            break;
        feed(chunk.data(), static_cast<size_t>(read));
    }
    if (!pushAll(output, consumed, command.generation, true, receipt) || receipt == 0)
        return;

    // The end is heard once the audio thread has taken the last block and
    // played it out (at most one block more).
    while (m_stream.taken() < receipt) {
        if (interrupted())
            return;
        std::this_thread::sleep_for(kPollInterval);
    }
    std::this_thread::sleep_for(std::chrono::microseconds(
        static_cast<long long>(1e6 * PreviewStream::kBlockFrames / rateHz)));
    if (!interrupted())
        m_onFinished(command.generation);
}

} // namespace quorlen
