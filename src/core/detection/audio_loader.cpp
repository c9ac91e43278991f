#include "detection/audio_loader.h"

#include "decoding/audio_file_reader.h"
#include "decoding/read_error.h"
#include "detection/loudest_window.h"
#include "detection/resample.h"
#include "detection/waveform_peaks.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

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

// Reads every frame of an open file, handing each chunk (interleaved, at
// most kMaximumSeconds in all) to `take(chunk, frames)`.
template <typename Take>
void readAll(decoding::AudioFileReader& reader, const CancelCheck& isCancelled, Take&& take) {
    const int channels = reader.channels();
    const auto maximumFrames = static_cast<size_t>(kMaximumSeconds * reader.rateHz());
    const size_t chunkFrames =
        std::max<size_t>(1, kReadBufferBytes / sizeof(float) / static_cast<size_t>(channels));
    std::vector<float> chunk;
    try {
        chunk.resize(chunkFrames * static_cast<size_t>(channels));
    } catch (const std::bad_alloc&) {
        throw Failure::unreadable("Could not allocate an audio buffer");
    }
    size_t total = 0;
    for (;;) {
        throwIfCancelled(isCancelled);
        const long long read = reader.read(chunk.data(), static_cast<long long>(chunkFrames));
        if (read <= 0)
            break;
        total += static_cast<size_t>(read);
        if (total > maximumFrames)
            throw Failure::unreadable(kTooLongMessage);
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
        throw Failure::unreadable("Could not allocate an audio buffer");
    }
    readAll(reader, isCancelled, [&](const float* chunk, long long frames) {
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
    LoudestWindow window(request.windowSeconds,
                         static_cast<size_t>(announced * kAnalysisRateHz / rateHz));
    std::vector<float> mono;
    std::vector<float> resampled;
    long long frames = 0;
    // Each read goes down the chain in slices small enough to stay in cache.
    constexpr long long kSliceFrames = 16384;
    const int channels = reader.channels();
    readAll(reader, isCancelled, [&](const float* chunk, long long read) {
        for (long long at = 0; at < read; at += kSliceFrames) {
            mono.clear();
            appendMonoMix(chunk + at * channels, std::min(kSliceFrames, read - at), channels, mono);
            peaks.push(mono);
            resampled.clear();
            if (!resampler.push(mono, resampled, isCancelled))
                throw Failure::cancelled();
            window.push(resampled);
        }
        frames += read;
    });
    resampled.clear();
    if (!resampler.finish(resampled, isCancelled))
        throw Failure::cancelled();
    window.push(resampled);

    AnalysisSignal signal;
    LoudestWindow::Crop crop = window.finish();
    signal.window = std::move(crop.samples);
    signal.cropStartSamples = crop.startSamples;
    signal.analysisSamples = crop.totalSamples;
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
