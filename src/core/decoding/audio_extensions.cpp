#include "decoding/audio_extensions.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace quorlen::decoding {
namespace {

constexpr std::array<std::string_view, 29> kExtensions = {
    // uncompressed and lossless
    "wav", "wave", "w64", "aif", "aiff", "aifc", "caf", "au", "flac", "wv", "ape",
    // compressed
    "mp3", "mp2", "m4a", "m4b", "aac", "alac", "ogg", "oga", "opus", "wma", "ac3", "mka",
    // videos with a sound track
    "mp4", "m4v", "mov", "mkv", "webm", "avi"};

} // namespace

std::span<const std::string_view> audioExtensions() { return kExtensions; }

bool hasAudioExtension(std::string_view fileName) {
    const auto dot = fileName.rfind('.');
    if (dot == std::string_view::npos || dot == 0)
        return false;
    std::string extension(fileName.substr(dot + 1));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::find(kExtensions.begin(), kExtensions.end(), extension) != kExtensions.end();
}

} // namespace quorlen::decoding
