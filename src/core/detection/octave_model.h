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
    // The analysis's other refined tempos: where the classic answer is far
    // from any octave of the truth, the truth is nearly always one of these.
    std::span<const double> otherTempos = {};
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
    // Correlation (0 ... 1, negative ones count as 0) of the full band, lightly smoothed and
    // centred, with itself 4 beats later: high where 4 beats make a bar, as music in 4 repeats bar
    // by bar, and low where they cut across its bars (2/3 or 3/4 of the tempo, or 4/3).
    double barRepeat = 0.0;
    // ln of the full band's strength at a third and two thirds of the beat
    // over that at half the beat: above 0 for swung or compound beats, where
    // the beat divides in three, below 0 where it divides in two.
    double tripletFeel = 0.0;
};

// Features of the classic tempo's relatives (x1, 1/2, 2, 2/3, 3/2, 1/3, 3,
// 3/4, 4/3) that lie in 40 ... 250 BPM, in that order, then of the other
// refined tempos that are none of those (2 % apart).
std::vector<OctaveFeatures> octaveCandidates(const OctaveEvidence& evidence, double classicBpm);

// The model's preference for one candidate, a conditional logit (softmax
// over each file's candidates) fitted on two development corpora of grooves
// and rendered arrangements by scripts/fit-octave-model:
//   -1.930 logTempo^2 + 2.025 fullStrength + 2.258 lowStrength
//   - 1.251 kicksPerBeat^2
//   + 0.156 accentEvery2 + 0.184 accentEvery4 - 0.704 accentEvery8
//   + 2.129 barRepeat - 0.176 tripletFeel
// That is a tempo prior centred on 120 BPM (about 0.5 octaves wide), a
// grid that gathers the onsets of the whole band and, more so, of the kick
// and bass, about one kick per beat, no snare once in eight beats (which
// reads a half-time groove at double tempo), four beats that make a bar,
// and a beat that divides in two. The fit was checked by fitting on each
// corpus and scoring the other. Features that did no better there
// (alternation, the gains of half, double and quarter tempo, onsets of the
// whole band per beat, the repeat after three beats, a penalty for leaving
// the classic tempo's relatives, kicks counted only where the low band
// stands above the mid band) are left out.
double octaveScore(const OctaveFeatures& features);

// The ratio (1 when it keeps the classic tempo) of the candidate with the
// highest score.
double chooseOctave(const OctaveEvidence& evidence, double classicBpm);

// Onsets per second of a normalised envelope: values above 2 that are the
// largest within 46 ms either side.
double onsetRate(std::span<const double> envelope, double fps);

} // namespace quorlen::detection
