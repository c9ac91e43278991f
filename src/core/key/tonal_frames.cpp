#include "key/tonal_frames.h"

#include "detection/complex_fft.h"
#include "detection/parallel_for.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quorlen::key {
namespace {

// A held sinusoid's main lobe towers about 16 times over the 33-bin mean
// around it; noise maxima rarely reach 3 times (Rayleigh tail).
constexpr double kProminence = 3.5;
constexpr size_t kMeanHalfWidth = 16;
constexpr double kPeakFloor = 1e-3; // -60 dB below the frame's largest bin
constexpr size_t kLobeHalfWidth = 2;

constexpr size_t binAt(double hz) { return static_cast<size_t>(hz / kKeyBinHz); }
constexpr size_t kFirstBin = binAt(kPeakLowestHz) + 1;
constexpr size_t kLastBin = binAt(kPeakHighestHz);

std::vector<float> hannWindow() {
    std::vector<float> window(kKeyFrameLength);
    for (size_t k = 0; k < kKeyFrameLength; ++k)
        window[k] = static_cast<float>(
            0.5 * (1.0 - std::cos(2.0 * std::numbers::pi * double(k) / double(kKeyFrameLength))));
    return window;
}

// Vertex of the parabola through three log magnitudes around bin k.
Peak refine(std::span<const float> magnitude, size_t k) {
    const double a = std::log(std::max(magnitude[k - 1], 1e-30f));
    const double b = std::log(std::max(magnitude[k], 1e-30f));
    const double c = std::log(std::max(magnitude[k + 1], 1e-30f));
    const double curve = a - 2.0 * b + c;
    const double offset = curve < 0.0 ? std::clamp(0.5 * (a - c) / curve, -0.5, 0.5) : 0.0;
    return {static_cast<float>((double(k) + offset) * kKeyBinHz),
            static_cast<float>(std::exp(b - 0.25 * (a - c) * offset))};
}

} // namespace

TonalFrame tonalFrame(std::span<const float> magnitude) {
    TonalFrame frame;
    if (magnitude.size() < kKeyBins)
        return frame;
    // Prefix sums of magnitude and of its square over the whole spectrum.
    std::vector<double> sum(kKeyBins + 1, 0.0);
    float largest = 0.0f;
    for (size_t k = 0; k < kKeyBins; ++k)
        sum[k + 1] = sum[k] + magnitude[k];
    for (size_t k = kFirstBin; k <= kLastBin; ++k) {
        frame.energy += double(magnitude[k]) * magnitude[k];
        largest = std::max(largest, magnitude[k]);
    }
    if (!(frame.energy > 0.0))
        return frame;

    struct Found {
        size_t bin;
        float magnitude;
    };
    std::vector<Found> found;
    const float floor = largest * static_cast<float>(kPeakFloor);
    for (size_t k = kFirstBin; k <= kLastBin; ++k) {
        const float m = magnitude[k];
        if (m < floor || m <= magnitude[k - 1] || m < magnitude[k + 1] || m <= magnitude[k - 2] ||
            m < magnitude[k + 2])
            continue;
        const size_t lo = k - std::min(k, kMeanHalfWidth);
        const size_t hi = std::min(k + kMeanHalfWidth + 1, kKeyBins);
        const double mean = (sum[hi] - sum[lo]) / double(hi - lo);
        if (m >= kProminence * mean)
            found.push_back({k, m});
    }
    if (found.size() > kMaxPeaks) {
        std::nth_element(found.begin(), found.begin() + kMaxPeaks, found.end(),
                         [](const Found& x, const Found& y) { return x.magnitude > y.magnitude; });
        found.resize(kMaxPeaks);
        std::sort(found.begin(), found.end(),
                  [](const Found& x, const Found& y) { return x.bin < y.bin; });
    }
    double lobes = 0.0;
    size_t counted = 0; // bins already in a lobe, so close peaks are not counted twice
    for (const Found& f : found) {
        frame.peaks.push_back(refine(magnitude, f.bin));
        for (size_t k = std::max({f.bin - kLobeHalfWidth, counted, kFirstBin});
             k <= std::min(f.bin + kLobeHalfWidth, kLastBin); ++k)
            lobes += double(magnitude[k]) * magnitude[k];
        counted = f.bin + kLobeHalfWidth + 1;
    }
    frame.tonalness = std::min(1.0, lobes / frame.energy);
    return frame;
}

