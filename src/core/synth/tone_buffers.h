#pragma once

#include <span>
#include <vector>

namespace quorlen::synth {

// Every sound is rendered whole before it plays, at this rate, as one
// channel of 32-bit samples that the player sends to both output channels.
inline constexpr double kSampleRateHz = 44100.0;

inline constexpr int kChordFrames = 55125;    // 1.25 s
inline constexpr int kPartialsFrames = 70560; // 1.6 s
inline constexpr int kTickFrames = 3087;      // 70 ms

// One sine of an additive sound; amplitudes are linear, 1 = full scale.
struct Partial {
    double frequencyHz;
    float amplitude;
};

// A strummed, plucked chord: note i enters 45 ms after note i − 1 and has a
// 6 ms linear attack, an exp(−2.9 t) decay and three harmonics (1, 0.32,
// 0.1). Each note adds 0.15 of its tone, unnormalised, and the whole buffer
// fades linearly to silence over its last 80 ms. No notes: silence.
std::vector<float> makeBuffer(std::span<const double> frequenciesHz);

// A sum of sines starting together at phase 0, scaled by 0.55 / max(1, Σ
// amplitudes) so that loud sets are tamed but quiet ones are not boosted;
// 8 ms attack, exp(−2.1 t) decay and a 100 ms fade at the end.
std::vector<float> makePartialsBuffer(std::span<const Partial> partials);

// A metronome click: a sine plus 0.35 of its octave, 1.5 ms attack, an
// exp(−55 t) decay and a 12 ms fade, times `gain`; 70 ms at `rateHz`
// (kTickFrames at the usual rate), for a player that renders at another.
std::vector<float> makeTickBuffer(double frequencyHz, float gain, double rateHz = kSampleRateHz);

} // namespace quorlen::synth
