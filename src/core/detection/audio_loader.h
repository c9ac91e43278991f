#pragma once

#include "detection/failure.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace quorlen::detection {

// One file decoded to a single channel of 32-bit floats at its own rate.
struct DecodedAudio {
    std::vector<float> samples;
    double sampleRate = 0.0;

    // Seconds of audio as decoded, before any resampling or cropping.
    double durationSeconds() const {
        return sampleRate > 0.0 ? static_cast<double>(samples.size()) / sampleRate : 0.0;
    }
};

// Frames per read; the one read buffer holds this many frames of every channel.
inline constexpr long long kReadChunkFrames = 262144;
// Lowest file rate accepted (telephone audio is 8000 Hz).
inline constexpr int kMinimumSampleRateHz = 1000;

// Decodes any format the installed libsndfile reads (WAV, AIFF, CAF, MP3,
// FLAC, Ogg, ...) and mixes all channels to mono with equal weights.
// Non-finite samples count as silence. A read error after some audio was
// collected keeps what was read (a damaged tail does not fail the file).
// Throws Failure: unreadable with libsndfile's message (or "Unsupported
// sample rate" below 1000 Hz), tooShort for an empty file, cancelled when
// `isCancelled` answers true (polled once per chunk).
DecodedAudio loadMono(const std::string& path, const CancelCheck& isCancelled);

// The same for a file held in memory.
DecodedAudio loadMonoFromMemory(std::span<const std::byte> bytes, const CancelCheck& isCancelled);

// Adds one interleaved chunk of `channels` channels to `mono` as the mean of
// the channels (sum in channel order, then scaled by 1/channels in single
// precision). Exposed for tests of the mixing rule.
void appendMonoMix(const float* interleaved, long long frames, int channels,
                   std::vector<float>& mono);

} // namespace quorlen::detection
