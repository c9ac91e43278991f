#include "test_encoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

namespace quorlen::detection::testing {
namespace {

struct Output {
    AVFormatContext* format = nullptr;
    ~Output() {
        if (format && !(format->oformat->flags & AVFMT_NOFILE))
            avio_closep(&format->pb);
        avformat_free_context(format);
    }
};
struct CodecFree {
    void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct FrameFree {
    void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketFree {
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
using Codec = std::unique_ptr<AVCodecContext, CodecFree>;

struct Stream {
    Codec codec;
    AVStream* stream = nullptr;
};

// Sends `frame` (nullptr flushes) and writes every packet that comes out.
bool encode(AVFormatContext* format, const Stream& s, const AVFrame* frame) {
    if (avcodec_send_frame(s.codec.get(), frame) < 0)
        return false;
    std::unique_ptr<AVPacket, PacketFree> packet(av_packet_alloc());
    for (;;) {
        const int received = avcodec_receive_packet(s.codec.get(), packet.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF)
            return true;
        if (received < 0)
            return false;
        av_packet_rescale_ts(packet.get(), s.codec->time_base, s.stream->time_base);
        packet->stream_index = s.stream->index;
        if (av_interleaved_write_frame(format, packet.get()) < 0)
            return false;
    }
}

bool openStream(AVFormatContext* format, Stream& s, const AVCodec* codec) {
    if (format->oformat->flags & AVFMT_GLOBALHEADER)
        s.codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (avcodec_open2(s.codec.get(), codec, nullptr) < 0)
        return false;
    s.stream = avformat_new_stream(format, nullptr);
    return s.stream && avcodec_parameters_from_context(s.stream->codecpar, s.codec.get()) >= 0 &&
           ((s.stream->time_base = s.codec->time_base), true);
}

// One grey 64x64 picture per second of sound.
bool addVideo(AVFormatContext* format, Stream& video) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_MPEG4);
    if (!codec)
        return false;
    video.codec.reset(avcodec_alloc_context3(codec));
    video.codec->width = 64;
    video.codec->height = 64;
    video.codec->pix_fmt = AV_PIX_FMT_YUV420P;
    video.codec->time_base = {1, 1};
    return openStream(format, video, codec);
}

bool writeVideo(AVFormatContext* format, const Stream& video, int seconds) {
    std::unique_ptr<AVFrame, FrameFree> picture(av_frame_alloc());
    picture->format = AV_PIX_FMT_YUV420P;
    picture->width = 64;
    picture->height = 64;
    if (av_frame_get_buffer(picture.get(), 0) < 0)
        return false;
    for (int plane = 0; plane < 3; ++plane)
        for (int y = 0; y < (plane ? 32 : 64); ++y)
            std::fill_n(picture->data[plane] + y * picture->linesize[plane], plane ? 32 : 64, 128);
    for (int i = 0; i < seconds; ++i) {
        picture->pts = i;
        if (!encode(format, video, picture.get()))
            return false;
    }
    return encode(format, video, nullptr);
}

void store(AVFrame& frame, int channels, int index, int channel, float value) {
    const auto format = static_cast<AVSampleFormat>(frame.format);
    const bool planar = av_sample_fmt_is_planar(format);
    uint8_t* base = frame.extended_data[planar ? channel : 0];
    const int at = planar ? index : index * channels + channel;
    const float v = std::clamp(value, -1.0f, 1.0f);
    switch (av_get_packed_sample_fmt(format)) {
    case AV_SAMPLE_FMT_FLT:
        reinterpret_cast<float*>(base)[at] = v;
        break;
    case AV_SAMPLE_FMT_DBL:
        reinterpret_cast<double*>(base)[at] = v;
        break;
    case AV_SAMPLE_FMT_S16:
        reinterpret_cast<int16_t*>(base)[at] = static_cast<int16_t>(std::lrint(v * 32767.0f));
        break;
    case AV_SAMPLE_FMT_S32:
        reinterpret_cast<int32_t*>(base)[at] = static_cast<int32_t>(std::lrint(v * 2147483392.0));
        break;
    default:
        break;
    }
}

bool writeAudio(AVFormatContext* format, const Stream& audio, std::span<const float> interleaved,
                int channels) {
    const long long total = static_cast<long long>(interleaved.size()) / channels;
    const int frameSize = audio.codec->frame_size > 0 ? audio.codec->frame_size : 4096;
    std::unique_ptr<AVFrame, FrameFree> frame(av_frame_alloc());
    for (long long start = 0; start < total; start += frameSize) {
        const int n = static_cast<int>(std::min<long long>(frameSize, total - start));
        av_frame_unref(frame.get());
        frame->format = audio.codec->sample_fmt;
        frame->nb_samples = n;
        frame->sample_rate = audio.codec->sample_rate;
        av_channel_layout_copy(&frame->ch_layout, &audio.codec->ch_layout);
        if (av_frame_get_buffer(frame.get(), 0) < 0)
            return false;
        for (int i = 0; i < n; ++i)
            for (int c = 0; c < channels; ++c)
                store(*frame, channels, i, c, interleaved[size_t((start + i) * channels + c)]);
        frame->pts = start;
        if (!encode(format, audio, frame.get()))
            return false;
    }
    return encode(format, audio, nullptr);
}

} // namespace

bool encodeSound(const std::filesystem::path& path, std::span<const float> interleaved,
                 int channels, int rateHz, const Encoding& encoding) {
    av_log_set_level(AV_LOG_QUIET);
    Output out;
    if (avformat_alloc_output_context2(&out.format, nullptr, nullptr, path.c_str()) < 0)
        return false;
    const AVCodec* codec = avcodec_find_encoder_by_name(encoding.encoder);
    if (!codec)
        return false;
    Stream video;
    const bool anyVideo = encoding.withVideo || encoding.videoOnly;
    if (anyVideo && !addVideo(out.format, video))
        return false;
    Stream audio;
    audio.codec.reset(avcodec_alloc_context3(codec));
    audio.codec->sample_fmt = codec->sample_fmts ? codec->sample_fmts[0] : AV_SAMPLE_FMT_FLTP;
    audio.codec->sample_rate = rateHz;
    av_channel_layout_default(&audio.codec->ch_layout, channels);
    audio.codec->time_base = {1, rateHz};
    audio.codec->bit_rate = encoding.bitRate;
    audio.codec->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
    if (!encoding.videoOnly && !openStream(out.format, audio, codec))
        return false;
    if (!(out.format->oformat->flags & AVFMT_NOFILE) &&
        avio_open(&out.format->pb, path.c_str(), AVIO_FLAG_WRITE) < 0)
        return false;
    if (avformat_write_header(out.format, nullptr) < 0)
        return false;
    const int seconds = static_cast<int>(std::ceil(double(interleaved.size()) / channels / rateHz));
    if (anyVideo && !writeVideo(out.format, video, seconds))
        return false;
    if (!encoding.videoOnly && !writeAudio(out.format, audio, interleaved, channels))
        return false;
    return av_write_trailer(out.format) == 0;
}

} // namespace quorlen::detection::testing
