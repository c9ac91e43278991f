#pragma once

#include <span>
#include <vector>

namespace quorlen::detection {

// The normalised envelopes the octave model looks at.
struct OctaveEvidence {
    std::span<const double> full; // full-band onset strength, unit RMS
    std::span<const double> low;  // below 220 Hz (kick and bass), unit RMS
    double fps = 0.0;
};

// What the model measures of one candidate tempo. Strengths are grid
// scores (mean onset strength on the best beat grid, whole envelope)
// divided by the envelope's mean, so 1 is "no more than anywhere".
struct OctaveFeatures {
    double bpm = 0.0;
    double ratio = 1.0;         // bpm / the classic tempo
    double logTempo = 0.0;      // log2(bpm / 120)
    double fullStrength = 0.0;  // ln of the full-band strength
    double lowStrength = 0.0;   // ln of the low-band strength (0 without a low band)
    double kicksPerBeat = 0.0;  // log2 of low-band onsets per beat (their rate x 60 / bpm)
};

// Features of the classic tempo's relatives (x1, 1/2, 2, 2/3, 3/2, 1/3, 3,
// 3/4, 4/3) that lie in 40 ... 250 BPM, in that order.
std::vector<OctaveFeatures> octaveCandidates(const OctaveEvidence& evidence, double classicBpm);

// The model's preference for one candidate, a conditional logit (softmax
// over each file's candidates) fitted on a development corpus of grooves and
// rendered arrangements by scripts/fit-octave-model:
//   -1.719 logTempo^2 + 2.233 fullStrength + 2.255 lowStrength
//   - 1.444 kicksPerBeat^2
// That is a tempo prior centred on 120 BPM (about 0.54 octaves wide), a
// grid that gathers the onsets of the whole band and, more so, of the kick
// and bass, and about one kick per beat. Features that the fit weighted
// near zero, or that did no better on held-out files (alternation, the
// gains of half, double and quarter tempo, onsets of the whole band per
// beat), are left out.
double octaveScore(const OctaveFeatures& features);

// The ratio (1 when it keeps the classic tempo) of the candidate with the
// highest score.
double chooseOctave(const OctaveEvidence& evidence, double classicBpm);

// Onsets per second of a normalised envelope: values above 2 that are the
// largest within 46 ms either side.
double onsetRate(std::span<const double> envelope, double fps);

} // namespace quorlen::detection
