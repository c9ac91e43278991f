#pragma once

#include "detection/analysis_rate.h"
#include "detection/failure.h"

#include <memory>
#include <span>
#include <vector>

namespace quorlen::detection {

inline constexpr size_t kHopSamples = 256;
// Envelope frames per second at 22050 Hz: 22050 / 256.
inline constexpr double kEnvelopeFps = kAnalysisRateHz / 256.0; // 86.1328125
// Bands centred below this feed the low envelope (kick and bass).
inline constexpr double kLowBandLimitHz = 220.0;
// Bands centred from the low limit up to this feed the mid envelope: the
// body of snares and claps, below most of the hats' energy.
inline constexpr double kMidBandLimitHz = 2000.0;
inline constexpr size_t kEnvelopeCancelStride = 128; // frames, about 1.5 s

// Onset strength per envelope frame (1024-sample frames every 256 samples):
// `full` over all bands, `low` over the bands centred below 220 Hz, `mid`
// over those centred from 220 Hz to below 2 kHz.
struct Envelope {
    std::vector<double> full;
    std::vector<double> low;
    std::vector<double> mid;
};

// Log-compressed spectral flux, ln(1 + 15 e) per band with a maximum filter
// over the three neighbouring bands of the previous frame. Frame 0 is 0.
// Empty when fewer than 1025 samples are given or when cancelled. Frames
// are split over `threads` threads; the result does not depend on it.
Envelope onsetEnvelope(std::span<const float> samples, const CancelCheck& isCancelled,
                       int threads = 1);

// `onsetEnvelope` of a signal that arrives in pieces: each frame is
// computed as soon as its samples are in, so the envelope can be measured
// while the rest of the signal is still being read. Holds less than one
// frame of samples besides the envelope.
class OnsetEnvelopeStream {
public:
    OnsetEnvelopeStream();
    ~OnsetEnvelopeStream();
    OnsetEnvelopeStream(OnsetEnvelopeStream&&) noexcept = default;
    OnsetEnvelopeStream& operator=(OnsetEnvelopeStream&&) noexcept = default;

    void push(std::span<const float> samples);
    size_t received() const { return m_received; }
    // The envelope of everything pushed; the stream starts anew.
    Envelope finish();

private:
    struct Frames;
    void nextFrame(const float* in);

    std::unique_ptr<Frames> m_frames;
    std::vector<float> m_pending; // the next frame's samples so far
    size_t m_received = 0;
    Envelope m_envelope;
};

// The same envelope computed the plain way, with a full complex transform
// per frame; kept to check the real-input transform of `onsetEnvelope`.
Envelope onsetEnvelopeReference(std::span<const float> samples, const CancelCheck& isCancelled);

// Removes the local mean over +-round(fps) frames (about 2 s), keeps the
// positive part and scales to unit root mean square (all zeros stay zeros).
std::vector<double> normalize(std::span<const double> envelope, double fps);

} // namespace quorlen::detection
