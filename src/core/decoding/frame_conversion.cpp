#include "decoding/frame_conversion.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
}

#include <algorithm>
#include <cstdint>
#include <type_traits>

namespace quorlen::decoding {
namespace {

template <typename Sample> float toFloat(Sample value) {
    if constexpr (std::is_same_v<Sample, std::uint8_t>)
        return static_cast<float>(static_cast<int>(value) - 128) * (1.0f / 128.0f);
    else if constexpr (std::is_same_v<Sample, std::int16_t>)
        return static_cast<float>(value) * (1.0f / 32768.0f);
    else if constexpr (std::is_same_v<Sample, std::int32_t>)
        return static_cast<float>(static_cast<double>(value) * (1.0 / 2147483648.0));
    else if constexpr (std::is_same_v<Sample, std::int64_t>)
        return static_cast<float>(static_cast<double>(value) * (1.0 / 9223372036854775808.0));
    else
        return static_cast<float>(value);
}

// Sample i of channel c lives at planes[c][i] (planar) or planes[0][i * stride + c].
template <typename Sample>
void convert(const AVFrame& frame, bool planar, int channels, float* out) {
    const int present = frame.ch_layout.nb_channels;
    const int kept = std::min(present, channels);
    const auto frames = static_cast<size_t>(frame.nb_samples);
    for (int c = 0; c < kept; ++c) {
        const auto* plane = reinterpret_cast<const Sample*>(planar ? frame.extended_data[c]
                                                                   : frame.extended_data[0]);
        const size_t stride = planar ? 1 : static_cast<size_t>(present);
        const size_t first = planar ? 0 : static_cast<size_t>(c);
        for (size_t i = 0; i < frames; ++i)
            out[i * static_cast<size_t>(channels) + static_cast<size_t>(c)] =
                toFloat(plane[first + i * stride]);
    }
    for (int c = kept; c < channels; ++c)
        for (size_t i = 0; i < frames; ++i)
            out[i * static_cast<size_t>(channels) + static_cast<size_t>(c)] = 0.0f;
}

// Planar formats keep one plane per channel; returns the sample type's
// packed twin in `packed`.
bool isPlanar(AVSampleFormat format, AVSampleFormat& packed) {
    switch (format) {
    case AV_SAMPLE_FMT_U8P:
        packed = AV_SAMPLE_FMT_U8;
        return true;
    case AV_SAMPLE_FMT_S16P:
        packed = AV_SAMPLE_FMT_S16;
        return true;
    case AV_SAMPLE_FMT_S32P:
        packed = AV_SAMPLE_FMT_S32;
        return true;
    case AV_SAMPLE_FMT_S64P:
        packed = AV_SAMPLE_FMT_S64;
        return true;
    case AV_SAMPLE_FMT_FLTP:
        packed = AV_SAMPLE_FMT_FLT;
        return true;
    case AV_SAMPLE_FMT_DBLP:
        packed = AV_SAMPLE_FMT_DBL;
        return true;
    default:
        packed = format;
        return false;
    }
}

} // namespace

bool appendInterleaved(const AVFrame& frame, int channels, std::vector<float>& interleaved) {
    if (frame.nb_samples <= 0 || channels <= 0)
        return true;
    AVSampleFormat packed = AV_SAMPLE_FMT_NONE;
    const bool planar = isPlanar(static_cast<AVSampleFormat>(frame.format), packed);
    const size_t first = interleaved.size();
    const size_t count = static_cast<size_t>(frame.nb_samples) * static_cast<size_t>(channels);
    interleaved.resize(first + count);
    float* out = interleaved.data() + first;
    switch (packed) {
    case AV_SAMPLE_FMT_U8:
        convert<std::uint8_t>(frame, planar, channels, out);
        return true;
    case AV_SAMPLE_FMT_S16:
        convert<std::int16_t>(frame, planar, channels, out);
        return true;
    case AV_SAMPLE_FMT_S32:
        convert<std::int32_t>(frame, planar, channels, out);
        return true;
    case AV_SAMPLE_FMT_S64:
        convert<std::int64_t>(frame, planar, channels, out);
        return true;
    case AV_SAMPLE_FMT_FLT:
        convert<float>(frame, planar, channels, out);
        return true;
    case AV_SAMPLE_FMT_DBL:
        convert<double>(frame, planar, channels, out);
        return true;
    default:
        interleaved.resize(first);
        return false;
    }
}

} // namespace quorlen::decoding
