#include "detection/audio_loader.h"

#include "decoding/audio_file_reader.h"
#include "decoding/read_error.h"
#include "detection/loudest_window.h"
#include "detection/resample.h"
#include "detection/waveform_peaks.h"
#include "text/failure_texts.h"
#include "threads/try_start_thread.h"

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <utility>

namespace quorlen::detection {

void appendMonoMix(const float* interleaved, long long frames, int channels,
                   std::vector<float>& mono) {
    const size_t first = mono.size();
    mono.resize(first + static_cast<size_t>(frames), 0.0f);
    float* out = mono.data() + first;
    for (int channel = 0; channel < channels; ++channel) {
        const float* in = interleaved + channel;
        for (long long frame = 0; frame < frames; ++frame) {
            const float value = in[frame * channels];
            if (std::isfinite(value))
                out[frame] += value;
        }
    }
    if (channels == 1)
        return;
    const float scale = 1.0f / static_cast<float>(channels);
    for (long long frame = 0; frame < frames; ++frame)
        out[frame] *= scale;
}

namespace {

// Hands out the chunks of an open file, each at most `chunkFrames` long;
// an empty chunk at the end.
class ChunkSource {
public:
    virtual ~ChunkSource() = default;
    virtual std::span<const float> next() = 0;
};

std::vector<float> chunkBuffer(size_t floats) {
    try {
        return std::vector<float>(floats);
    } catch (const std::bad_alloc&) {
        throw Failure::unreadable(text::failure::kNoAudioBuffer);
    }
}

// Reads when asked, on the calling thread.
class ReadInPlace final : public ChunkSource {
public:
    ReadInPlace(decoding::AudioFileReader& reader, size_t chunkFrames)
        : m_reader(reader), m_frames(chunkFrames),
          m_chunk(chunkBuffer(chunkFrames * static_cast<size_t>(reader.channels()))) {}
    std::span<const float> next() override {
        const long long read = m_reader.read(m_chunk.data(), static_cast<long long>(m_frames));
        return {m_chunk.data(), static_cast<size_t>(std::max(read, 0LL)) *
                                    static_cast<size_t>(m_reader.channels())};
    }

private:
    decoding::AudioFileReader& m_reader;
    size_t m_frames;
    std::vector<float> m_chunk;
};

// Reads on a thread of its own into a few buffers, so that decoding goes on
// while the caller works on what came before. The reader belongs to that
// thread until this object is gone.
class ReadAhead final : public ChunkSource {
public:
    static constexpr size_t kBuffers = 4;

    // Nullptr when the system refuses the thread.
    static std::unique_ptr<ReadAhead> start(decoding::AudioFileReader& reader, size_t chunkFrames) {
        auto ahead = std::make_unique<ReadAhead>(reader, chunkFrames);
        std::optional<std::jthread> thread =
            threads::tryStartThread([self = ahead.get(), chunkFrames](const std::stop_token& stop) {
                self->decodeAll(stop, static_cast<long long>(chunkFrames));
            });
        if (!thread)
            return nullptr;
        ahead->m_thread = std::move(*thread);
        return ahead;
    }

    ReadAhead(decoding::AudioFileReader& reader, size_t chunkFrames) : m_reader(reader) {
        for (size_t i = 0; i < kBuffers; ++i)
            m_free.push_back(chunkBuffer(chunkFrames * static_cast<size_t>(reader.channels())));
    }
    ~ReadAhead() override {
        {
            // Under the lock, so the thread cannot miss it between its test
            // and its wait.
            const std::lock_guard lock(m_mutex);
            m_thread.request_stop();
        }
        m_changed.notify_all();
    }
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    std::span<const float> next() override {
        std::unique_lock lock(m_mutex);
        if (!m_current.empty())
            m_free.push_back(std::move(m_current));
        m_changed.notify_all();
        m_changed.wait(lock, [&] { return !m_filled.empty() || m_ended; });
        if (m_filled.empty()) {
            if (m_failure)
                std::rethrow_exception(m_failure);
            return {};
        }
        auto [buffer, floats] = std::move(m_filled.front());
        m_filled.pop_front();
        m_current = std::move(buffer);
        return {m_current.data(), floats};
    }

private:
    void decodeAll(const std::stop_token& stop, long long chunkFrames) {
        const auto channels = static_cast<size_t>(m_reader.channels());
        std::exception_ptr failure;
        for (;;) {
            std::vector<float> buffer;
            {
                std::unique_lock lock(m_mutex);
                m_changed.wait(lock, [&] { return !m_free.empty() || stop.stop_requested(); });
                if (stop.stop_requested())
                    return;
                buffer = std::move(m_free.back());
                m_free.pop_back();
            }
            long long read = 0;
            try {
                read = m_reader.read(buffer.data(), chunkFrames);
            } catch (...) {
                failure = std::current_exception();
            }
            const std::lock_guard lock(m_mutex);
            if (read > 0) {
                try {
                    m_filled.emplace_back(std::move(buffer), static_cast<size_t>(read) * channels);
                } catch (...) {
                    failure = std::current_exception();
                }
            }
            if (read <= 0 || failure) {
                m_failure = failure;
                m_ended = true;
                m_changed.notify_all();
                return;
            }
            m_changed.notify_all();
        }
    }

