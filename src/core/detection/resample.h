#pragma once

#include "detection/analysis_rate.h"
#include "detection/failure.h"

#include <cstddef>
#include <span>
#include <vector>

namespace quorlen::detection {

// How often (in output samples) the resampler polls for cancellation.
inline constexpr size_t kResampleCancelStride = 65536;

// Converts `samples` from `fromHz` to `toHz`. Rates closer than 1 Hz, a
// non-positive source rate or an empty input return the input unchanged.
// Ratios from/to above 1.5 decimate with a box filter of 2*trunc(ratio/2)+1
// taps centred on round(ratio*i); others interpolate linearly. Returns an
// empty vector when cancelled (the caller reports it).
std::vector<float> resample(std::span<const float> samples, double fromHz, double toHz,
                            const CancelCheck& isCancelled);

// Same result as `resample`, computed over the caller's buffer: for every
// ratio above 1 output i only reads inputs at or after i, so it overwrites
// the input as it goes and never holds two copies of a long file. Returns
// false when cancelled (the buffer content is then unspecified).
bool resampleInPlace(std::vector<float>& samples, double fromHz, double toHz,
                     const CancelCheck& isCancelled);

// `resample` over an input that arrives in pieces: the concatenated
// outputs of every push and of finish are exactly `resample` of the
// concatenated inputs (the output length and the last taps depend on the
// input's length, so the tail waits for finish). Holds only the few inputs
// that outputs still to come will read. Returns false when cancelled
// (polled at the same outputs as `resample`).
class StreamingResampler {
public:
    StreamingResampler(double fromHz, double toHz);

    // Appends what the input so far fixes to `out`.
    bool push(std::span<const float> input, std::vector<float>& out,
              const CancelCheck& isCancelled);
    // Appends the rest, once the input has ended.
    bool finish(std::vector<float>& out, const CancelCheck& isCancelled);

private:
    size_t outputsFor(long long inputLength) const;
    bool emit(size_t until, bool atEnd, std::vector<float>& out, const CancelCheck& isCancelled);

    bool m_passThrough = false;
    double m_ratio = 1.0;
    long long m_half = 0;
    std::vector<float> m_pending; // inputs from m_base on
    long long m_base = 0;
    long long m_received = 0;
    size_t m_next = 0; // the next output's index
};

// Start (in samples, a multiple of 22050) of the window of `windowLength`
// samples with the most energy, searched on whole one-second blocks of the
// 22050 Hz signal; ties keep the earlier window.
size_t loudestWindowStart(std::span<const float> samples, size_t windowLength);

// Samples in one moment of `loudestMomentRms`: 46 ms at 22050 Hz, about
// the length of a drum hit, so a sparse click counts at its own level.
inline constexpr size_t kMomentSamples = 1024;

// Root mean square of the loudest of the signal's whole consecutive blocks
// of kMomentSamples (of all of it when it is shorter); 0 when empty. Unlike
// a peak, it hardly grows with the length of a noise.
double loudestMomentRms(std::span<const float> samples);

} // namespace quorlen::detection
