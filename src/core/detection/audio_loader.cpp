#include "detection/audio_loader.h"

#include "decoding/audio_file_reader.h"
#include "decoding/read_error.h"

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

// Reads every frame of an open file, mixing chunk by chunk.
DecodedAudio decodeOpened(decoding::AudioFileReader& reader, const CancelCheck& isCancelled) {
    const int channels = reader.channels();
    const auto maximumFrames = static_cast<size_t>(kMaximumSeconds * reader.rateHz());
    const size_t chunkFrames =
        std::max<size_t>(1, kReadBufferBytes / sizeof(float) / static_cast<size_t>(channels));
    DecodedAudio result;
    result.sampleRate = reader.rateHz();
    std::vector<float> chunk;
    try {
        // The announced length is a hint (headers lie); a little room over it
        // saves a reallocation when it is slightly short.
        const auto announced = static_cast<size_t>(std::max(0LL, reader.announcedFrames()));
        result.samples.reserve(std::min(announced + announced / 64 + 4096, maximumFrames));
        chunk.resize(chunkFrames * static_cast<size_t>(channels));
    } catch (const std::bad_alloc&) {
        throw Failure::unreadable("Could not allocate an audio buffer");
    }
    for (;;) {
        throwIfCancelled(isCancelled);
        const long long read = reader.read(chunk.data(), static_cast<long long>(chunkFrames));
        if (read <= 0)
            break;
        if (result.samples.size() + static_cast<size_t>(read) > maximumFrames)
            throw Failure::unreadable(kTooLongMessage);
        appendMonoMix(chunk.data(), read, channels, result.samples);
    }
    if (result.samples.empty())
        throw Failure::tooShort();
    result.damaged = reader.damaged();
    return result;
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

} // namespace quorlen::detection
