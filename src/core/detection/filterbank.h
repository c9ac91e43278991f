#pragma once

#include "detection/analysis_rate.h"

#include <cstddef>
#include <vector>

namespace quorlen::detection {

// The envelope's spectrum: 1024-point frames of 22050 Hz audio.
inline constexpr size_t kFrameLength = 1024;
inline constexpr size_t kMagnitudeBins = kFrameLength / 2 + 1;  // 513
inline constexpr double kBinWidthHz = kAnalysisRateHz / 1024.0; // 21.533203125

// One triangular filter over FFT magnitude bins: weight 0 at `start`, 1 at
// the centre bin, 0 again at the last bin it covers.
struct Band {
    size_t start = 0;
    std::vector<float> weights;
    double centerHz = 0.0;
};

// Triangular bands spaced `perOctave` to the octave from `minHz` to `maxHz`,
// centred on the distinct rounded bins of minHz * 2^(k/perOctave) within
// 1 ... 512. The first and last such bins only bound their neighbours, so
// (12, 30, 10925) keeps 76 bins and makes 74 bands. Fewer than 3 bins give
// no bands.
std::vector<Band> logFilterbank(double perOctave, double minHz, double maxHz);

// The kept centre bins behind `logFilterbank`, strictly increasing.
std::vector<size_t> filterbankBins(double perOctave, double minHz, double maxHz);

} // namespace quorlen::detection
