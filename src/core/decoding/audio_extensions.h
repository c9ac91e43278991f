#pragma once

#include <span>
#include <string>
#include <string_view>

namespace quorlen::decoding {

// File-name extensions (lower case, without the dot) of the audio files and
// videos with sound that the reader decodes: what folder scans pick up and
// file choosers offer.
std::span<const std::string_view> audioExtensions();

// Whether `fileName` ends in one of them (case-insensitive).
bool hasAudioExtension(std::string_view fileName);

} // namespace quorlen::decoding
