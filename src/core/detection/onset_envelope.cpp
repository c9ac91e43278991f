#include "detection/onset_envelope.h"

#include "detection/complex_fft.h"
#include "detection/filterbank.h"

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

// Band state of one analysis: the bands, the previous and current log
// energies, and the envelopes being filled.
class FluxAccumulator {
public:
    FluxAccumulator(size_t frames)
        : bands_(logFilterbank(12.0, 30.0, 10925.0)), prev_(bands_.size()), cur_(bands_.size()) {
        const auto firstHigh = std::find_if(bands_.begin(), bands_.end(), [](const Band& b) {
            return b.centerHz >= kLowBandLimitHz;
        });
        lowCount_ = static_cast<size_t>(firstHigh - bands_.begin());
        result_.full.assign(frames, 0.0);
        result_.low.assign(frames, 0.0);
    }

    bool usable() const { return bands_.size() >= 3; }

    // `magnitude` holds the 513 bin magnitudes of frame i.
    void addFrame(size_t i, const float* magnitude) {
        for (size_t b = 0; b < bands_.size(); ++b) {
            const Band& band = bands_[b];
            float energy = 0.0f;
            for (size_t j = 0; j < band.weights.size(); ++j)
                energy += band.weights[j] * magnitude[band.start + j];
            cur_[b] = std::log(1.0 + kCompressionGain * double(energy));
        }
        if (i > 0) {
            const size_t last = bands_.size() - 1;
            for (size_t b = 0; b <= last; ++b) {
                const double ref =
                    std::max({prev_[b == 0 ? 0 : b - 1], prev_[b], prev_[std::min(b + 1, last)]});
                const double rise = cur_[b] - ref;
                if (rise > 0.0) {
                    result_.full[i] += rise;
                    if (b < lowCount_)
                        result_.low[i] += rise;
                }
            }
        }
        std::swap(prev_, cur_);
    }

    Envelope take() { return std::move(result_); }

private:
    std::vector<Band> bands_;
    std::vector<double> prev_;
    std::vector<double> cur_;
    size_t lowCount_ = 0;
    Envelope result_;
};

size_t frameCount(size_t samples) { return (samples - kFrameLength) / kHopSamples + 1; }

bool cancelledAt(size_t frame, const CancelCheck& isCancelled) {
    return frame % kEnvelopeCancelStride == 0 && isCancelled && isCancelled();
}

} // namespace

Envelope onsetEnvelope(std::span<const float> samples, const CancelCheck& isCancelled) {
    if (samples.size() < kFrameLength + 1)
        return {};
    const size_t frames = frameCount(samples.size());
    FluxAccumulator flux(frames);
    if (!flux.usable())
        return {};
    const std::vector<float> window = hannWindow();
    RealFFT fft(kFrameLength);
    std::vector<float> frame(kFrameLength), real(kMagnitudeBins), imag(kMagnitudeBins);
    std::vector<float> magnitude(kMagnitudeBins);
    for (size_t i = 0; i < frames; ++i) {
        if (cancelledAt(i, isCancelled))
            return {};
        const float* in = samples.data() + i * kHopSamples;
        for (size_t k = 0; k < kFrameLength; ++k)
            frame[k] = in[k] * window[k];
        fft.forward(frame, real, imag);
        for (size_t k = 0; k < kMagnitudeBins; ++k)
            magnitude[k] = std::sqrt(real[k] * real[k] + imag[k] * imag[k]);
        flux.addFrame(i, magnitude.data());
    }
    return flux.take();
}

Envelope onsetEnvelopeReference(std::span<const float> samples, const CancelCheck& isCancelled) {
    if (samples.size() < kFrameLength + 1)
        return {};
    const size_t frames = frameCount(samples.size());
    FluxAccumulator flux(frames);
    if (!flux.usable())
        return {};
    const std::vector<float> window = hannWindow();
    ComplexFFT fft(kFrameLength);
    std::vector<float> real(kFrameLength), imag(kFrameLength), magnitude(kMagnitudeBins);
    for (size_t i = 0; i < frames; ++i) {
        if (cancelledAt(i, isCancelled))
            return {};
        for (size_t k = 0; k < kFrameLength; ++k)
            real[k] = samples[i * kHopSamples + k] * window[k];
        std::fill(imag.begin(), imag.end(), 0.0f);
        fft.forward(real, imag);
        for (size_t k = 0; k < kMagnitudeBins; ++k)
            magnitude[k] = std::sqrt(real[k] * real[k] + imag[k] * imag[k]);
        flux.addFrame(i, magnitude.data());
    }
    return flux.take();
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
