#include "decoding/audio_file_reader.h"

#include "decoding/byte_source.h"
#include "decoding/decoder.h"
#include "decoding/ffmpeg_decoder.h"
#include "decoding/sndfile_decoder.h"

namespace quorlen::decoding {
namespace {

// libsndfile where it is exact and loads in no time (PCM and FLAC), FFmpeg
// for everything else.
std::unique_ptr<Decoder> openDecoder(std::unique_ptr<ByteSource> bytes) {
    if (std::unique_ptr<Decoder> exact = openSndfileDecoder(bytes))
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
