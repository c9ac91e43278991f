#pragma once

#include <memory>

namespace quorlen::decoding {

class ByteSource;
class Decoder;

// Any container and codec FFmpeg's libraries read. Throws ReadError.
std::unique_ptr<Decoder> openFfmpegDecoder(std::unique_ptr<ByteSource> bytes);

} // namespace quorlen::decoding
