#pragma once

#include <filesystem>
#include <span>

namespace quorlen::detection::testing {

// How a test file is compressed: an FFmpeg encoder by name ("libmp3lame",
// "aac", "alac", "libopus", "wmav2", "libvorbis"), the container following
// from the file's extension.
struct Encoding {
    const char* encoder = "";
    long bitRate = 0;            // bits per second; 0 for the encoder's default
    bool withVideo = false;      // adds a small grey video stream before the sound
    bool videoOnly = false;      // the video stream without any sound
    const char* title = nullptr; // a title tag, in the container's own tag format
};

// Encodes interleaved float frames of `channels` channels at `rateHz` with
// the ffmpeg program. Returns false when it is missing, or the encoder or
// the container is unavailable or fails.
bool encodeSound(const std::filesystem::path& path, std::span<const float> interleaved,
                 int channels, int rateHz, const Encoding& encoding);

} // namespace quorlen::detection::testing
