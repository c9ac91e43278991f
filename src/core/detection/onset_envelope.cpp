#include "detection/onset_envelope.h"

#include "detection/complex_fft.h"
#include "detection/filterbank.h"
#include "detection/parallel_for.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quorlen::detection {
namespace {

constexpr double kCompressionGain = 15.0;

// Periodic, unnormalised Hann window: w[k] = 0.5 (1 - cos(2 pi k / 1024)).
std::vector<float> hannWindow() {
    std::vector<float> window(kFrameLength);
    for (size_t k = 0; k < kFrameLength; ++k)
        window[k] = static_cast<float>(
            0.5 * (1.0 - std::cos(2.0 * std::numbers::pi * double(k) / double(kFrameLength))));
    return window;
}

size_t bandsBelow(const std::vector<Band>& bands, double hz) {
    return static_cast<size_t>(
        std::find_if(bands.begin(), bands.end(), [hz](const Band& b) { return b.centerHz >= hz; }) -
        bands.begin());
}

// The filterbank and the numbers of its bands that feed the low and the mid
// envelopes.
struct Filterbank {
    std::vector<Band> bands = logFilterbank(12.0, 30.0, 10925.0);
    size_t lowCount = bandsBelow(bands, kLowBandLimitHz);
    size_t midEnd = bandsBelow(bands, kMidBandLimitHz);

    // ln(1 + 15 e) per band, e the single-precision weighted sum of magnitudes.
    void logEnergies(const float* magnitude, double* out) const {
        for (size_t b = 0; b < bands.size(); ++b) {
            const Band& band = bands[b];
            float energy = 0.0f;
            for (size_t j = 0; j < band.weights.size(); ++j)
                energy += band.weights[j] * magnitude[band.start + j];
            out[b] = std::log(1.0 + kCompressionGain * double(energy));
        }
    }

