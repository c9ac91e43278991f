#include "decoding/ffmpeg_decoder.h"

#include "decoding/byte_source.h"
#include "decoding/decoder.h"
#include "decoding/ffmpeg_library.h"
#include "decoding/frame_conversion.h"
#include "decoding/read_error.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

namespace quorlen::decoding {
namespace {

constexpr int kIoBufferBytes = 64 * 1024;
// Packets refused in a row before the rest of the file is given up: a
// resyncing decoder needs a few, a file of noise yields thousands.
constexpr int kMaximumConsecutiveErrors = 1000;
constexpr long long kMostFramesPerByte = 64;
constexpr int kPrerollDivisor = 10; // 0.1 s before a seek target
// The longest silence put where refused packets were: a damaged time stamp
// may claim hours, a damaged stretch of a real file is far shorter.
constexpr int kMostGapSeconds = 10;
// Time stamps further apart than the frames between them by this much
// (1/50 s) mean that data was skipped; encoders' rounding stays far below.
constexpr int kJumpDivisor = 50;

// Loaded before any decoder state exists (see FfmpegDecoder::open).
const FfmpegLibrary& av() { return *ffmpeg(); }

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
    void operator()(AVFormatContext* context) const { av().avformat_close_input(&context); }
};
struct IoCloser {
    void operator()(AVIOContext* io) const {
        av().av_freep(&io->buffer);
        av().avio_context_free(&io);
    }
};
struct CodecCloser {
    void operator()(AVCodecContext* context) const { av().avcodec_free_context(&context); }
};
struct PacketCloser {
    void operator()(AVPacket* packet) const { av().av_packet_free(&packet); }
};
struct FrameCloser {
    void operator()(AVFrame* frame) const { av().av_frame_free(&frame); }
};

const char* openFailure(int error) {
    if (error == AVERROR(ENOMEM))
        return text::failure::kOutOfMemory;
    if (error == AVERROR(EIO))
        return text::failure::kCouldNotRead;
    return text::failure::kNotAudio;
}

// The first audio stream that has a decoder; -1 when there is none.
int firstAudioStream(const AVFormatContext& format, const AVCodec*& codec) {
    bool anyAudio = false;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVCodecParameters* parameters = format.streams[i]->codecpar;
        if (parameters->codec_type != AVMEDIA_TYPE_AUDIO)
            continue;
        anyAudio = true;
        codec = av().avcodec_find_decoder(parameters->codec_id);
        if (codec)
            return static_cast<int>(i);
    }
    throw ReadError(anyAudio ? text::failure::kNotAudio : text::failure::kNoAudio);
}

} // namespace

class FfmpegDecoder final : public Decoder {
public:
    explicit FfmpegDecoder(std::unique_ptr<ByteSource> source) : bytes(std::move(source)) {
        open();
    }
    long long read(float* interleaved, long long frames) override;
    void seek(long long frame) override;
    bool damaged() const override { return m_damaged; }

private:
    std::unique_ptr<ByteSource> bytes;
    // Destroyed in reverse: the format context still refers to the I/O context.
    std::unique_ptr<AVIOContext, IoCloser> io;
    std::unique_ptr<AVFormatContext, FormatCloser> format;
    std::unique_ptr<AVCodecContext, CodecCloser> codec;
    std::unique_ptr<AVPacket, PacketCloser> packet;
    std::unique_ptr<AVFrame, FrameCloser> decoded;
    AVStream* stream = nullptr;
    std::int64_t originPts = 0; // time stamp of the first frame of audio

    std::vector<float> pending; // decoded, interleaved, not yet handed out
    size_t pendingOffset = 0;   // in floats
    bool draining = false;      // the demuxer is done; the decoder empties
    bool finished = false;
    bool producedAny = false;
    bool m_damaged = false;
    int consecutiveErrors = 0;
    long long seekTarget = -1; // after a seek: frames before it are dropped
    long long nextFrame = -1;  // where the next decoded frame should start; -1 unknown
    bool refusedSinceFrame = false;
    // The container states the stream's length (rather than FFmpeg guessing
    // it from the bit rate), so a decode that ends well short of it lost data.
    bool lengthStated = false;

    void open();
    bool decodeMore();
    void takeFrame();
    void fillGap(const AVFrame& f);
    void noteError();
    void noteEnd();
};

