#pragma once

#include "detection/analysis_rate.h"
#include "detection/failure.h"

#include <cstddef>
#include <span>
#include <vector>

namespace quorlen::key {

// Key analysis reads the analysis signal (22050 Hz) in frames four times
// longer than the onset envelope's: 8192 points resolve 2.7 Hz, less than a
// semitone down to about 50 Hz, which the 1024-point onset frames (21.5 Hz
// bins) cannot do below 400 Hz.
inline constexpr double kKeyRateHz = detection::kAnalysisRateHz;
inline constexpr size_t kKeyFrameLength = 8192;
// Frames do not overlap: half the work of overlapping ones for the same key.
inline constexpr size_t kKeyHopSamples = 8192; // 0.372 s
// Longer signals space their frames further apart: 800 frames, however far
// apart, hold a file's key, and the key stays a small part of the analysis.
inline constexpr size_t kMaxKeyFrames = 800;
inline constexpr double kKeyBinHz = kKeyRateHz / double(kKeyFrameLength);
inline constexpr size_t kKeyBins = kKeyFrameLength / 2 + 1;
// The band searched for peaks and measured for energy.
inline constexpr double kPeakLowestHz = 50.0;
inline constexpr double kPeakHighestHz = 5000.0;
inline constexpr size_t kKeyCancelStride = 32; // frames, about 6 s

// One sinusoid of a frame: its frequency and peak magnitude, both refined
// between bins by a parabola through the log magnitudes.
struct Peak {
    float hz = 0.0f;
    float magnitude = 0.0f;
};

// The sinusoidal part of one frame.
struct TonalFrame {
    std::vector<Peak> peaks; // ascending frequency, at most kMaxPeaks
    double energy = 0.0;     // squared magnitudes summed over the peak band
    // Share of `energy` in the peaks' main lobes, 0 ... 1: near 1 for held
    // notes, near 0 for noise and most drum hits, whose energy is spread
    // over the band instead of gathered in lines.
    double tonalness = 0.0;
};

inline constexpr size_t kMaxPeaks = 48;

// Peaks of one magnitude spectrum of kKeyBins bins (Hann window): local
// maxima over two bins either side that stand kProminence times above the
// mean magnitude of the 33 bins around them and within 60 dB of the
// frame's largest; the strongest kMaxPeaks are kept.
TonalFrame tonalFrame(std::span<const float> magnitude);

// Keeps of each frame's tonalness only the share of its peaks that go on in
// a neighbouring frame (a peak within kSustainCents there; shares by
// squared magnitude): a held note spans frames 0.37 s apart, the ringing
// of a drum dies within one. Frames are those of one signal, in order.
inline constexpr double kSustainCents = 35.0;
void keepSustainedTonalness(std::vector<TonalFrame>& frames);

// Where the frames of a signal of `samples` start: every kKeyHopSamples, or
// evenly spaced when that would make more than kMaxKeyFrames.
size_t keyFrameCount(size_t samples);
size_t keyFrameStart(size_t frame, size_t samples);

// The frames of `samples` (22050 Hz): 8192-point Hann frames every 4096
// samples, or at most kMaxKeyFrames spread evenly over a longer signal; a
// signal shorter than one frame is padded with silence. Empty when
// cancelled. Frames are split over `threads` threads; the result does not
// depend on it.
std::vector<TonalFrame> tonalFrames(std::span<const float> samples,
                                    const detection::CancelCheck& isCancelled, int threads = 1);

} // namespace quorlen::key
