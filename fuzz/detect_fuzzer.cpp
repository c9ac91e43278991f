// libFuzzer target: arbitrary bytes through decoding (libsndfile's PCM,
// FFmpeg's every other format), the preview's seek and read, and the whole
// analysis in every octave mode. Failures the detector reports are fine;
// crashes, sanitizer reports, other exceptions and hangs are findings.
//
// The last bytes of the input steer what is not the file: its final byte
// picks the range's bounds or a text the mode parser must read, the two
// before it where the preview seeks. Decoders take trailing bytes as one
// more (damaged) packet, so the seeds stay files.
#include "decoding/audio_file_reader.h"
#include "decoding/read_error.h"
#include "detection/audio_loader.h"
#include "detection/downbeat.h"
#include "detection/octave_mode.h"
#include "detection/tempo_detector.h"
#include "preview/preview_frames.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace quorlen;

std::uint8_t fromEnd(std::span<const std::uint8_t> data, std::size_t back) {
    return data.size() > back ? data[data.size() - 1 - back] : 0;
}

// A range from the input: bounds built from its bytes (often outside the
// picker's bounds, to be refused), or its last bytes read as text.
detection::OctaveMode rangeMode(std::span<const std::uint8_t> data) {
    const std::uint8_t control = fromEnd(data, 0);
    if (control & 1) {
        const double low = 20.0 + fromEnd(data, 1) * 0.75;
        const double high = low * (1.5 + fromEnd(data, 2) / 64.0);
        return detection::OctaveMode::range(low, high).value_or(
            detection::OctaveMode{detection::OctaveKind::range, detection::OctaveMode::kLowestBpm,
                                  2 * detection::OctaveMode::kLowestBpm});
    }
    const std::size_t length = std::min<std::size_t>(data.size(), 12);
    const std::string_view text(reinterpret_cast<const char*>(data.data() + data.size() - length),
                                length);
    const auto parsed = detection::parseOctaveMode(text.substr(text.find_last_of('\n') + 1));
    if (parsed && parsed->kind == detection::OctaveKind::range)
        (void)detection::parseOctaveMode(detection::octaveModeText(*parsed));
    return parsed.value_or(detection::OctaveMode{detection::OctaveKind::range, 80, 160});
}

// What the preview does from a position: seek, read a chunk, make it
// stereo at the output's rate.
void previewFrom(std::span<const std::uint8_t> data) {
    try {
        decoding::AudioFileReader reader(std::as_bytes(data));
        const long long frame = (fromEnd(data, 1) << 8 | fromEnd(data, 2)) * 97LL;
        reader.seek(frame);
        const int channels = reader.channels();
        constexpr long long kChunkFrames = 2048;
        std::vector<float> chunk(static_cast<std::size_t>(kChunkFrames * channels));
        const long long got = reader.read(chunk.data(), kChunkFrames);
        std::vector<float> stereo(static_cast<std::size_t>(2 * got));
        preview::toStereo(chunk.data(), static_cast<std::size_t>(got), channels, stereo.data());
        preview::LinearResampler resampler(reader.rateHz(), 44100.0);
        std::vector<float> out;
        resampler.push(stereo.data(), static_cast<std::size_t>(got), out);
    } catch (const decoding::ReadError&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorlen::detection;
    const std::span<const std::uint8_t> input(data, size);
    previewFrom(input);
    try {
        DecodedAudio audio = loadMonoFromMemory(std::as_bytes(input), CancelCheck{});
        const double duration = audio.durationSeconds();
        (void)peakEnvelope(audio.samples, kWaveformColumns);
        const TempoEvidence evidence =
            measureTempo(std::move(audio.samples), audio.sampleRate, duration, CancelCheck{});
        for (const OctaveMode& mode :
             {OctaveMode::classic(), OctaveMode::automatic(), rangeMode(input)})
            (void)estimateTempo(evidence, mode);
    } catch (const Failure&) {
    }
    return 0;
}
