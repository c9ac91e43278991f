#include "decoding/audio_file_reader.h"

#include "decoding/byte_source.h"
#include "decoding/decoder.h"
#include "decoding/ffmpeg_decoder.h"
#include "decoding/ffmpeg_library.h"
#include "decoding/sndfile_decoder.h"

namespace quorlen::decoding {
namespace {

// libsndfile where it is exact and loads in no time (PCM), FFmpeg for
// everything else. FLAC too goes to FFmpeg, which skips a damaged frame
// and reads on, where libsndfile ends the file; libsndfile reads it only
// when FFmpeg is not installed.
std::unique_ptr<Decoder> openDecoder(std::unique_ptr<ByteSource> bytes) {
    const SndfileFlac flac =
        startsAsFlac(*bytes) && ffmpeg() ? SndfileFlac::leave : SndfileFlac::take;
    if (std::unique_ptr<Decoder> exact = openSndfileDecoder(bytes, flac))
        return exact;
    return openFfmpegDecoder(std::move(bytes));
}

} // namespace

AudioFileReader::AudioFileReader(const std::string& path)
    : m_decoder(openDecoder(openFileBytes(path))) {}

AudioFileReader::AudioFileReader(std::span<const std::byte> bytes)
    : m_decoder(openDecoder(memoryBytes(bytes))) {}

AudioFileReader::~AudioFileReader() = default;

double AudioFileReader::rateHz() const { return m_decoder->rateHz(); }
int AudioFileReader::channels() const { return m_decoder->channels(); }
long long AudioFileReader::announcedFrames() const { return m_decoder->announcedFrames(); }
bool AudioFileReader::damaged() const { return m_decoder->damaged(); }

long long AudioFileReader::read(float* interleaved, long long frames) {
    return m_decoder->read(interleaved, frames);
}

void AudioFileReader::seek(long long frame) { m_decoder->seek(frame); }

} // namespace quorlen::decoding
