#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace quorlen::decoding {

// The FFmpeg functions the reader calls, one per line.
// clang-format off
#define QUORLEN_FFMPEG_FUNCTIONS(X) \
    X(av_malloc) \
    X(av_free) \
    X(av_freep) \
    X(av_rescale_q) \
    X(av_log_set_level) \
    X(av_log_set_callback) \
    X(av_frame_alloc) \
    X(av_frame_free) \
    X(av_frame_unref) \
    X(av_packet_alloc) \
    X(av_packet_free) \
    X(av_packet_unref) \
    X(avio_alloc_context) \
    X(avio_context_free) \
    X(avformat_alloc_context) \
    X(avformat_open_input) \
    X(avformat_find_stream_info) \
    X(avformat_close_input) \
    X(avformat_seek_file) \
    X(av_seek_frame) \
    X(av_read_frame) \
    X(avcodec_find_decoder) \
    X(avcodec_alloc_context3) \
    X(avcodec_parameters_to_context) \
    X(avcodec_open2) \
    X(avcodec_free_context) \
    X(avcodec_send_packet) \
    X(avcodec_receive_frame) \
    X(avcodec_flush_buffers)
// clang-format on

// FFmpeg's libraries, opened at the first file read rather than at program
// start: they pull in over a hundred codec libraries, which would cost
// every command and every launch tens of milliseconds and megabytes.
struct FfmpegLibrary {
// The argument names a function and a member, so it cannot be parenthesised.
#define QUORLEN_FFMPEG_POINTER(name)                                                               \
    decltype(&::name) name = nullptr; // NOLINT(bugprone-macro-parentheses)
    QUORLEN_FFMPEG_FUNCTIONS(QUORLEN_FFMPEG_POINTER)
#undef QUORLEN_FFMPEG_POINTER
};

// Loads the libraries once (any thread) with their logging silenced: every
// message goes to a handler that drops it, since the reader reports its own
// errors and nothing of the libraries may reach stderr. Null when they are
// not installed.
const FfmpegLibrary* ffmpeg();

} // namespace quorlen::decoding
