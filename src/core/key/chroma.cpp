#include "key/chroma.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quorlen::key {
namespace {

constexpr int kHistogramBins = 100;     // one per cent
constexpr double kSmoothingCents = 3.0; // standard deviation of the histogram's kernel
constexpr double kRefineCents = 8.0;

float strongestPeak(const TonalFrame& frame) {
    float strongest = 0.0f;
    for (const Peak& p : frame.peaks)
        strongest = std::max(strongest, p.magnitude);
    return strongest;
}

// Semitones above A4 = 440 Hz, fractional.
double semitonesFromA4(double hz) { return 12.0 * std::log2(hz / 440.0); }

// x wrapped into [-50, 50).
double wrapCents(double x) { return x - 100.0 * std::floor((x + 50.0) / 100.0); }

} // namespace

double peakWeight(const TonalFrame& frame, const Peak& peak, float strongest) {
    if (!(strongest > 0.0f))
        return 0.0;
    return frame.tonalness * std::sqrt(double(peak.magnitude) / double(strongest));
}

std::optional<double> estimateTuning(std::span<const TonalFrame> frames) {
    std::array<double, kHistogramBins> histogram{};
    double total = 0.0;
    for (const TonalFrame& frame : frames) {
        const float strongest = strongestPeak(frame);
        for (const Peak& p : frame.peaks) {
            if (p.hz < kTuningLowestHz || p.hz > kTuningHighestHz)
                continue;
            const double w = peakWeight(frame, p, strongest);
            const double cents = wrapCents(100.0 * semitonesFromA4(p.hz)) + 50.0; // 0 ... 100
            // Shared between the two nearest whole cents.
            const double lower = std::floor(cents);
            const double share = cents - lower;
            histogram[static_cast<size_t>(int(lower) % kHistogramBins)] += w * (1.0 - share);
            histogram[static_cast<size_t>((int(lower) + 1) % kHistogramBins)] += w * share;
            total += w;
        }
    }
    if (!(total > 0.0))
        return std::nullopt;

    std::array<double, kHistogramBins> smooth{};
    const int reach = static_cast<int>(std::ceil(3.0 * kSmoothingCents));
    for (int i = 0; i < kHistogramBins; ++i)
        for (int d = -reach; d <= reach; ++d)
            smooth[static_cast<size_t>(i)] +=
                histogram[static_cast<size_t>((i + d + kHistogramBins) % kHistogramBins)] *
                std::exp(-0.5 * double(d * d) / (kSmoothingCents * kSmoothingCents));
    const int mode =
        static_cast<int>(std::max_element(smooth.begin(), smooth.end()) - smooth.begin());

    double sum = 0.0, weight = 0.0;
    const int near = static_cast<int>(kRefineCents);
    for (int d = -near; d <= near; ++d) {
        const double w =
            histogram[static_cast<size_t>((mode + d + kHistogramBins) % kHistogramBins)];
        sum += w * double(mode + d);
        weight += w;
    }
    const double centre = weight > 0.0 ? sum / weight : double(mode);
    // Bin b holds offsets of b - 50 cents; +50 itself belongs to the range's top.
    const double cents = wrapCents(centre - 50.0);
    return cents == -50.0 ? 50.0 : cents;
}

Chroma foldChroma(std::span<const TonalFrame> frames, double tuningCents) {
    Chroma chroma;
    const double shift = tuningCents / 100.0;
    for (const TonalFrame& frame : frames) {
        const float strongest = strongestPeak(frame);
        for (const Peak& p : frame.peaks) {
            if (p.hz < kChromaLowestHz || p.hz > kChromaHighestHz)
                continue;
            const double pitch = semitonesFromA4(p.hz) - shift + 69.0; // MIDI number
            const double nearest = std::round(pitch);
            const double distance = pitch - nearest;
            const double c = std::cos(std::numbers::pi * distance);
            const double w = peakWeight(frame, p, strongest) * c * c;
            const auto pitchClass = static_cast<size_t>((int(nearest) % 12 + 12) % 12);
            chroma.all[pitchClass] += w;
            if (p.hz <= kBassHighestHz)
                chroma.bass[pitchClass] += w;
        }
    }
    return chroma;
}

} // namespace quorlen::key