    decoding::AudioFileReader& m_reader;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::vector<float>> m_free;
    std::deque<std::pair<std::vector<float>, size_t>> m_filled; // buffer, floats in it
    std::vector<float> m_current;                               // the caller's
    bool m_ended = false;
    std::exception_ptr m_failure;
    std::jthread m_thread; // last: stopped and joined before the rest goes
};

// Reads every frame of an open file, handing each chunk (interleaved, at
// most kMaximumSeconds in all) to `take(chunk, frames)`.
template <typename Take>
void readAll(decoding::AudioFileReader& reader, const CancelCheck& isCancelled, bool ahead,
             Take&& take) {
    const int channels = reader.channels();
    const auto maximumFrames = static_cast<size_t>(kMaximumSeconds * reader.rateHz());
    // Ahead of the caller the chunks are smaller, so that the work on the
    // last one, which nothing overlaps, is short.
    const size_t bytes = ahead ? kReadAheadBytes : kReadBufferBytes;
    const size_t chunkFrames =
        std::max<size_t>(1, bytes / sizeof(float) / static_cast<size_t>(channels));
    std::unique_ptr<ChunkSource> source;
    if (ahead)
        source = ReadAhead::start(reader, chunkFrames);
    // Without a thread to read ahead on, read in turn.
    if (!source)
        source = std::make_unique<ReadInPlace>(reader, chunkFrames);
    size_t total = 0;
    for (;;) {
        throwIfCancelled(isCancelled);
        const std::span<const float> chunk = source->next();
        if (chunk.empty())
            break;
        const auto read = static_cast<long long>(chunk.size() / static_cast<size_t>(channels));
        total += static_cast<size_t>(read);
        if (total > maximumFrames)
            throw Failure::unreadable(text::failure::kTooLong);
        take(chunk.data(), read);
    }
    if (total == 0)
        throw Failure::tooShort();
}

DecodedAudio decodeOpened(decoding::AudioFileReader& reader, const CancelCheck& isCancelled) {
    DecodedAudio result;
    result.sampleRate = reader.rateHz();
    try {
        // The announced length is a hint (headers lie); a little room over it
        // saves a reallocation when it is slightly short.
        const auto announced = static_cast<size_t>(std::max(0LL, reader.announcedFrames()));
        const auto maximumFrames = static_cast<size_t>(kMaximumSeconds * reader.rateHz());
        result.samples.reserve(std::min(announced + announced / 64 + 4096, maximumFrames));
    } catch (const std::bad_alloc&) {
        throw Failure::unreadable(text::failure::kNoAudioBuffer);
    }
    readAll(reader, isCancelled, false, [&](const float* chunk, long long frames) {
        appendMonoMix(chunk, frames, reader.channels(), result.samples);
    });
    result.damaged = reader.damaged();
    return result;
}

AnalysisSignal streamOpened(decoding::AudioFileReader& reader, const AnalysisRequest& request,
                            const CancelCheck& isCancelled) {
    const double rateHz = reader.rateHz();
    PeakColumns peaks(request.waveformColumns, reader.announcedFrames());
    StreamingResampler resampler(rateHz, kAnalysisRateHz);
    const double announced = static_cast<double>(std::max(0LL, reader.announcedFrames()));
    const auto expectedSamples = static_cast<size_t>(announced * kAnalysisRateHz / rateHz);
    LoudestWindow window(request.windowSeconds, expectedSamples);
    const size_t windowSamples = request.windowSeconds * kAnalysisSamplesPerSecond;
    std::optional<OnsetEnvelopeStream> envelope;
    if (request.onsetEnvelope && (request.decodeAhead || expectedSamples <= windowSamples))
        envelope.emplace();
    std::vector<float> mono;
    std::vector<float> resampled;
    const auto keep = [&] {
        window.push(resampled);
        // The first window's envelope, which is the crop's when the crop
        // starts at the file's start.
        if (envelope && envelope->received() < windowSamples)
            envelope->push(std::span(resampled).first(
                std::min(resampled.size(), windowSamples - envelope->received())));
    };
    long long frames = 0;
    // Each read goes down the chain in slices small enough to stay in cache.
    constexpr long long kSliceFrames = 16384;
    const int channels = reader.channels();
    readAll(reader, isCancelled, request.decodeAhead, [&](const float* chunk, long long read) {
        for (long long at = 0; at < read; at += kSliceFrames) {
            mono.clear();
            appendMonoMix(chunk + at * channels, std::min(kSliceFrames, read - at), channels, mono);
            peaks.push(mono);
            resampled.clear();
            if (!resampler.push(mono, resampled, isCancelled))
                throw Failure::cancelled();
            keep();
        }
        frames += read;
    });
    resampled.clear();
    if (!resampler.finish(resampled, isCancelled))
        throw Failure::cancelled();
    keep();

    AnalysisSignal signal;
    LoudestWindow::Crop crop = window.finish();
    signal.window = std::move(crop.samples);
    signal.cropStartSamples = crop.startSamples;
    signal.analysisSamples = crop.totalSamples;
    if (envelope && crop.startSamples == 0)
        signal.envelope = envelope->finish();
    signal.waveform = peaks.finish();
    signal.durationSeconds = static_cast<double>(frames) / rateHz;
    signal.damaged = reader.damaged();
    return signal;
}

template <typename Source> DecodedAudio load(const Source& source, const CancelCheck& isCancelled) {
    try {
        decoding::AudioFileReader reader(source);
        return decodeOpened(reader, isCancelled);
    } catch (const decoding::ReadError& error) {
        throw Failure::unreadable(error.what());
    }
}

} // namespace

DecodedAudio loadMono(const std::string& path, const CancelCheck& isCancelled) {
    return load(path, isCancelled);
}

DecodedAudio loadMonoFromMemory(std::span<const std::byte> bytes, const CancelCheck& isCancelled) {
    return load(bytes, isCancelled);
}

AnalysisSignal loadAnalysisSignal(const std::string& path, const AnalysisRequest& request,
                                  const CancelCheck& isCancelled) {
    try {
        decoding::AudioFileReader reader(path);
        return streamOpened(reader, request, isCancelled);
    } catch (const decoding::ReadError& error) {
        throw Failure::unreadable(error.what());
    }
}

} // namespace quorlen::detection
