#pragma once

#include <memory>

namespace quorlen::decoding {

class ByteSource;
class Decoder;

// PCM in WAV, AIFF, CAF, W64 and RF64, and FLAC, through libsndfile: exact
// and quick to load. Anything else (including what libsndfile would hand
// to its MP3 and Ogg decoders) gives nullptr, the bytes rewound and still
// owned by the caller. Throws ReadError for a file it recognises but
// cannot use (a rate no audio has).
std::unique_ptr<Decoder> openSndfileDecoder(std::unique_ptr<ByteSource>& bytes);

} // namespace quorlen::decoding
