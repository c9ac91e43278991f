#include "detection/audio_loader.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <new>
#include <system_error>

namespace quorlen::detection {
namespace {

struct SndfileCloser {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using SndfileHandle = std::unique_ptr<SNDFILE, SndfileCloser>;

// Headers can announce absurd lengths; no decoder we read yields more than
// 16 frames per byte of file, so the reservation is capped by the file size.
size_t plausibleFrameCount(const std::string& path, sf_count_t announced) {
    if (announced <= 0)
        return 0;
    std::error_code error;
    const auto bytes = std::filesystem::file_size(path, error);
    const sf_count_t cap = error ? static_cast<sf_count_t>(kReadChunkFrames)
                           : static_cast<sf_count_t>(bytes) * 16 + kReadChunkFrames;
    return static_cast<size_t>(std::min(announced, cap));
}

} // namespace

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

DecodedAudio loadMono(const std::string& path, const CancelCheck& isCancelled) {
    SF_INFO info{};
    SndfileHandle file(sf_open(path.c_str(), SFM_READ, &info));
    if (!file)
        throw Failure::unreadable(sf_strerror(nullptr));
    if (info.channels < 1 || info.frames < 1)
        throw Failure::tooShort();

    DecodedAudio result;
    result.sampleRate = static_cast<double>(info.samplerate);
    std::vector<float> chunk;
    try {
        result.samples.reserve(plausibleFrameCount(path, info.frames));
        chunk.resize(static_cast<size_t>(kReadChunkFrames) * static_cast<size_t>(info.channels));
    } catch (const std::bad_alloc&) {
        throw Failure::unreadable("Could not allocate an audio buffer");
    }

    // MP3 headers may announce more frames than the stream holds, so the
    // loop ends on the first empty read rather than on the announced length.
    for (;;) {
        throwIfCancelled(isCancelled);
        const sf_count_t read = sf_readf_float(file.get(), chunk.data(), kReadChunkFrames);
        if (read <= 0) {
            if (sf_error(file.get()) != SF_ERR_NO_ERROR && result.samples.empty())
                throw Failure::unreadable(sf_strerror(file.get()));
            break;
        }
        appendMonoMix(chunk.data(), read, info.channels, result.samples);
    }
    return result;
}

} // namespace quorlen::detection
