#pragma once

#include <optional>
#include <span>

namespace quorlen::detection {

// How well a beat grid fits the envelope at one tempo.
struct GridFit {
    double score = 0.0; // mean onset strength on the best grid (>= 0)
    double phase = 0.0; // first beat of that grid, frames within one period
    double alt = 1.0;   // min/max of even- and odd-beat means, 0 ... 1
};

// Linear interpolation of the envelope at fractional frame t (0 <= t < n - 1).
// The signed conversion is one instruction on x86-64, the unsigned one a
// branchy sequence; for t >= 0 both truncate alike.
inline double envelopeAt(const double* envelope, double t) {
    const auto k = static_cast<long long>(t);
    const double f = t - static_cast<double>(k);
    return (1.0 - f) * envelope[k] + f * envelope[k + 1];
}
inline double envelopeAt(std::span<const double> envelope, double t) {
    return envelopeAt(envelope.data(), t);
}

// Log-normal tempo prior centred on 125 BPM with a width of 0.9 octaves:
// exp(-0.5 (log2(bpm / 125) / 0.9)^2).
double tempoPrior(double bpm);

// Ranking value of a tempo: prior * grid score * alternation^1.2, which
// penalises grids whose every other beat is weak (a doubled tempo).
double candidateValue(double bpm, const GridFit& fit);

// Best beat grid at `bpm` over round(2P) phases (20 ... 96) of the period
// P = 60 fps / bpm frames. Without `segmentSeconds` (or when a segment of
// max(fps * seconds, 4P) frames covers the envelope) one grid spans the
// whole envelope; otherwise the envelope is cut into such segments, each gets
// its own best phase, and scores and alternations are averaged over them
// (the phase is the first segment's). No usable grid gives (0, 0, 1).
GridFit gridScore(std::span<const double> envelope, double fps, double bpm,
                  std::optional<double> segmentSeconds);

// The plain form of `gridScore`, one comb after the other; kept to check
// the fast one, which steps four combs together.
GridFit gridScoreReference(std::span<const double> envelope, double fps, double bpm,
                           std::optional<double> segmentSeconds);

} // namespace quorlen::detection
