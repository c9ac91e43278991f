#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace quorlen::detection {

// Every tempo the detector tests lies in this range, both ends included.
inline constexpr double kMinBpm = 40.0;
inline constexpr double kMaxBpm = 250.0;

inline bool inTempoRange(double bpm) { return bpm >= kMinBpm && bpm <= kMaxBpm; }

// Octave and triplet relatives of a tempo, in the order they are tried.
inline constexpr std::array<double, 7> kTempoRatios = {1.0,       0.5,       2.0, 2.0 / 3.0,
                                                       3.0 / 2.0, 1.0 / 3.0, 3.0};

// Autocorrelation with the magnitude spectrum compressed to |X|^0.5, one
// zero-padded transform of the next power of two >= 2n; lag l is divided by
// the n - l overlapping terms. Returns maxLag + 1 values.
std::vector<double> generalizedAutocorrelation(std::span<const double> envelope, size_t maxLag);

// The size of that transform for an envelope of n frames.
size_t autocorrelationFftSize(size_t frames);

// Up to 10 tempos (BPM) from the strongest peaks of the harmonically
// enhanced autocorrelation e[l] = acf[l] + .5 acf[2l] + .33 acf[3l] +
// .25 acf[4l], for lags between 60 fps / 250 and 60 fps / 40 frames
// (20 and 130 at 86.13 fps), each peak placed by parabolic interpolation.
std::vector<double> autocorrelationCandidates(std::span<const double> envelope, double fps);

// The lag bounds used by `autocorrelationCandidates` for n frames.
struct LagRange {
    long long minLag = 0;
    long long maxLag = 0;
};
LagRange candidateLagRange(size_t frames, double fps);

// Adds the octave and triplet relatives (x1, 1/2, 2, 2/3, 3/2, 1/3, 3, in
// that order) of every tempo, keeping those in 40 ... 250 BPM and dropping
// any within 1 % of a tempo already listed.
std::vector<double> expandOctaves(std::span<const double> tempos);

} // namespace quorlen::detection
