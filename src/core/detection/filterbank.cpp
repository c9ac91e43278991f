#include "detection/filterbank.h"

#include <cmath>
#include <utility>

namespace quorlen::detection {

std::vector<size_t> filterbankBins(double perOctave, double minHz, double maxHz) {
    const double ratio = std::pow(2.0, 1.0 / perOctave);
    std::vector<size_t> bins;
    // Low frequencies round to the same bin several times; only the first
    // occurrence is kept so every band has a distinct centre.
    for (double f = minHz; f <= maxHz; f *= ratio) {
        const double bin = std::round(f / kBinWidthHz);
        if (bin < 1.0 || bin > static_cast<double>(kMagnitudeBins - 1))
            continue;
        const auto index = static_cast<size_t>(bin);
        if (bins.empty() || index > bins.back())
            bins.push_back(index);
    }
    return bins;
}

std::vector<Band> logFilterbank(double perOctave, double minHz, double maxHz) {
    const std::vector<size_t> bins = filterbankBins(perOctave, minHz, maxHz);
    if (bins.size() < 3)
        return {};
    std::vector<Band> bands;
    bands.reserve(bins.size() - 2);
    for (size_t i = 1; i + 1 < bins.size(); ++i) {
        const size_t lo = bins[i - 1];
        const size_t centre = bins[i];
        const size_t hi = bins[i + 1];
        Band band;
        band.start = lo;
        band.centerHz = static_cast<double>(centre) * kBinWidthHz;
        band.weights.resize(hi - lo + 1);
        for (size_t k = lo; k <= hi; ++k) {
            const double weight = k <= centre ? double(k - lo) / double(centre - lo)
                                              : double(hi - k) / double(hi - centre);
            band.weights[k - lo] = static_cast<float>(weight);
        }
        bands.push_back(std::move(band));
    }
    return bands;
}

} // namespace quorlen::detection
