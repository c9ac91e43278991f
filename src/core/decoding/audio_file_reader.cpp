#include "decoding/audio_file_reader.h"

#include "decoding/byte_source.h"
#include "decoding/frame_conversion.h"
#include "decoding/library_log.h"
#include "decoding/read_error.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mem.h>
}

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

namespace quorlen::decoding {
namespace {

constexpr int kIoBufferBytes = 64 * 1024;
// Rates outside this range come only from damaged headers (1000 Hz would
// already be upsampled 22-fold for analysis).
constexpr int kMinimumRateHz = 1000;
constexpr int kMaximumRateHz = 1536000;
// Packets refused in a row before the rest of the file is given up: a
// resyncing decoder needs a few, a file of noise yields thousands.
constexpr int kMaximumConsecutiveErrors = 1000;
constexpr long long kMostFramesPerByte = 64;
constexpr int kPrerollDivisor = 10; // 0.1 s before a seek target

int readBytes(void* opaque, std::uint8_t* buffer, int size) {
    return static_cast<ByteSource*>(opaque)->read(buffer, size);
}

std::int64_t seekBytes(void* opaque, std::int64_t offset, int whence) {
    auto* source = static_cast<ByteSource*>(opaque);
    if (whence & AVSEEK_SIZE)
        return source->size();
    return source->seek(offset, whence & ~AVSEEK_FORCE);
}

struct FormatCloser {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct IoCloser {
    void operator()(AVIOContext* io) const {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
};
struct CodecCloser {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct PacketCloser {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FrameCloser {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};

const char* openFailure(int error) {
    if (error == AVERROR(ENOMEM))
        return message::kOutOfMemory;
    if (error == AVERROR(EIO))
        return message::kCouldNotRead;
    return message::kNotAudio;
}

// The first audio stream that has a decoder; -1 when there is none.
int firstAudioStream(const AVFormatContext& format, const AVCodec*& codec) {
    bool anyAudio = false;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVCodecParameters* parameters = format.streams[i]->codecpar;
        if (parameters->codec_type != AVMEDIA_TYPE_AUDIO)
            continue;
        anyAudio = true;
        codec = avcodec_find_decoder(parameters->codec_id);
        if (codec)
            return static_cast<int>(i);
    }
    throw ReadError(anyAudio ? message::kNotAudio : message::kNoAudio);
}

} // namespace

struct AudioFileReader::Decoder {
    std::unique_ptr<ByteSource> bytes;
    // Destroyed in reverse: the format context still refers to the I/O context.
    std::unique_ptr<AVIOContext, IoCloser> io;
    std::unique_ptr<AVFormatContext, FormatCloser> format;
    std::unique_ptr<AVCodecContext, CodecCloser> codec;
    std::unique_ptr<AVPacket, PacketCloser> packet{av_packet_alloc()};
    std::unique_ptr<AVFrame, FrameCloser> frame{av_frame_alloc()};
    AVStream* stream = nullptr;
    int rateHz = 0;
    int channels = 0;
    long long announcedFrames = 0;
    std::int64_t originPts = 0; // time stamp of the first frame of audio

    std::vector<float> pending; // decoded, interleaved, not yet handed out
    size_t pendingOffset = 0;   // in floats
    bool draining = false;      // the demuxer is done; the decoder empties
    bool finished = false;
    bool producedAny = false;
    bool damaged = false;
    int consecutiveErrors = 0;
    long long seekTarget = -1; // after a seek: frames before it are dropped

