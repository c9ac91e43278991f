// libFuzzer target: arbitrary bytes through decoding (libsndfile's PCM and
// FLAC, FFmpeg's every other format) and the whole analysis. Failures the
// detector reports are fine; crashes, sanitizer reports, other exceptions and hangs
// are findings.
#include "detection/audio_loader.h"
#include "detection/downbeat.h"
#include "detection/tempo_detector.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorlen::detection;
    try {
        DecodedAudio audio =
            loadMonoFromMemory(std::as_bytes(std::span(data, size)), CancelCheck{});
        const double duration = audio.durationSeconds();
        (void)peakEnvelope(audio.samples, kWaveformColumns);
        (void)analyze(std::move(audio.samples), audio.sampleRate, duration, CancelCheck{});
    } catch (const Failure&) {
    }
    return 0;
}