    // Rise of each band above the loudest of its three neighbours in the
    // previous frame, summed over all bands, the low and the mid bands.
    void addFlux(const std::vector<double>& prev, const std::vector<double>& cur, double& full,
                 double& low, double& mid) const {
        const size_t last = bands.size() - 1;
        for (size_t b = 0; b <= last; ++b) {
            const double ref =
                std::max({prev[b == 0 ? 0 : b - 1], prev[b], prev[std::min(b + 1, last)]});
            const double rise = cur[b] - ref;
            if (rise > 0.0) {
                full += rise;
                if (b < lowCount)
                    low += rise;
                else if (b < midEnd)
                    mid += rise;
            }
        }
    }
};

// Magnitudes of windowed frames through the real-input transform.
class RealSpectrum {
public:
    explicit RealSpectrum(const std::vector<float>& window) : window_(window) {}
    void magnitudes(const float* in, float* magnitude) {
        for (size_t k = 0; k < kFrameLength; ++k)
            frame_[k] = in[k] * window_[k];
        fft_.forward(frame_, real_, imag_);
        for (size_t k = 0; k < kMagnitudeBins; ++k)
            magnitude[k] = std::sqrt(real_[k] * real_[k] + imag_[k] * imag_[k]);
    }

private:
    const std::vector<float>& window_;
    RealFFT fft_{kFrameLength};
    std::vector<float> frame_ = std::vector<float>(kFrameLength);
    std::vector<float> real_ = std::vector<float>(kMagnitudeBins);
    std::vector<float> imag_ = std::vector<float>(kMagnitudeBins);
};

// The same magnitudes the plain way, through the full complex transform.
class ComplexSpectrum {
public:
    explicit ComplexSpectrum(const std::vector<float>& window) : window_(window) {}
    void magnitudes(const float* in, float* magnitude) {
        for (size_t k = 0; k < kFrameLength; ++k)
            real_[k] = in[k] * window_[k];
        std::fill(imag_.begin(), imag_.end(), 0.0f);
        fft_.forward(real_, imag_);
        for (size_t k = 0; k < kMagnitudeBins; ++k)
            magnitude[k] = std::sqrt(real_[k] * real_[k] + imag_[k] * imag_[k]);
    }

private:
    const std::vector<float>& window_;
    ComplexFFT fft_{kFrameLength};
    std::vector<float> real_ = std::vector<float>(kFrameLength);
    std::vector<float> imag_ = std::vector<float>(kFrameLength);
};

size_t frameCount(size_t samples) { return (samples - kFrameLength) / kHopSamples + 1; }

// Fills frames [first, last) of `out`. A range that does not start at 0
// first computes the frame before it, so its flux is the same as if one
// pass had run from frame 0. Returns false when cancelled.
template <typename Spectrum>
bool envelopeRange(std::span<const float> samples, const Filterbank& bank,
                   const std::vector<float>& window, size_t first, size_t last,
                   const CancelCheck& isCancelled, Envelope& out) {
    Spectrum spectrum(window);
    std::vector<float> magnitude(kMagnitudeBins);
    std::vector<double> prev(bank.bands.size()), cur(bank.bands.size());
    if (first > 0) {
        spectrum.magnitudes(samples.data() + (first - 1) * kHopSamples, magnitude.data());
        bank.logEnergies(magnitude.data(), prev.data());
    }
    for (size_t i = first; i < last; ++i) {
        if (i % kEnvelopeCancelStride == 0 && isCancelled && isCancelled())
            return false;
        spectrum.magnitudes(samples.data() + i * kHopSamples, magnitude.data());
        bank.logEnergies(magnitude.data(), cur.data());
        if (i > 0)
            bank.addFlux(prev, cur, out.full[i], out.low[i], out.mid[i]);
        std::swap(prev, cur);
    }
    return true;
}

template <typename Spectrum>
Envelope envelopeWith(std::span<const float> samples, const CancelCheck& isCancelled, int threads) {
    const Filterbank bank;
    if (bank.bands.size() < 3 || samples.size() < kFrameLength + 1)
        return {};
    const size_t frames = frameCount(samples.size());
    const std::vector<float> window = hannWindow();
    Envelope out{std::vector<double>(frames, 0.0), std::vector<double>(frames, 0.0),
                 std::vector<double>(frames, 0.0)};
    const size_t ranges = std::min<size_t>(static_cast<size_t>(std::max(threads, 1)), frames);
    std::vector<char> finished(ranges, 0);
    parallelFor(ranges, threads, [&](size_t r) {
        finished[r] = envelopeRange<Spectrum>(samples, bank, window, frames * r / ranges,
                                              frames * (r + 1) / ranges, isCancelled, out);
    });
    if (std::count(finished.begin(), finished.end(), 0) > 0)
        return {};
    return out;
}

} // namespace

Envelope onsetEnvelope(std::span<const float> samples, const CancelCheck& isCancelled,
                       int threads) {
    return envelopeWith<RealSpectrum>(samples, isCancelled, threads);
}

Envelope onsetEnvelopeReference(std::span<const float> samples, const CancelCheck& isCancelled) {
    return envelopeWith<ComplexSpectrum>(samples, isCancelled, 1);
}

std::vector<double> normalize(std::span<const double> envelope, double fps) {
    const size_t n = envelope.size();
    if (n == 0)
        return {};
    const auto half = static_cast<size_t>(std::max(std::round(fps), 1.0));
    std::vector<double> prefix(n + 1, 0.0);
    for (size_t i = 0; i < n; ++i)
        prefix[i + 1] = prefix[i] + envelope[i];
    std::vector<double> out(n);
    double sumSquares = 0.0;
    for (size_t i = 0; i < n; ++i) {
        const size_t lo = i >= half ? i - half : 0;
        const size_t hi = std::min(i + half + 1, n);
        const double mean = (prefix[hi] - prefix[lo]) / double(hi - lo);
        out[i] = std::max(envelope[i] - mean, 0.0);
        sumSquares += out[i] * out[i];
    }
    const double meanSquare = sumSquares / double(n);
    if (meanSquare > 0.0) {
        const double rms = std::sqrt(meanSquare);
        for (double& value : out)
            value /= rms;
    }
    return out;
}

} // namespace quorlen::detection