void FfmpegDecoder::open() {
    if (!ffmpeg())
        throw ReadError(text::failure::kNoDecoder);
    packet.reset(av().av_packet_alloc());
    decoded.reset(av().av_frame_alloc());
    if (!packet || !decoded)
        throw ReadError(text::failure::kOutOfMemory);
    auto* buffer = static_cast<unsigned char*>(av().av_malloc(kIoBufferBytes));
    AVIOContext* rawIo = buffer ? av().avio_alloc_context(buffer, kIoBufferBytes, 0, bytes.get(),
                                                          &readBytes, nullptr, &seekBytes)
                                : nullptr;
    if (!rawIo) {
        av().av_free(buffer);
        throw ReadError(text::failure::kOutOfMemory);
    }
    io.reset(rawIo);

    AVFormatContext* rawFormat = av().avformat_alloc_context();
    if (!rawFormat)
        throw ReadError(text::failure::kOutOfMemory);
    rawFormat->pb = io.get();
    rawFormat->flags |= AVFMT_FLAG_CUSTOM_IO;
    if (const int error = av().avformat_open_input(&rawFormat, nullptr, nullptr, nullptr);
        error < 0)
        throw ReadError(openFailure(error)); // the context is freed on failure
    format.reset(rawFormat);
    if (const int error = av().avformat_find_stream_info(format.get(), nullptr); error < 0)
        throw ReadError(openFailure(error));

    const AVCodec* decoder = nullptr;
    const int index = firstAudioStream(*format, decoder);
    for (unsigned i = 0; i < format->nb_streams; ++i)
        format->streams[i]->discard =
            static_cast<int>(i) == index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    stream = format->streams[index];

    codec.reset(av().avcodec_alloc_context3(decoder));
    if (!codec)
        throw ReadError(text::failure::kOutOfMemory);
    if (av().avcodec_parameters_to_context(codec.get(), stream->codecpar) < 0)
        throw ReadError(text::failure::kNotAudio);
    codec->pkt_timebase = stream->time_base;
    codec->thread_count = 1; // files are analysed in parallel instead
    // A FLAC frame whose checksum fails is refused, so that the damage is
    // noted, instead of being played as it came: every frame carries a
    // CRC-16, and only a damaged one fails it.
    if (decoder->id == AV_CODEC_ID_FLAC)
        codec->err_recognition |= AV_EF_CRCCHECK | AV_EF_EXPLODE;
    if (const int error = av().avcodec_open2(codec.get(), decoder, nullptr); error < 0)
        throw ReadError(openFailure(error));

    const int rateHz = codec->sample_rate;
    const AVRational perFrame{1, std::max(rateHz, 1)};
    long long announcedFrames = 0;
    if (stream->duration > 0)
        announcedFrames = av().av_rescale_q(stream->duration, stream->time_base, perFrame);
    else if (format->duration > 0)
        announcedFrames =
            av().av_rescale_q(format->duration, AVRational{1, AV_TIME_BASE}, perFrame);
    // A header may claim any length; no codec yields more than this per byte
    // (6 kbit/s Opus at 48 kHz is 64), so a lie cannot reserve gigabytes.
    if (const std::int64_t size = bytes->size(); size > 0)
        announcedFrames = std::min<long long>(announcedFrames, size * kMostFramesPerByte);
    lengthStated =
        announcedFrames > 0 && format->duration_estimation_method != AVFMT_DURATION_FROM_BITRATE;
    setFormat(rateHz, codec->ch_layout.nb_channels, announcedFrames);
    originPts = stream->start_time == AV_NOPTS_VALUE ? 0 : stream->start_time;
}

void FfmpegDecoder::noteError() {
    // Right after a seek a decoder may miss what came before: no damage.
    m_damaged = m_damaged || seekTarget < 0;
    refusedSinceFrame = true;
    if (++consecutiveErrors >= kMaximumConsecutiveErrors)
        finished = true;
}

// A demuxer that loses its way in damaged data may skip to the end without
// one refused packet (Ogg looks for its next page and finds none, MP4 and
// FLAC stop at garbage): the decoded stream then ends short of the length
// the container states. Encoder padding and rounding of the stated length
// stay far below the allowance.
void FfmpegDecoder::noteEnd() {
    constexpr int kAllowanceDivisor = 2; // 0.5 s
    if (lengthStated && nextFrame >= 0 &&
        nextFrame + rateHz() / kAllowanceDivisor < announcedFrames())
        m_damaged = true;
}

// Where packets were refused since the last frame, puts silence of their
// length before `f`, as its time stamp tells, so that everything after
// the damage keeps its time: the beat grid of a whole file depends on it.
void FfmpegDecoder::fillGap(const AVFrame& f) {
    long long first = -1;
    if (f.best_effort_timestamp != AV_NOPTS_VALUE)
        first = av().av_rescale_q(f.best_effort_timestamp - originPts, stream->time_base,
                                  {1, rateHz()});
    // A demuxer that resynchronises past damaged bytes (Ogg, looking for its
    // next page) refuses nothing: the jump of the time stamps is the only sign.
    const bool skipped = first > nextFrame + rateHz() / kJumpDivisor;
    if ((refusedSinceFrame || skipped) && seekTarget < 0 && nextFrame >= 0 && first > nextFrame) {
        const long long gap = std::min(first - nextFrame, 1LL * kMostGapSeconds * rateHz());
        pending.insert(pending.end(), static_cast<size_t>(gap * channels()), 0.0f);
        m_damaged = true;
    }
    refusedSinceFrame = false;
    nextFrame = (first >= 0 ? first : nextFrame) + f.nb_samples;
}

