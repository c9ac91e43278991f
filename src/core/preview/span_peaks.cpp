#include "preview/span_peaks.h"

#include "decoding/audio_file_reader.h"
#include "detection/audio_loader.h"

#include <algorithm>
#include <cmath>

namespace quorlen::preview {
namespace {

constexpr long long kReadFrames = 16384;

} // namespace

bool wantsSpanPeaks(double durationSeconds, size_t keptColumns, double spanSeconds,
                    double widthPoints) {
    if (keptColumns == 0 || !(spanSeconds > 0) || !(widthPoints >= 1) ||
        spanSeconds > kMaxDetailSpanSeconds)
        return false;
    return durationSeconds / static_cast<double>(keptColumns) > spanSeconds / widthPoints;
}

std::vector<float> spanPeaks(decoding::AudioFileReader& file, double startSeconds,
                             double spanSeconds, int columns,
                             const std::function<bool()>& isCancelled) {
    if (columns < 1 || !(spanSeconds > 0))
        return {};
    const double rate = file.rateHz();
    const double first = std::max(0.0, startSeconds) * rate;
    const double framesPerColumn = spanSeconds * rate / columns;
    const auto from = static_cast<long long>(std::floor(first));
    const auto to = static_cast<long long>(std::ceil((startSeconds + spanSeconds) * rate));
    file.seek(from);
    const int channels = file.channels();
    std::vector<float> interleaved(static_cast<size_t>(kReadFrames * channels));
    std::vector<float> mono;
    std::vector<float> peaks(static_cast<size_t>(columns), 0.0f);
    bool readAny = false;
    for (long long at = from; at < to;) {
        if (isCancelled && isCancelled())
            return {};
        const long long read = file.read(interleaved.data(), std::min(kReadFrames, to - at));
        if (read <= 0)
            break;
        readAny = true;
        mono.clear();
        detection::appendMonoMix(interleaved.data(), read, channels, mono);
        for (long long i = 0; i < read; ++i) {
            const double column = (static_cast<double>(at + i) - first) / framesPerColumn;
            if (column < 0 || column >= columns)
                continue;
            float& peak = peaks[static_cast<size_t>(column)];
            peak = std::max(peak, std::abs(mono[static_cast<size_t>(i)]));
        }
        at += read;
    }
    return readAny ? peaks : std::vector<float>{};
}

} // namespace quorlen::preview
