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
    double ratio = 1.0;          // bpm / the classic tempo
    double logTempo = 0.0;       // log2(bpm / 120)
    double fullStrength = 0.0;   // ln of the full-band strength
    double lowStrength = 0.0;    // ln of the low-band strength (0 without a low band)
    double alternation = 1.0;    // even/odd beat balance on 4 s segments, 0 ... 1
    double halfGain = 0.0;       // ln(score at bpm / 2 / score at bpm): what dropping every other beat gains
    double doubleGain = 0.0;     // ln(score at 2 bpm / score at bpm): what the in-between pulses add
    double onsetsPerBeat = 0.0;  // log2 of onsets per beat (onset rate x 60 / bpm)
};

// Features of the classic tempo's relatives (x1, 1/2, 2, 2/3, 3/2, 1/3, 3)
// that lie in 40 ... 250 BPM, in that order.
std::vector<OctaveFeatures> octaveCandidates(const OctaveEvidence& evidence, double classicBpm);

// The model's preference for one candidate: a linear score of its features,
// fitted as a conditional logit (softmax over each file's candidates) on a
// development corpus of grooves and rendered arrangements.
double octaveScore(const OctaveFeatures& features);

// The ratio (1 when it keeps the classic tempo) of the candidate with the
// highest score.
double chooseOctave(const OctaveEvidence& evidence, double classicBpm);

// Onsets per second: local maxima of the normalised envelope above 1.
double onsetRate(std::span<const double> envelope, double fps);

} // namespace quorlen::detection
