#pragma once

#include <stdexcept>
#include <string>

namespace quorlen::decoding {

// Why a file could not be read, in the words the user sees: one short line,
// the same for the same file whatever else runs at the time.
namespace message {
inline constexpr const char* kNotFound = "File not found";
inline constexpr const char* kPermissionDenied = "Permission denied";
inline constexpr const char* kNotRegular = "Not a regular file";
inline constexpr const char* kNotAudio = "Not an audio file";
inline constexpr const char* kNoAudio = "The file has no audio";
inline constexpr const char* kUnsupportedRate = "Unsupported sample rate";
inline constexpr const char* kCouldNotRead = "The file could not be read";
inline constexpr const char* kOutOfMemory = "Not enough memory to read this file";
inline constexpr const char* kNoDecoder = "The audio decoding libraries are not installed";
} // namespace message

// Thrown by the reader; `what()` is one of the messages above.
class ReadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace quorlen::decoding
