#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace quorlen::decoding {
class AudioFileReader;
}

namespace quorlen::preview {

// The longest stretch worth decoding again for its detail: under a second
// of decoding for most files, on a worker thread.
inline constexpr double kMaxDetailSpanSeconds = 600;

// Whether a view of `spanSeconds` over `widthPoints` wants finer peaks than
// the `keptColumns` kept for a file of `durationSeconds`: a kept column is
// wider than a point, and the stretch is short enough to decode again.
bool wantsSpanPeaks(double durationSeconds, size_t keptColumns, double spanSeconds,
                    double widthPoints);

// The waveform of a stretch of a file, finer than the analysis keeps for the
// whole of it: `columns` peaks of the mono mix (the channels' mean, as the
// analysis' waveform, so both draw to the same scale) over `spanSeconds`
// from `startSeconds`, column i covering the i-th of `columns` equal parts.
// Only that stretch is decoded. Columns past the end of the file stay 0.
// Empty when `isCancelled` (polled once per read) answers true or nothing
// could be read. Throws what the reader's seek throws.
std::vector<float> spanPeaks(decoding::AudioFileReader& file, double startSeconds,
                             double spanSeconds, int columns,
                             const std::function<bool()>& isCancelled = {});

} // namespace quorlen::preview
