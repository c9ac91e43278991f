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
    // How much more the mid band's accents repeat themselves after 8 beats
    // than after 4: ln of their autocorrelation at 8P over that at 4P (P the
    // beat period). High for a snare once in 8 beats, which says a half-time
    // groove was read at double tempo.
    double accentEvery8 = 0.0;
    // Correlation (0 ... 1, negative ones count as 0) of the full band,
    // lightly smoothed and centred, with itself 4 beats later: high where 4
    // beats make a bar, as music in 4 repeats bar by bar, and low where they
    // cut across its bars (2/3 or 3/4 of the tempo, or 4/3). `lowBarRepeat`
    // is the same of the low band, whose kick and bass pattern is the bar's.
    double barRepeat = 0.0;
    double lowBarRepeat = 0.0;
    // ln of the full band's strength halfway between the beats over that on
    // them: near 0 when the grid's beats are every other real beat (half the
    // tempo), clearly below 0 at the tempo, whose off-beats are lighter.
    double halfBeat = 0.0;
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
// over each file's candidates) fitted on two development batches of grooves
// and rendered arrangements by scripts/fit-octave-model:
//   -1.700 logTempo^2 + 1.206 fullStrength + 1.902 lowStrength
//   - 1.218 kicksPerBeat^2 - 0.663 accentEvery8
//   + 1.440 barRepeat + 2.015 lowBarRepeat - 0.888 halfBeat - 0.672 tripletFeel
// That is a tempo prior centred on 120 BPM (about 0.54 octaves wide), a
// grid that gathers the onsets of the whole band and, more so, of the kick
// and bass, about one kick per beat, no snare once in eight beats (which
// reads a half-time groove at double tempo), four beats that make a bar,
// off-beats lighter than the beats, and a beat that divides in two. The
// fit was checked by fitting on each batch and scoring the other. Features
// that did no better there are left out: alternation, the gains of half,
// double and quarter tempo, onsets of the whole band per beat, the snare's
// repeat after 2 and 4 beats, the repeat after three beats, the low band's
// off-beats, sixteenths, a penalty for leaving the classic tempo's
// relatives, and kicks counted only where the low band stands above the
// mid band.
double octaveScore(const OctaveFeatures& features);

// The ratio (1 when it keeps the classic tempo) of the candidate with the
// highest score.
double chooseOctave(const OctaveEvidence& evidence, double classicBpm);

// Onsets per second of a normalised envelope: values above 2 that are the
// largest within 46 ms either side.
double onsetRate(std::span<const double> envelope, double fps);

} // namespace quorlen::detection
