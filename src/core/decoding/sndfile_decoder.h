#pragma once

#include <memory>

namespace quorlen::decoding {

class ByteSource;
class Decoder;

// Whether FLAC is taken too: libsndfile ends a FLAC file at its first
// damaged frame, so it reads FLAC only where no other decoder can.
enum class SndfileFlac { take, leave };

// PCM in WAV, AIFF, CAF, W64 and RF64, and FLAC unless left, through
// libsndfile: exact and quick to load. Anything else (including what
// libsndfile would hand to its MP3 and Ogg decoders) gives nullptr, the
// bytes rewound and still owned by the caller. Throws ReadError for a file
// it recognises but cannot use (a rate no audio has).
std::unique_ptr<Decoder> openSndfileDecoder(std::unique_ptr<ByteSource>& bytes, SndfileFlac flac);

// Whether the bytes start as a FLAC stream does; they are rewound.
bool startsAsFlac(ByteSource& bytes);

} // namespace quorlen::decoding
