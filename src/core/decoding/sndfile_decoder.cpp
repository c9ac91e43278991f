#include "decoding/sndfile_decoder.h"

#include "decoding/byte_source.h"
#include "decoding/decoder.h"

#include <sndfile.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>

namespace quorlen::decoding {
namespace {

SF_VIRTUAL_IO byteSourceIo() {
    SF_VIRTUAL_IO io{};
    io.get_filelen = [](void* user) -> sf_count_t {
        return static_cast<ByteSource*>(user)->size();
    };
    io.seek = [](sf_count_t offset, int whence, void* user) -> sf_count_t {
        return static_cast<ByteSource*>(user)->seek(offset, whence);
    };
    io.read = [](void* destination, sf_count_t count, void* user) -> sf_count_t {
        auto* source = static_cast<ByteSource*>(user);
        auto* out = static_cast<std::uint8_t*>(destination);
        sf_count_t done = 0;
        while (done < count) {
            const int n = source->read(
                out + done, static_cast<int>(std::min<sf_count_t>(count - done, 1 << 30)));
            if (n <= 0)
                break; // the end, or an error: libsndfile sees a short read
            done += n;
        }
        return done;
    };
    io.write = [](const void*, sf_count_t, void*) -> sf_count_t { return 0; };
    io.tell = [](void* user) -> sf_count_t {
        return static_cast<ByteSource*>(user)->seek(0, SEEK_CUR);
    };
    return io;
}

// The first `count` bytes (fewer at the end of the file); rewinds.
int readHead(ByteSource& bytes, std::uint8_t* head, int count) {
    int got = 0;
    while (got < count) {
        const int n = bytes.read(head + got, count - got);
        if (n <= 0)
            break;
        got += n;
    }
    bytes.seek(0, SEEK_SET);
    return got;
}

// Only containers libsndfile reads exactly are handed to it, judged by
// their first bytes: probing anything else would reach its MP3 decoder,
// which prints on stderr.
bool looksExact(ByteSource& bytes, SndfileFlac flac) {
    std::uint8_t head[12] = {};
    if (readHead(bytes, head, 12) < 12)
        return false;
    const auto is = [&head](int at, const char* tag) {
        return std::memcmp(head + at, tag, 4) == 0;
    };
    return (is(0, "RIFF") && is(8, "WAVE")) || is(0, "RF64") || is(0, "BW64") ||
           (is(0, "FORM") && (is(8, "AIFF") || is(8, "AIFC"))) || is(0, "caff") ||
           (is(0, "fLaC") && flac == SndfileFlac::take) || is(0, "riff");
}

std::uint32_t littleEndian32(const std::uint8_t* bytes) {
    return std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
           std::uint32_t{bytes[3]} << 24;
}

// The sample rate a RIFF WAVE header states, read from its "fmt " chunk;
// nullopt without one. libsndfile refuses a rate of 0 or from 2^31 Hz on
// as an unknown file, though the header is plainly that of a WAV.
std::optional<std::uint32_t> statedWavRate(ByteSource& bytes) {
    constexpr int kChunksLookedAt = 16;
    std::uint8_t head[12] = {};
    if (readHead(bytes, head, 12) < 12 || std::memcmp(head, "RIFF", 4) != 0 ||
        std::memcmp(head + 8, "WAVE", 4) != 0)
        return std::nullopt;
    std::optional<std::uint32_t> rate;
    std::int64_t at = 12; // after "RIFF", the size and "WAVE"
    for (int i = 0; i < kChunksLookedAt && !rate; ++i) {
        std::uint8_t chunk[16] = {};
        if (bytes.seek(at, SEEK_SET) != at || readHead(bytes, chunk, 16) < 8)
            break;
        const std::uint32_t size = littleEndian32(chunk + 4);
        if (std::memcmp(chunk, "fmt ", 4) == 0 && size >= 8)
            rate = littleEndian32(chunk + 12);
        at += 8 + std::int64_t{size} + (size & 1);
    }
    bytes.seek(0, SEEK_SET);
    return rate;
}

bool isExactFormat(int format) {
    switch (format & SF_FORMAT_TYPEMASK) {
    case SF_FORMAT_WAV:
    case SF_FORMAT_WAVEX:
    case SF_FORMAT_AIFF:
    case SF_FORMAT_CAF:
    case SF_FORMAT_W64:
    case SF_FORMAT_RF64:
    case SF_FORMAT_FLAC:
        break;
    default:
        return false;
    }
    const int subtype = format & SF_FORMAT_SUBMASK;
    return subtype != SF_FORMAT_MPEG_LAYER_I && subtype != SF_FORMAT_MPEG_LAYER_II &&
           subtype != SF_FORMAT_MPEG_LAYER_III;
}

class SndfileDecoder final : public Decoder {
public:
    SndfileDecoder(std::unique_ptr<ByteSource> bytes, SNDFILE* file, const SF_INFO& info)
        : m_bytes(std::move(bytes)), m_file(file) {
        // Float reads come back in -1 ... 1 whatever the stored format.
        sf_command(m_file, SFC_SET_NORM_FLOAT, nullptr, SF_TRUE);
        setFormat(info.samplerate, info.channels, info.frames > 0 ? info.frames : 0);
    }
    ~SndfileDecoder() override { sf_close(m_file); }
    SndfileDecoder(const SndfileDecoder&) = delete;
    SndfileDecoder& operator=(const SndfileDecoder&) = delete;

    long long read(float* interleaved, long long frames) override {
        if (m_atEnd)
            return 0;
        const sf_count_t read = sf_readf_float(m_file, interleaved, frames);
        if (read < frames && sf_error(m_file) != SF_ERR_NO_ERROR) {
            if (!m_producedAny && read <= 0)
                throw ReadError(text::failure::kCouldNotRead);
            m_damaged = true; // a damaged tail ends the file where it breaks
            m_atEnd = true;
        }
        m_producedAny = m_producedAny || read > 0;
        return read;
    }

    void seek(long long frame) override {
        // Past the end there is nothing to read; libsndfile refuses the seek.
        m_atEnd = sf_seek(m_file, frame, SEEK_SET) < 0;
    }

    bool damaged() const override { return m_damaged; }

private:
    std::unique_ptr<ByteSource> m_bytes; // outlives m_file, which reads from it
    SNDFILE* m_file;
    bool m_producedAny = false;
    bool m_damaged = false;
    bool m_atEnd = false;
};

} // namespace

bool startsAsFlac(ByteSource& bytes) {
    std::uint8_t head[4] = {};
    return readHead(bytes, head, 4) == 4 && std::memcmp(head, "fLaC", 4) == 0;
}

std::unique_ptr<Decoder> openSndfileDecoder(std::unique_ptr<ByteSource>& bytes, SndfileFlac flac) {
    if (!looksExact(*bytes, flac))
        return nullptr;
    SF_VIRTUAL_IO io = byteSourceIo();
    SF_INFO info{};
    SNDFILE* file = sf_open_virtual(&io, SFM_READ, &info, bytes.get());
    if (file && isExactFormat(info.format)) {
        try {
            return std::make_unique<SndfileDecoder>(std::move(bytes), file, info);
        } catch (...) {
            sf_close(file);
            throw;
        }
    }
    if (file)
        sf_close(file);
    bytes->seek(0, SEEK_SET);
    if (!file) {
        if (const auto rate = statedWavRate(*bytes);
            rate && (*rate == 0 || *rate > std::uint32_t{INT32_MAX}))
            throw ReadError(text::failure::kUnsupportedRate);
    }
    return nullptr;
}

} // namespace quorlen::decoding