// Converts the received frame into `pending`, minus what a seek skips.
void FfmpegDecoder::takeFrame() {
    const AVFrame& f = *decoded;
    if ((f.decode_error_flags != 0 || (f.flags & AV_FRAME_FLAG_CORRUPT) != 0) && seekTarget < 0)
        m_damaged = true;
    if (f.sample_rate != rateHz()) {
        m_damaged = true; // a stream that changes rate midway: keep the first rate
        return;
    }
    consecutiveErrors = 0;
    fillGap(f);
    const size_t before = pending.size();
    if (!appendInterleaved(f, channels(), pending)) {
        m_damaged = true;
        return;
    }
    if (seekTarget >= 0) {
        long long drop = 0;
        if (f.best_effort_timestamp != AV_NOPTS_VALUE) {
            const long long first = av().av_rescale_q(f.best_effort_timestamp - originPts,
                                                      stream->time_base, {1, rateHz()});
            drop = std::clamp(seekTarget - first, 0LL, static_cast<long long>(f.nb_samples));
        }
        const auto dropped = pending.begin() + static_cast<std::ptrdiff_t>(before);
        pending.erase(dropped, dropped + static_cast<std::ptrdiff_t>(drop * channels()));
        if (drop < f.nb_samples)
            seekTarget = -1;
    }
}

// Decodes until `pending` holds something or the file ends; false at the end.
bool FfmpegDecoder::decodeMore() {
    pending.clear();
    pendingOffset = 0;
    while (!finished) {
        const int received = av().avcodec_receive_frame(codec.get(), decoded.get());
        if (received == 0) {
            takeFrame();
            av().av_frame_unref(decoded.get());
            if (!pending.empty())
                return true;
            continue;
        }
        if (received == AVERROR_EOF) {
            finished = true;
            noteEnd();
            break;
        }
        if (received != AVERROR(EAGAIN)) {
            noteError();
            continue;
        }
        if (draining) {
            finished = true;
            noteEnd();
            break;
        }
        const int read = av().av_read_frame(format.get(), packet.get());
        if (read == AVERROR_EOF) {
            draining = true;
            av().avcodec_send_packet(codec.get(), nullptr);
            continue;
        }
        if (read < 0) {
            if (read != AVERROR_INVALIDDATA && !producedAny)
                throw ReadError(text::failure::kCouldNotRead);
            noteError();
            if (read != AVERROR_INVALIDDATA) {
                draining = true; // an I/O error ends the file where it broke
                av().avcodec_send_packet(codec.get(), nullptr);
            }
            continue;
        }
        if (packet->stream_index == stream->index &&
            av().avcodec_send_packet(codec.get(), packet.get()) < 0)
            noteError();
        av().av_packet_unref(packet.get());
    }
    return false;
}

long long FfmpegDecoder::read(float* interleaved, long long frames) {
    const auto width = static_cast<size_t>(channels());
    long long done = 0;
    try {
        while (done < frames) {
            if (pendingOffset == pending.size() && !decodeMore())
                break;
            const size_t available = (pending.size() - pendingOffset) / width;
            const size_t n = std::min(available, static_cast<size_t>(frames - done));
            std::memcpy(interleaved + static_cast<size_t>(done) * width,
                        pending.data() + pendingOffset, n * width * sizeof(float));
            pendingOffset += n * width;
            done += static_cast<long long>(n);
            producedAny = true;
        }
    } catch (const std::bad_alloc&) {
        throw ReadError(text::failure::kOutOfMemory);
    }
    return done;
}

void FfmpegDecoder::seek(long long frame) {
    // Nothing read yet: the start needs no search (and raw streams cannot seek).
    if (frame <= 0 && !producedAny && pending.empty())
        return;
    // Lossy decoders need the frames before the target to rebuild it (MDCT
    // overlap, MP3's bit reservoir): the search lands a little earlier and
    // the frames up to the target are decoded and dropped.
    const long long preroll =
        std::max<long long>(stream->codecpar->seek_preroll, rateHz() / kPrerollDivisor);
    // Near the start the target may lie before the first time stamp: MP4
    // keeps AAC's priming packet there, which the search then includes;
    // containers that refuse such a target get their first stamp instead.
    const std::int64_t target =
        originPts + av().av_rescale_q(frame - preroll, {1, rateHz()}, stream->time_base);
    const int index = stream->index;
    AVFormatContext* context = format.get();
    const std::int64_t notBefore = std::max<std::int64_t>(target, 0);
    if (av().avformat_seek_file(context, index, INT64_MIN, target, target, 0) < 0 &&
        av().avformat_seek_file(context, index, INT64_MIN, notBefore, notBefore, 0) < 0 &&
        av().av_seek_frame(context, index, target, AVSEEK_FLAG_BACKWARD) < 0)
        throw ReadError(text::failure::kCouldNotRead);
    av().avcodec_flush_buffers(codec.get());
    pending.clear();
    pendingOffset = 0;
    draining = false;
    finished = false;
    consecutiveErrors = 0;
    seekTarget = std::max(frame, 0LL);
    nextFrame = -1;
    refusedSinceFrame = false;
}

std::unique_ptr<Decoder> openFfmpegDecoder(std::unique_ptr<ByteSource> bytes) {
    return std::make_unique<FfmpegDecoder>(std::move(bytes));
}

} // namespace quorlen::decoding