    void open();
    bool decodeMore();
    void takeFrame();
    void noteError();
};

void AudioFileReader::Decoder::open() {
    silenceLibraryLogs();
    if (!packet || !frame)
        throw ReadError(message::kOutOfMemory);
    auto* buffer = static_cast<unsigned char*>(av_malloc(kIoBufferBytes));
    AVIOContext* rawIo = buffer ? avio_alloc_context(buffer, kIoBufferBytes, 0, bytes.get(),
                                                     &readBytes, nullptr, &seekBytes)
                                : nullptr;
    if (!rawIo) {
        av_free(buffer);
        throw ReadError(message::kOutOfMemory);
    }
    io.reset(rawIo);

    AVFormatContext* rawFormat = avformat_alloc_context();
    if (!rawFormat)
        throw ReadError(message::kOutOfMemory);
    rawFormat->pb = io.get();
    rawFormat->flags |= AVFMT_FLAG_CUSTOM_IO;
    if (const int error = avformat_open_input(&rawFormat, nullptr, nullptr, nullptr); error < 0)
        throw ReadError(openFailure(error)); // the context is freed on failure
    format.reset(rawFormat);
    if (const int error = avformat_find_stream_info(format.get(), nullptr); error < 0)
        throw ReadError(openFailure(error));

    const AVCodec* decoder = nullptr;
    const int index = firstAudioStream(*format, decoder);
    for (unsigned i = 0; i < format->nb_streams; ++i)
        format->streams[i]->discard = static_cast<int>(i) == index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    stream = format->streams[index];

    codec.reset(avcodec_alloc_context3(decoder));
    if (!codec)
        throw ReadError(message::kOutOfMemory);
    if (avcodec_parameters_to_context(codec.get(), stream->codecpar) < 0)
        throw ReadError(message::kNotAudio);
    codec->pkt_timebase = stream->time_base;
    codec->thread_count = 1; // files are analysed in parallel instead
    if (const int error = avcodec_open2(codec.get(), decoder, nullptr); error < 0)
        throw ReadError(openFailure(error));

    rateHz = codec->sample_rate;
    channels = codec->ch_layout.nb_channels;
    if (channels < 1)
        throw ReadError(message::kNoAudio);
    if (rateHz < kMinimumRateHz || rateHz > kMaximumRateHz)
        throw ReadError(message::kUnsupportedRate);
    const AVRational perFrame{1, rateHz};
    if (stream->duration > 0)
        announcedFrames = av_rescale_q(stream->duration, stream->time_base, perFrame);
    else if (format->duration > 0)
        announcedFrames = av_rescale_q(format->duration, AV_TIME_BASE_Q, perFrame);
    // A header may claim any length; no codec yields more than this per byte
    // (6 kbit/s Opus at 48 kHz is 64), so a lie cannot reserve gigabytes.
    if (const std::int64_t size = bytes->size(); size > 0)
        announcedFrames = std::min<long long>(announcedFrames, size * kMostFramesPerByte);
    originPts = stream->start_time == AV_NOPTS_VALUE ? 0 : stream->start_time;
}

void AudioFileReader::Decoder::noteError() {
    // Right after a seek a decoder may miss what came before: no damage.
    damaged = damaged || seekTarget < 0;
    if (++consecutiveErrors >= kMaximumConsecutiveErrors)
        finished = true;
}

// Converts the received frame into `pending`, minus what a seek skips.
void AudioFileReader::Decoder::takeFrame() {
    const AVFrame& f = *frame;
    if ((f.decode_error_flags != 0 || (f.flags & AV_FRAME_FLAG_CORRUPT) != 0) && seekTarget < 0)
        damaged = true;
    if (f.sample_rate != rateHz) {
        damaged = true; // a stream that changes rate midway: keep the first rate
        return;
    }
    consecutiveErrors = 0;
    const size_t before = pending.size();
    if (!appendInterleaved(f, channels, pending)) {
        damaged = true;
        return;
    }
    if (seekTarget >= 0) {
        long long drop = 0;
        if (f.best_effort_timestamp != AV_NOPTS_VALUE) {
            const long long first =
                av_rescale_q(f.best_effort_timestamp - originPts, stream->time_base, {1, rateHz});
            drop = std::clamp(seekTarget - first, 0LL, static_cast<long long>(f.nb_samples));
        }
        const auto dropped = pending.begin() + static_cast<std::ptrdiff_t>(before);
        pending.erase(dropped, dropped + static_cast<std::ptrdiff_t>(drop * channels));
        if (drop < f.nb_samples)
            seekTarget = -1;
    }
}

// Decodes until `pending` holds something or the file ends; false at the end.
bool AudioFileReader::Decoder::decodeMore() {
    pending.clear();
    pendingOffset = 0;
    while (!finished) {
        const int received = avcodec_receive_frame(codec.get(), frame.get());
        if (received == 0) {
            takeFrame();
            av_frame_unref(frame.get());
            if (!pending.empty())
                return true;
            continue;
        }
        if (received == AVERROR_EOF) {
            finished = true;
            break;
        }
        if (received != AVERROR(EAGAIN)) {
            noteError();
            continue;
        }
        if (draining) {
            finished = true;
            break;
        }
        const int read = av_read_frame(format.get(), packet.get());
        if (read == AVERROR_EOF) {
            draining = true;
            avcodec_send_packet(codec.get(), nullptr);
            continue;
        }
        if (read < 0) {
            if (read != AVERROR_INVALIDDATA && !producedAny)
                throw ReadError(message::kCouldNotRead);
            noteError();
            if (read != AVERROR_INVALIDDATA) {
                draining = true; // an I/O error ends the file where it broke
                avcodec_send_packet(codec.get(), nullptr);
            }
            continue;
        }
        if (packet->stream_index == stream->index &&
            avcodec_send_packet(codec.get(), packet.get()) < 0)
            noteError();
        av_packet_unref(packet.get());
    }
    return false;
}

AudioFileReader::AudioFileReader(const std::string& path) : AudioFileReader(openFileBytes(path)) {}

AudioFileReader::AudioFileReader(std::span<const std::byte> bytes)
    : AudioFileReader(memoryBytes(bytes)) {}

AudioFileReader::AudioFileReader(std::unique_ptr<ByteSource> bytes)
    : m_decoder(std::make_unique<Decoder>()) {
    m_decoder->bytes = std::move(bytes);
    m_decoder->open();
}

AudioFileReader::~AudioFileReader() = default;

double AudioFileReader::rateHz() const { return m_decoder->rateHz; }
int AudioFileReader::channels() const { return m_decoder->channels; }
long long AudioFileReader::announcedFrames() const { return m_decoder->announcedFrames; }
bool AudioFileReader::damaged() const { return m_decoder->damaged; }

long long AudioFileReader::read(float* interleaved, long long frames) {
    Decoder& d = *m_decoder;
    const auto channels = static_cast<size_t>(d.channels);
    long long done = 0;
    try {
        while (done < frames) {
            if (d.pendingOffset == d.pending.size() && !d.decodeMore())
                break;
            const size_t available = (d.pending.size() - d.pendingOffset) / channels;
            const size_t n = std::min(available, static_cast<size_t>(frames - done));
            std::memcpy(interleaved + static_cast<size_t>(done) * channels,
                        d.pending.data() + d.pendingOffset, n * channels * sizeof(float));
            d.pendingOffset += n * channels;
            done += static_cast<long long>(n);
            d.producedAny = true;
        }
    } catch (const std::bad_alloc&) {
        throw ReadError(message::kOutOfMemory);
    }
    return done;
}

void AudioFileReader::seek(long long frame) {
    Decoder& d = *m_decoder;
    // Nothing read yet: the start needs no search (and raw streams cannot seek).
    if (frame <= 0 && !d.producedAny && d.pending.empty())
        return;
    // Lossy decoders need the frames before the target to rebuild it (MDCT
    // overlap, MP3's bit reservoir): the search lands a little earlier and
    // the frames up to the target are decoded and dropped.
    const long long preroll =
        std::max<long long>(d.stream->codecpar->seek_preroll, d.rateHz / kPrerollDivisor);
    // Near the start the target may lie before the first time stamp: MP4
    // keeps AAC's priming packet there, which the search then includes;
    // containers that refuse such a target get their first stamp instead.
    const std::int64_t target =
        d.originPts + av_rescale_q(frame - preroll, {1, d.rateHz}, d.stream->time_base);
    const int index = d.stream->index;
    AVFormatContext* format = d.format.get();
    if (avformat_seek_file(format, index, INT64_MIN, target, target, 0) < 0 &&
        avformat_seek_file(format, index, INT64_MIN, std::max<std::int64_t>(target, 0),
                           std::max<std::int64_t>(target, 0), 0) < 0 &&
        av_seek_frame(format, index, target, AVSEEK_FLAG_BACKWARD) < 0)
        throw ReadError(message::kCouldNotRead);
    avcodec_flush_buffers(d.codec.get());
    d.pending.clear();
    d.pendingOffset = 0;
    d.draining = false;
    d.finished = false;
    d.consecutiveErrors = 0;
    d.seekTarget = std::max(frame, 0LL);
}

} // namespace quorlen::decoding
