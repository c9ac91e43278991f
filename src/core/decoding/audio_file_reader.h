#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

namespace quorlen::decoding {

class Decoder;

// The one audio-file reader of the system: any container and codec the
// installed FFmpeg libraries demux and decode (MP3, AAC and ALAC in MP4,
// WMA, Opus, Vorbis, FLAC, the first audio stream of a video file, ...),
// with PCM WAV, AIFF, CAF and W64 read by libsndfile, delivered as
// interleaved 32-bit floats in -1 ... 1 at the file's own rate and channel
// count. MP3 and MP4 encoder delay and padding are trimmed
// where the file records them.
//
// Damage does not end a file: packets the decoder refuses are skipped and
// reading goes on after them; `damaged()` then answers true. Every error
// is this reader's own (the libraries' global state and logs are never
// consulted), so parallel readers never see each other's messages.
//
// One thread at a time per reader; any number of readers in parallel.
class AudioFileReader {
public:
    // Throws ReadError: "File not found", "Permission denied", "Not a
    // regular file" (FIFOs, devices and folders are refused without waiting
    // on them), "Not an audio file", "The file has no audio", "Unsupported
    // sample rate".
    explicit AudioFileReader(const std::string& path);
    // The same for bytes held by the caller, which must outlive the reader.
    explicit AudioFileReader(std::span<const std::byte> bytes);
    ~AudioFileReader();
    AudioFileReader(const AudioFileReader&) = delete;
    AudioFileReader& operator=(const AudioFileReader&) = delete;

    double rateHz() const;
    int channels() const;
    // Frames the container announces (0 when it does not say): a hint for
    // reserving memory and for the preview's end, not a promise.
    long long announcedFrames() const;

    // Reads up to `frames` frames into `interleaved` (frames × channels
    // floats); returns how many were read, 0 at the end. Throws ReadError
    // only when the very first read fails; a failure later ends the file
    // where it broke and marks it damaged.
    long long read(float* interleaved, long long frames);

    // Positions the next read at `frame` (from the start of the audio).
    // Exact where the container's time stamps allow. Throws ReadError when
    // the file cannot be repositioned.
    void seek(long long frame);

    // Whether some part of the file had to be skipped so far.
    bool damaged() const;

private:
    std::unique_ptr<Decoder> m_decoder;
};

} // namespace quorlen::decoding
