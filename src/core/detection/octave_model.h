#pragma once

#include <span>
#include <vector>

namespace quorlen::detection {

// The normalised envelopes the octave model looks at.
struct OctaveEvidence {
    std::span<const double> full; // full-band onset strength, unit RMS
    std::span<const double> low;  // below 220 Hz (kick and bass), unit RMS
    std::span<const double> mid;  // 220 Hz ... 2 kHz (snares, claps), unit RMS
    double fps = 0.0;
};

// What the model measures of one candidate tempo. Strengths are grid
// scores (mean onset strength on the best beat grid, whole envelope)
// divided by the envelope's mean, so 1 is "no more than anywhere".
struct OctaveFeatures {
    double bpm = 0.0;
    double ratio = 1.0;        // bpm / the classic tempo
    double logTempo = 0.0;     // log2(bpm / 120)
    double fullStrength = 0.0; // ln of the full-band strength
    double lowStrength = 0.0;  // ln of the low-band strength (0 without a low band)
    double kicksPerBeat = 0.0; // log2 of low-band onsets per beat (their rate x 60 / bpm)
    // How much more the mid band's accents repeat itself after 2, 4 and 8 beats
    // than after half as many: ln of its autocorrelation at 2P over that at
    // P, and so on (P the beat period). A backbeat (snare on 2 and 4) raises
    // `accentEvery2`, a half-time snare (on 3 only) `accentEvery4`, and a
    // snare once in 8 beats, which says the tempo is doubled, `accentEvery8`.
    double accentEvery2 = 0.0;
    double accentEvery4 = 0.0;
    double accentEvery8 = 0.0;
};

// Features of the classic tempo's relatives (x1, 1/2, 2, 2/3, 3/2, 1/3, 3,
// 3/4, 4/3) that lie in 40 ... 250 BPM, in that order.
std::vector<OctaveFeatures> octaveCandidates(const OctaveEvidence& evidence, double classicBpm);

// The model's preference for one candidate, a conditional logit (softmax
// over each file's candidates) fitted on a development corpus of grooves and
// rendered arrangements by scripts/fit-octave-model:
//   -1.731 logTempo^2 + 2.246 fullStrength + 2.258 lowStrength
//   - 1.410 kicksPerBeat^2
//   - 0.013 accentEvery2 + 0.300 accentEvery4 - 0.682 accentEvery8
// That is a tempo prior centred on 120 BPM (about 0.54 octaves wide), a
// grid that gathers the onsets of the whole band and, more so, of the kick
// and bass, about one kick per beat, and a snare that falls every two or
// four beats, not once in eight (which reads a half-time groove at double
// tempo). Features that the fit weighted near zero, or that did no better
// on held-out files (alternation, the gains of half, double and quarter
// tempo, onsets of the whole band per beat), are left out.
double octaveScore(const OctaveFeatures& features);

// The ratio (1 when it keeps the classic tempo) of the candidate with the
// highest score.
double chooseOctave(const OctaveEvidence& evidence, double classicBpm);

// Onsets per second of a normalised envelope: values above 2 that are the
// largest within 46 ms either side.
double onsetRate(std::span<const double> envelope, double fps);

} // namespace quorlen::detection
