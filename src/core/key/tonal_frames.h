#pragma once

#include "detection/failure.h"

#include <cstddef>
#include <span>
#include <vector>

namespace quorlen::key {

// Key analysis reads the analysis signal (22050 Hz) in frames four times
// longer than the onset envelope's: 8192 points resolve 2.7 Hz, less than a
// semitone down to about 50 Hz, which the 1024-point onset frames (21.5 Hz
// bins) cannot do below 400 Hz.
inline constexpr double kKeyRateHz = 22050.0;
inline constexpr size_t kKeyFrameLength = 8192;
inline constexpr size_t kKeyHopSamples = 4096; // 0.186 s
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

// The frames of `samples` (22050 Hz): 8192-point Hann frames every 4096
// samples; a signal shorter than one frame is padded with silence. Empty
// when cancelled.
std::vector<TonalFrame> tonalFrames(std::span<const float> samples,
                                    const detection::CancelCheck& isCancelled);

} // namespace quorlen::key
