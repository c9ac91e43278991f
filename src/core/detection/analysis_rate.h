#pragma once

#include <cstddef>

namespace quorlen::detection {

// Tempo and key are both measured on mono audio at this one rate; every
// frame length, hop and window of the detectors is counted in its samples.
inline constexpr double kAnalysisRateHz = 22050.0;
inline constexpr size_t kAnalysisSamplesPerSecond = static_cast<size_t>(kAnalysisRateHz);

} // namespace quorlen::detection