namespace {

// Whether `frame` holds a peak within kSustainCents of `hz`; its peaks
// ascend, so a binary search finds the nearest.
bool holdsPeakNear(const TonalFrame& frame, float hz) {
    const float low = hz * static_cast<float>(std::exp2(-kSustainCents / 1200.0));
    const float high = hz * static_cast<float>(std::exp2(kSustainCents / 1200.0));
    const auto first = std::lower_bound(frame.peaks.begin(), frame.peaks.end(), low,
                                        [](const Peak& p, float v) { return p.hz < v; });
    return first != frame.peaks.end() && first->hz <= high;
}

} // namespace

void keepSustainedTonalness(std::vector<TonalFrame>& frames) {
    std::vector<double> sustained(frames.size(), 0.0);
    for (size_t t = 0; t < frames.size(); ++t) {
        double all = 0.0, held = 0.0;
        for (const Peak& p : frames[t].peaks) {
            const double e = double(p.magnitude) * p.magnitude;
            all += e;
            if ((t > 0 && holdsPeakNear(frames[t - 1], p.hz)) ||
                (t + 1 < frames.size() && holdsPeakNear(frames[t + 1], p.hz)))
                held += e;
        }
        sustained[t] = all > 0.0 ? frames[t].tonalness * held / all : 0.0;
    }
    for (size_t t = 0; t < frames.size(); ++t)
        frames[t].tonalness = sustained[t];
}

size_t keyFrameCount(size_t samples) {
    if (samples <= kKeyFrameLength)
        return 1;
    return std::min((samples - kKeyFrameLength) / kKeyHopSamples + 1, kMaxKeyFrames);
}

size_t keyFrameStart(size_t frame, size_t samples) {
    const size_t count = keyFrameCount(samples);
    if (count < kMaxKeyFrames)
        return frame * kKeyHopSamples;
    // The last frame ends where the signal ends.
    return (samples - kKeyFrameLength) * frame / (count - 1);
}

std::vector<TonalFrame> tonalFrames(std::span<const float> samples,
                                    const detection::CancelCheck& isCancelled, int threads) {
    const std::vector<float> window = hannWindow();
    const size_t count = keyFrameCount(samples.size());
    std::vector<TonalFrame> frames(count);
    // Frames are independent: each range of them has its own transform.
    const size_t ranges = std::clamp<size_t>(static_cast<size_t>(std::max(threads, 1)), 1,
                                             std::max<size_t>(count, 1));
    std::vector<char> finished(ranges, 0);
    detection::parallelFor(ranges, threads, [&](size_t r) {
        detection::RealFFT fft(kKeyFrameLength);
        std::vector<float> frame(kKeyFrameLength), real(kKeyBins), imag(kKeyBins),
            magnitude(kKeyBins);
        for (size_t i = count * r / ranges; i < count * (r + 1) / ranges; ++i) {
            if (i % kKeyCancelStride == 0 && isCancelled && isCancelled())
                return;
            const size_t start = keyFrameStart(i, samples.size());
            const size_t available = std::min(kKeyFrameLength, samples.size() - start);
            for (size_t k = 0; k < available; ++k)
                frame[k] = samples[start + k] * window[k];
            std::fill(frame.begin() + static_cast<std::ptrdiff_t>(available), frame.end(), 0.0f);
            fft.forward(frame, real, imag);
            for (size_t k = 0; k < kKeyBins; ++k)
                magnitude[k] = std::sqrt(real[k] * real[k] + imag[k] * imag[k]);
            frames[i] = tonalFrame(magnitude);
        }
        finished[r] = 1;
    });
    if (std::count(finished.begin(), finished.end(), 0) > 0)
        return {};
    return frames;
}

} // namespace quorlen::key
