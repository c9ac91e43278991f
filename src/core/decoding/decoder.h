#pragma once

#include "decoding/read_error.h"

namespace quorlen::decoding {

// One decoding library behind the reader (see AudioFileReader for the
// contract of each operation).
class Decoder {
public:
    virtual ~Decoder() = default;
    virtual long long read(float* interleaved, long long frames) = 0;
    virtual void seek(long long frame) = 0;
    virtual bool damaged() const = 0;

    int rateHz() const { return m_rateHz; }
    int channels() const { return m_channels; }
    long long announcedFrames() const { return m_announcedFrames; }

protected:
    // Throws ReadError for a stream without channels or with a rate that only
    // damaged headers have (1000 Hz would already be upsampled 22-fold for
    // analysis).
    void setFormat(int rateHz, int channels, long long announcedFrames) {
        if (channels < 1)
            throw ReadError(text::failure::kNoAudio);
        if (rateHz < kMinimumRateHz || rateHz > kMaximumRateHz)
            throw ReadError(text::failure::kUnsupportedRate);
        m_rateHz = rateHz;
        m_channels = channels;
        m_announcedFrames = announcedFrames;
    }

private:
    static constexpr int kMinimumRateHz = 1000;
    static constexpr int kMaximumRateHz = 1536000;
    int m_rateHz = 0;
    int m_channels = 0;
    long long m_announcedFrames = 0;
};

} // namespace quorlen::decoding
