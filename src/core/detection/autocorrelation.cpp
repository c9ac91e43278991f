#include "detection/autocorrelation.h"

#include "detection/complex_fft.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quorlen::detection {
namespace {

constexpr size_t kKeptPeaks = 10;
constexpr std::array<double, 4> kHarmonicWeights = {1.0, 0.5, 0.33, 0.25};

struct LagPeak {
    double lag;
    double value;
};

std::vector<LagPeak> enhancedPeaks(const std::vector<double>& acf, LagRange range) {
    const auto at = [&](long long lag) {
        double sum = 0.0;
        for (size_t h = 0; h < kHarmonicWeights.size(); ++h) {
            const auto index = static_cast<size_t>(lag) * (h + 1);
            if (index < acf.size())
                sum += kHarmonicWeights[h] * acf[index];
        }
        return sum;
    };
    std::vector<double> e(static_cast<size_t>(range.maxLag + 1), 0.0);
    for (long long l = range.minLag; l <= range.maxLag; ++l)
        e[static_cast<size_t>(l)] = at(l);

    std::vector<LagPeak> peaks;
    for (long long l = range.minLag + 1; l <= range.maxLag - 1; ++l) {
        const double left = e[size_t(l - 1)], mid = e[size_t(l)], right = e[size_t(l + 1)];
        if (!(left < mid && right <= mid))
            continue;
        const double denom = left - 2.0 * mid + right;
        double delta = denom != 0.0 ? 0.5 * (left - right) / denom : 0.0;
        if (delta < -1.0 || delta > 1.0)
            delta = 0.0;
        peaks.push_back({double(l) + delta, mid});
    }
    std::stable_sort(peaks.begin(), peaks.end(),
                     [](const LagPeak& a, const LagPeak& b) { return a.value > b.value; });
    if (peaks.size() > kKeptPeaks)
        peaks.resize(kKeptPeaks);
    return peaks;
}

} // namespace

size_t autocorrelationFftSize(size_t frames) {
    size_t size = 1;
    while (size < 2 * frames)
        size *= 2;
    return size;
}

std::vector<double> generalizedAutocorrelation(std::span<const double> envelope, size_t maxLag) {
    const size_t n = envelope.size();
    const size_t size = autocorrelationFftSize(n);
    std::vector<float> real(size, 0.0f), imag(size, 0.0f);
    std::transform(envelope.begin(), envelope.end(), real.begin(),
                   [](double v) { return static_cast<float>(v); });
    ComplexFFT fft(size);
    fft.forward(real, imag);
    for (size_t k = 0; k < size; ++k) {
        real[k] = std::sqrt(std::sqrt(real[k] * real[k] + imag[k] * imag[k]));
        imag[k] = 0.0f;
    }
    fft.inverse(real, imag);
    std::vector<double> result(maxLag + 1, 0.0);
    for (size_t lag = 0; lag <= maxLag && lag < size; ++lag) {
        if (n > lag)
            result[lag] = double(real[lag]) / double(n - lag);
    }
    return result;
}

LagRange candidateLagRange(size_t frames, double fps) {
    LagRange range;
    range.minLag = std::max(static_cast<long long>(60.0 * fps / kMaxBpm), 2LL);
    range.maxLag = std::min(static_cast<long long>(frames) - 2,
                            static_cast<long long>(std::ceil(60.0 * fps / kMinBpm)));
    return range;
}

std::vector<double> autocorrelationCandidates(std::span<const double> envelope, double fps) {
    const LagRange range = candidateLagRange(envelope.size(), fps);
    if (range.minLag + 1 >= range.maxLag)
        return {};
    const auto acfLags = std::min(static_cast<size_t>(4 * range.maxLag + 4), envelope.size() - 1);
    const std::vector<double> acf = generalizedAutocorrelation(envelope, acfLags);
    std::vector<double> tempos;
    for (const LagPeak& peak : enhancedPeaks(acf, range))
        tempos.push_back(60.0 * fps / peak.lag);
    return tempos;
}

std::vector<double> expandOctaves(std::span<const double> tempos) {
    std::vector<double> out;
    for (const double tempo : tempos) {
        for (const double ratio : kTempoRatios) {
            const double v = tempo * ratio;
            if (!inTempoRange(v))
                continue;
            const bool near = std::any_of(out.begin(), out.end(),
                                          [v](double e) { return std::abs(e - v) / v < 0.01; });
            if (!near)
                out.push_back(v);
        }
    }
    return out;
}

} // namespace quorlen::detection
