#include "detection/onset_envelope.h"

#include "detection/complex_fft.h"
#include "detection/filterbank.h"
#include "detection/parallel_for.h"

#include <algorithm>
#include <cmath>
#include <memory>
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

// The flux of one frame after another: the frame before the first one it
// is given is taken as silence, so that frame's flux stays 0.
template <typename Spectrum> class FrameFlux {
public:
    FrameFlux(const Filterbank& bank, const std::vector<float>& window)
        : m_bank(bank), m_spectrum(window), m_prev(bank.bands.size()), m_cur(bank.bands.size()) {}

    // Makes the frame at `in` the one the next flux is measured against.
    void seed(const float* in) {
        m_spectrum.magnitudes(in, m_magnitude.data());
        m_bank.logEnergies(m_magnitude.data(), m_prev.data());
        m_seeded = true;
    }

    // Adds the flux of the frame at `in` over the previous one.
    void next(const float* in, double& full, double& low, double& mid) {
        m_spectrum.magnitudes(in, m_magnitude.data());
        m_bank.logEnergies(m_magnitude.data(), m_cur.data());
        if (m_seeded)
            m_bank.addFlux(m_prev, m_cur, full, low, mid);
        std::swap(m_prev, m_cur);
        m_seeded = true;
    }

private:
    const Filterbank& m_bank;
    Spectrum m_spectrum;
    std::vector<float> m_magnitude = std::vector<float>(kMagnitudeBins);
    std::vector<double> m_prev;
    std::vector<double> m_cur;
    bool m_seeded = false;
};

// Fills frames [first, last) of `out`. A range that does not start at 0
// first computes the frame before it, so its flux is the same as if one
// pass had run from frame 0. Returns false when cancelled.
template <typename Spectrum>
bool envelopeRange(std::span<const float> samples, const Filterbank& bank,
                   const std::vector<float>& window, size_t first, size_t last,
                   const CancelCheck& isCancelled, Envelope& out) {
    FrameFlux<Spectrum> flux(bank, window);
    if (first > 0)
        flux.seed(samples.data() + (first - 1) * kHopSamples);
    for (size_t i = first; i < last; ++i) {
        if (i % kEnvelopeCancelStride == 0 && isCancelled && isCancelled())
            return false;
        flux.next(samples.data() + i * kHopSamples, out.full[i], out.low[i], out.mid[i]);
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

struct OnsetEnvelopeStream::Frames {
    Filterbank bank;
    std::vector<float> window = hannWindow();
    FrameFlux<RealSpectrum> flux{bank, window};
};

OnsetEnvelopeStream::OnsetEnvelopeStream() : m_frames(std::make_unique<Frames>()) {
    m_pending.reserve(2 * kFrameLength);
}

OnsetEnvelopeStream::~OnsetEnvelopeStream() = default;

void OnsetEnvelopeStream::push(std::span<const float> samples) {
    m_received += samples.size();
    const float* in = samples.data();
    size_t left = samples.size();
    // Frames that lie wholly in the input are read in place; only a frame's
    // worth of it is copied, for the frames that start in the last piece.
    if (!m_pending.empty()) {
        const size_t had = m_pending.size();
        const size_t take = std::min(left, kFrameLength);
        m_pending.insert(m_pending.end(), in, in + take);
        size_t start = 0;
        for (; start + kFrameLength <= m_pending.size(); start += kHopSamples)
            nextFrame(m_pending.data() + start);
        if (start < had) { // all of the input went into the pending samples
            m_pending.erase(m_pending.begin(),
                            m_pending.begin() + static_cast<std::ptrdiff_t>(start));
            return;
        }
        in += start - had;
        left -= start - had;
        m_pending.clear();
    }
    if (left >= kFrameLength) {
        const size_t frames = (left - kFrameLength) / kHopSamples + 1;
        for (size_t i = 0; i < frames; ++i)
            nextFrame(in + i * kHopSamples);
        in += frames * kHopSamples;
        left -= frames * kHopSamples;
    }
    m_pending.assign(in, in + left);
}

void OnsetEnvelopeStream::nextFrame(const float* in) {
    double full = 0.0, low = 0.0, mid = 0.0;
    m_frames->flux.next(in, full, low, mid);
    m_envelope.full.push_back(full);
    m_envelope.low.push_back(low);
    m_envelope.mid.push_back(mid);
}

Envelope OnsetEnvelopeStream::finish() {
    Envelope out = std::move(m_envelope);
    if (m_frames->bank.bands.size() < 3 || m_received < kFrameLength + 1)
        out = {};
    *this = OnsetEnvelopeStream();
    return out;
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
