#pragma once

#include "detection/failure.h"
#include "detection/onset_envelope.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace quorlen::decoding {
class AudioFileReader;
}

namespace quorlen::detection {

// One file decoded to a single channel of 32-bit floats at its own rate.
struct DecodedAudio {
    std::vector<float> samples;
    double sampleRate = 0.0;
    bool damaged = false; // parts of the file could not be decoded and were skipped

    // Seconds of audio as decoded, before any resampling or cropping.
    double durationSeconds() const {
        return sampleRate > 0.0 ? static_cast<double>(samples.size()) / sampleRate : 0.0;
    }
};

// The one read buffer's size, whatever the channel count: a header that
// claims a thousand channels gets fewer frames per read, not more memory.
inline constexpr size_t kReadBufferBytes = size_t{4} * 1024 * 1024;
// Each of the few buffers of a read ahead of the analysis (about 3 s of
// stereo at 44.1 kHz).
inline constexpr size_t kReadAheadBytes = size_t{1024} * 1024;
// Longest audio read: beyond it a file (or a stream that never ends) is
// refused rather than filling memory. 3 hours at 48 kHz is 2 GB of samples.
inline constexpr double kMaximumSeconds = 3 * 3600.0;

// Decodes the file with the system's audio-file reader and mixes all
// channels to mono with equal weights. Non-finite samples count as
// silence. Throws Failure: unreadable with the reader's message (or
// the too-long text), tooShort for a file without frames, cancelled when
// `isCancelled` answers true (polled once per read).
DecodedAudio loadMono(const std::string& path, const CancelCheck& isCancelled);

// The same for a file held in memory.
DecodedAudio loadMonoFromMemory(std::span<const std::byte> bytes, const CancelCheck& isCancelled);

// What the analysis keeps of a file read in one pass, mixed, resampled and
// cropped chunk by chunk: memory stays that of the window however long the file.
struct AnalysisRequest {
    size_t windowSeconds = 300; // the crop, in whole seconds of the 22050 Hz signal
    int waveformColumns = 1600;
    // Decodes on a thread of its own, a few chunks ahead of the calling
    // thread that mixes, resamples and crops: for when a core is free.
    bool decodeAhead = false;
    // Also measures the onset envelope on the way, for when the window
    // turns out to start at the file's start (AnalysisSignal::envelope).
    // Without decodeAhead only for a file announced to fit the window, as
    // it is wasted work when the crop starts later.
    bool onsetEnvelope = false;
};
struct AnalysisSignal {
    // At 22050 Hz: the whole signal when it fits the window, else the
    // window's loudest whole seconds (loudestWindowStart's choice).
    std::vector<float> window;
    size_t cropStartSamples = 0;  // at 22050 Hz
    size_t analysisSamples = 0;   // the whole signal's length at 22050 Hz
    std::vector<float> waveform;  // PeakColumns of the mono signal at the file's rate
    double durationSeconds = 0.0; // decoded, before resampling or cropping
    bool damaged = false;
    // onsetEnvelope(window), when asked for and measured on the way.
    std::optional<Envelope> envelope;
};

// loadMono, resample to 22050 Hz and the loudest-window crop, without ever
// holding the whole file. Throws as loadMono does.
AnalysisSignal loadAnalysisSignal(const std::string& path, const AnalysisRequest& request,
                                  const CancelCheck& isCancelled);

// Adds one interleaved chunk of `channels` channels to `mono` as the mean of
// the channels (sum in channel order, then scaled by 1/channels in single
// precision). Exposed for tests of the mixing rule.
void appendMonoMix(const float* interleaved, long long frames, int channels,
                   std::vector<float>& mono);

} // namespace quorlen::detection
