#include "detection/audio_loader.h"

#include <sndfile.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
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
size_t plausibleFrameCount(size_t sizeBytes, sf_count_t announced) {
    if (announced <= 0)
        return 0;
    const sf_count_t cap = static_cast<sf_count_t>(sizeBytes) * 16 + kReadChunkFrames;
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

namespace {

// Reads every frame of an open file, mixing chunk by chunk. `sizeBytes`
// bounds the reservation (0 when unknown).
DecodedAudio decodeOpened(SNDFILE* file, const SF_INFO& info, size_t sizeBytes,
                          const CancelCheck& isCancelled) {
    if (info.channels < 1 || info.frames < 1)
        throw Failure::tooShort();
    // Below this rate the upsampling to 22050 Hz would multiply the signal
    // (a 1 Hz header makes 22050 samples of every frame); no audio file has
    // such a rate, only damaged ones.
    if (info.samplerate < kMinimumSampleRateHz)
        throw Failure::unreadable("Unsupported sample rate");
    DecodedAudio result;
    result.sampleRate = static_cast<double>(info.samplerate);
    std::vector<float> chunk;
    try {
        result.samples.reserve(plausibleFrameCount(sizeBytes, info.frames));
        chunk.resize(static_cast<size_t>(kReadChunkFrames) * static_cast<size_t>(info.channels));
    } catch (const std::bad_alloc&) {
        throw Failure::unreadable("Could not allocate an audio buffer");
    }
    // MP3 headers may announce more frames than the stream holds, so the
    // loop ends on the first empty read rather than on the announced length.
    for (;;) {
        throwIfCancelled(isCancelled);
        const sf_count_t read = sf_readf_float(file, chunk.data(), kReadChunkFrames);
        if (read <= 0) {
            if (sf_error(file) != SF_ERR_NO_ERROR && result.samples.empty())
                throw Failure::unreadable(sf_strerror(file));
            break;
        }
        appendMonoMix(chunk.data(), read, info.channels, result.samples);
    }
    return result;
}

// libsndfile's callbacks over a byte buffer.
struct MemoryFile {
    std::span<const std::byte> bytes;
    sf_count_t position = 0;
};

SF_VIRTUAL_IO memoryIo() {
    SF_VIRTUAL_IO io{};
    io.get_filelen = [](void* user) {
        return static_cast<sf_count_t>(static_cast<MemoryFile*>(user)->bytes.size());
    };
    io.seek = [](sf_count_t offset, int whence, void* user) {
        auto* file = static_cast<MemoryFile*>(user);
        const auto size = static_cast<sf_count_t>(file->bytes.size());
        const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? file->position : size;
        file->position = std::clamp<sf_count_t>(base + offset, 0, size);
        return file->position;
    };
    io.read = [](void* destination, sf_count_t count, void* user) {
        auto* file = static_cast<MemoryFile*>(user);
        const sf_count_t available = static_cast<sf_count_t>(file->bytes.size()) - file->position;
        const sf_count_t n = std::clamp<sf_count_t>(count, 0, available);
        std::memcpy(destination, file->bytes.data() + file->position, static_cast<size_t>(n));
        file->position += n;
        return n;
    };
    io.write = [](const void*, sf_count_t, void*) -> sf_count_t { return 0; };
    io.tell = [](void* user) { return static_cast<MemoryFile*>(user)->position; };
    return io;
}

} // namespace

DecodedAudio loadMono(const std::string& path, const CancelCheck& isCancelled) {
    SF_INFO info{};
    SndfileHandle file(sf_open(path.c_str(), SFM_READ, &info));
    if (!file)
        throw Failure::unreadable(sf_strerror(nullptr));
    std::error_code error;
    const auto bytes = std::filesystem::file_size(path, error);
    return decodeOpened(file.get(), info, error ? 0 : static_cast<size_t>(bytes), isCancelled);
}

DecodedAudio loadMonoFromMemory(std::span<const std::byte> bytes, const CancelCheck& isCancelled) {
    MemoryFile memory{bytes};
    SF_VIRTUAL_IO io = memoryIo();
    SF_INFO info{};
    SndfileHandle file(sf_open_virtual(&io, SFM_READ, &info, &memory));
    if (!file)
        throw Failure::unreadable(sf_strerror(nullptr));
    return decodeOpened(file.get(), info, bytes.size(), isCancelled);
}

} // namespace quorlen::detection
