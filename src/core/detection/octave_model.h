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
    // The file's length: a file of at most kLoopMaxSeconds is read as a loop
    // that may hold a whole number of beats.
    double durationSeconds = 0.0;
};

// Files up to this long may be loops; their length is evidence of the tempo.
inline constexpr double kLoopMaxSeconds = 30.0;

// n x 60 / seconds: the tempo at which `beats` beats fill `seconds`.
inline double tempoOfBeats(double beats, double seconds) { return beats * 60.0 / seconds; }

// The whole number of beats (at least 1) that a loop of `seconds` holds at
// about `bpm`.
int wholeBeats(double bpm, double seconds);

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
    double onsetsPerBeat = 0.0; // the same of the full band's onsets: the notes of a beat
    // How much more the mid band's accents repeat themselves after 8 beats
    // than after 4: ln of their autocorrelation at 8P over that at 4P (P the
    // beat period). High for a snare once in 8 beats, which says a half-time
    // groove was read at double tempo.
    double accentEvery8 = 0.0;
    // ln of the accents' recurrence after 2 beats over that after 1: high
    // for a backbeat (snare on 2 and 4) read at its tempo, near 0 at half
    // the tempo (a snare on every beat) and at double.
    double accentEvery2 = 0.0;
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
    // The beat's finer divisions, ln of the full band's strength there over
    // that on coarser ones: `quarterBeat` at a quarter and three quarters
    // of the beat over on it, `eighthBeat` at its odd eighths over at its
    // quarters, `sixthBeat` at a sixth and five sixths over at its quarters.
    // Notes are written on a grid of a few divisions per beat, sixteenths
    // in most music: at the written tempo little falls on the odd eighths,
    // at half of it they carry that grid.
    double quarterBeat = 0.0;
    double eighthBeat = 0.0;
    double sixthBeat = 0.0;
    // `halfBeat` of the low band, on the full band's grid (0 without a low
    // band): kicks and bass notes between the beats say they are beats of
    // a faster tempo.
    double lowHalfBeat = 0.0;
    // For a loop only (0 otherwise): how closely the candidate agrees with
    // a tempo at which the loop holds a whole number of beats, and of 4-beat
    // bars: exp(-0.5 (d / 2 %)^2), d the relative distance to the nearest
    // such tempo. The length of a loop is the strongest evidence there is.
    double loopBeats = 0.0;
    double loopBars = 0.0;
    // How the candidate relates to the classic tempo (1 or 0): a triplet
    // relative (2/3, 3/2, 1/3, 3), a dotted one (3/4, 4/3), or none of its
    // relatives at all (another refined tempo, or one of the loop's). The
    // octave relatives (1, 1/2, 2) have all three 0.
    double triplet = 0.0;
    double dotted = 0.0;
    double unrelated = 0.0;
    // The file is no longer than kLoopMaxSeconds: such files, loops among
    // them, have a model of their own.
    bool shortFile = false;
};

// Features of the classic tempo's relatives (x1, 1/2, 2, 2/3, 3/2, 1/3, 3,
// 3/4, 4/3) that lie in 40 ... 250 BPM, in that order, then of the other
// refined tempos that are none of those (2 % apart), then, for a loop, of
// the tempos at which it holds 1, 2, 3, 4, 6, 8, 12, 16 ... beats. Without
// a classic tempo (0: a loop too short for it) the relatives are left out.
std::vector<OctaveFeatures> octaveCandidates(const OctaveEvidence& evidence, double classicBpm);

// The model's preference for one candidate, a conditional logit (softmax
// over each file's candidates), one for files of up to 30 s and one for
// longer files, checked by scripts/fit-octave-model source by source (each
// left out of the fit in turn and scored). The weights and what each says
// are in octave_model.cpp.
double octaveScore(const OctaveFeatures& features);

// How likely each candidate is the tempo (within 4 %): a softmax of the
// scores, tempered, beside a share for "none of them" (the truth is not
// always among the candidates). Sums to less than 1.
std::vector<double> octaveProbabilities(std::span<const OctaveFeatures> candidates);

// What the confidence in a chosen tempo rests on.
struct ChoiceEvidence {
    double probability = 0.0;       // the candidates' probability within 4 % of it
    bool agreesWithClassic = false; // the classic tempo is within 4 % of it
    double bpm = 0.0;
    bool wholeBeatLoop = false;     // moved to a whole number of beats of a loop
    double fullStrength = 0.0;      // of the candidate it was chosen as
    double barRepeat = 0.0;         // of the candidate it was chosen as
    double classicConfidence = 0.0; // the classic mode's confidence in its own tempo
    double onsetsPerBeat = 0.0;     // of the candidate it was chosen as
    double eighthBeat = 0.0;        // of the candidate it was chosen as
};

// The probability that the chosen tempo is right (within 4 %), fitted by
// scripts/fit-octave-model on answers for sources left out of the fit.
double choiceConfidence(const ChoiceEvidence& evidence);

// Onsets per second of a normalised envelope: values above 2 that are the
// largest within 46 ms either side.
double onsetRate(std::span<const double> envelope, double fps);

} // namespace quorlen::detection
