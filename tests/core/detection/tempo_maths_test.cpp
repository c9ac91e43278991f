// From an onset envelope to a tempo: grids, the candidate search, loops,
// rounding, the bar, the octave features and the octave modes.
#include "detection/autocorrelation.h"
#include "detection/downbeat.h"
#include "detection/final_tempo.h"
#include "detection/grid_score.h"
#include "detection/octave_mode.h"
#include "detection/octave_model.h"
#include "detection/onset_envelope.h"
#include "detection/resample.h"
#include "detection/tempo_search.h"
#include "detection/waveform_peaks.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <tuple>

namespace quorlen::detection {
namespace {

using testing::pulseEnvelope;

// A period of exactly 40 frames is 60 * 86.1328125 / 40 = 129.19921875 BPM;
// whole-frame periods keep every comb position exact.
constexpr double kBpmAt40Frames = 129.19921875;

auto fitOf(std::span<const double> env, double bpm, std::optional<double> segment = {}) {
    const GridFit fit = gridScore(env, kEnvelopeFps, bpm, segment);
    return std::tuple(fit.score, fit.phase, fit.alt);
}

TEST(GridScore, FindsTheBeatsAndTheirPhaseAndUnusableGridsScoreZero) {
    // Pulses at 10, 50, 90, ...: steps = 80, phase k = 20 gives 40 * 20 / 80 = 10.
    const std::vector<double> env = pulseEnvelope(1000, 40, 10);
    EXPECT_EQ(fitOf(env, kBpmAt40Frames), std::tuple(1.0, 10.0, 1.0));
    EXPECT_EQ(fitOf(env, kBpmAt40Frames, 4.0), std::tuple(1.0, 10.0, 1.0));
    const auto none = std::tuple(0.0, 0.0, 1.0);
    EXPECT_EQ(fitOf(env, 6000.0), none) << "P = 0.86 frames <= 1";
    EXPECT_EQ(fitOf(std::vector<double>(258, 1.0), 40.0), none) << "2P = 258.4 >= 258 frames";
    EXPECT_EQ(fitOf({}, 120.0), none);
}

TEST(GridScore, AlternatingAccentsLowerTheRatioAtDoubleTempo) {
    // Heights 1, 0.5, 1, 0.5 ... every 40 frames: at that period the even
    // beats average 1 and the odd 0.5; at twice the period only the strong ones count.
    std::vector<double> env = pulseEnvelope(1000, 40);
    for (size_t k = 40; k < env.size(); k += 80)
        env[k] = 0.5;
    const GridFit fast = gridScore(env, kEnvelopeFps, kBpmAt40Frames, std::nullopt);
    EXPECT_NEAR(fast.score, 0.76, 1e-12); // 13 strong and 12 weak beats below frame 999
    EXPECT_NEAR(fast.alt, 0.5, 1e-12);
    const GridFit slow = gridScore(env, kEnvelopeFps, kBpmAt40Frames / 2, std::nullopt);
    EXPECT_EQ(std::tuple(slow.score, slow.alt), std::tuple(1.0, 1.0));
    EXPECT_LT(candidateValue(kBpmAt40Frames, fast), candidateValue(kBpmAt40Frames / 2, slow));
    // exp(-0.5 (log2(b / 125) / 0.9)^2): one octave away gives exp(-0.5 / 0.81).
    EXPECT_DOUBLE_EQ(tempoPrior(125.0), 1.0);
    EXPECT_NEAR(tempoPrior(250.0), 0.539408, 1e-6);
    EXPECT_NEAR(tempoPrior(62.5), 0.539408, 1e-6);
}

// Normalised envelope of a 30 s click train at `bpm`, accented every 4th beat.
std::vector<double> clickEnvelope(double bpm, double firstClick = 0.25, int accentEvery = 4) {
    const auto x = testing::clickTrain({.bpm = bpm,
                                        .seconds = 30,
                                        .rateHz = 22050,
                                        .firstClickSeconds = firstClick,
                                        .accentEvery = accentEvery});
    return normalize(onsetEnvelope(x, {}).full, kEnvelopeFps);
}

TEST(GridScore, FastVersionMatchesTheReference) {
    const std::vector<double> env = clickEnvelope(123.4, 0.3, 2);
    for (const double bpm : {40.0, 61.7, 99.99, 123.4, 150.0, 246.8, 250.0}) {
        for (const auto segment : {std::optional<double>(), std::optional(4.0), std::optional(12.0),
                                   std::optional(40.0)}) {
            const GridFit plain = gridScoreReference(env, kEnvelopeFps, bpm, segment);
            EXPECT_EQ(fitOf(env, bpm, segment), std::tuple(plain.score, plain.phase, plain.alt))
                << bpm;
        }
    }
}

TEST(SearchLadder, ClimbsToTheClickTempoOrFallsBackToTheStart) {
    // Start 2.5 % off: the first rung spans +-3 %, later rungs narrow in.
    for (const double bpm : {87.5, 120.0, 143.0}) {
        const Candidate found = searchLadder(clickEnvelope(bpm), kEnvelopeFps, bpm * 1.025,
                                             analysisLadder(), kLadderSpan);
        EXPECT_NEAR(found.bpm, bpm, 0.02 * bpm / 120.0) << bpm;
        EXPECT_GT(found.raw, 1.0) << bpm;
    }
    // Nothing to score: out of range, or no rungs.
    const std::vector<double> env = clickEnvelope(120);
    EXPECT_EQ(searchLadder(env, kEnvelopeFps, 300.0, analysisLadder(), kLadderSpan),
              (Candidate{300.0, 0.0, 0.0, 0.0, 1.0}));
    EXPECT_EQ(searchLadder(env, kEnvelopeFps, 120.0, {}, kLadderSpan),
              (Candidate{120.0, 0.0, 0.0, 0.0, 1.0}));
}

TEST(TempoCandidates, RefinesDistinctLeadersThenHalfAndDoubleWhateverTheThreads) {
    const std::vector<double> clicks = clickEnvelope(101.3);
    // A groove has more leaders, some close enough to be passed over once
    // their neighbour is refined.
    const auto groove = testing::drumGroove(
        {.bpm = 93,
         .seconds = 30,
         .steps = {"k", "", "h", "k", "s", "", "h", "", "", "k", "h", "", "s", "", "k", "h"}});
    const std::vector<double> grooveEnv =
        normalize(onsetEnvelope(resample(groove, 44100, 22050, {}), {}).full, kEnvelopeFps);
    const std::pair<const std::vector<double>*, double> envelopes[] = {{&clicks, 101.3},
                                                                       {&grooveEnv, 0.0}};
    for (const auto& [env, bpm] : envelopes) {
        const std::vector<double> tempos =
            expandOctaves(autocorrelationCandidates(*env, kEnvelopeFps));
        const std::vector<Candidate> one = coarseRanking(*env, kEnvelopeFps, tempos, 1);
        int polls = 0;
        const TempoCandidates refinedOne = refineCandidates(
            *env, kEnvelopeFps, one, [&] { return ++polls, false; }, 1);
        EXPECT_GE(polls, 4); // once per leader considered while fewer than 4
        ASSERT_GE(refinedOne.refined.size(), 2u);
        EXPECT_LE(refinedOne.refined.size(), 6u); // four leaders plus half and double
        if (bpm > 0) {
            EXPECT_NEAR(refinedOne.refined.front().bpm, bpm, 0.05);
        }
        for (size_t i = 1; i < refinedOne.refined.size(); ++i)
            EXPECT_GE(refinedOne.refined[i - 1].score, refinedOne.refined[i].score);
        EXPECT_GT(refinedOne.secondRaw, 0.0);
        for (const int threads : {2, 3, 8}) {
            EXPECT_EQ(coarseRanking(*env, kEnvelopeFps, tempos, threads), one) << threads;
            const TempoCandidates refined = refineCandidates(*env, kEnvelopeFps, one, {}, threads);
            EXPECT_EQ(refined.refined, refinedOne.refined) << threads;
            EXPECT_EQ(refined.secondRaw, refinedOne.secondRaw) << threads;
        }
        EXPECT_THROW(refineCandidates(
                         *env, kEnvelopeFps, one, [] { return true; }, 1),
                     Failure);
    }
    // Leaders 1 % apart, both 1.5 % and more from the clicks' tempo: refined
    // side by side, the second comes near the first's result and is passed
    // over as it is when they are refined in turn.
    const std::vector<Candidate> close = {{103.8}, {102.8}, {140.0}, {102.3}, {70.0}, {180.0}};
    const TempoCandidates inTurn = refineCandidates(clicks, kEnvelopeFps, close, {}, 1);
    ASSERT_NEAR(inTurn.refined.front().bpm, 101.3, 0.05);
    for (const int threads : {2, 3, 4})
        EXPECT_EQ(refineCandidates(clicks, kEnvelopeFps, close, {}, threads).refined,
                  inTurn.refined)
            << threads;
}

// Frames of the envelope of a signal of `seconds` at 22050 Hz.
size_t framesFor(double seconds) { return (size_t(seconds * 22050) - 1024) / 256 + 1; }

std::vector<double> pulsesAt(double bpm, double seconds, double first) {
    return normalize(pulseEnvelope(framesFor(seconds), 60.0 * kEnvelopeFps / bpm, first),
                     kEnvelopeFps);
}

Candidate candidateAt(const std::vector<double>& env, double bpm) {
    const GridFit fit = gridScore(env, kEnvelopeFps, bpm, std::nullopt);
    return {bpm, candidateValue(bpm, fit), fit.score, fit.phase, std::pow(fit.alt, 1.2)};
}

TEST(LoopSnapping, ListsWholeBarLoopsAndSnapsAnEightSecondLoopToFourBars) {
    // beats * 60 / duration for beats = 4, 8, ...; 8 s: 30 BPM is too slow, 270 stops.
    const std::vector<LoopCandidate> eight = {{60, 8},   {90, 12},  {120, 16}, {150, 20},
                                              {180, 24}, {210, 28}, {240, 32}};
    EXPECT_EQ(loopCandidates(8.0), eight);
    EXPECT_NEAR(loopCandidates(7.99)[2].bpm, 120.15, 0.001); // 16 beats
    EXPECT_EQ(loopCandidates(100.0).size(), 88u);            // beats 68 ... 416
    EXPECT_TRUE(loopCandidates(0.5).empty());                // 4 beats is already 480 BPM

    const std::vector<double> env = pulsesAt(120, 8.0, 5);
    const auto snapped = snapToLoop(env, kEnvelopeFps, 8.0, candidateAt(env, 119.9));
    ASSERT_TRUE(snapped);
    EXPECT_EQ(snapped->bpm, 120.0);
    EXPECT_EQ(snapped->snappedBars, 4);
    EXPECT_NEAR(snapped->phase, 5.0, 0.5);
    // Over 90 s no file is a loop, and an impossible duration snaps nothing.
    EXPECT_FALSE(snapToLoop(env, kEnvelopeFps, 95.0, candidateAt(env, 119.9)));
    EXPECT_FALSE(snapToLoop(env, kEnvelopeFps, 0.0, candidateAt(env, 119.9)));
}

TEST(Rounding, PrefersARoundTempoWithinOneFramesDrift) {
    const struct {
        double seconds, pulseBpm, detected, expected;
        const char* source;
    } cases[] = {
        {95, 120, 119.99, 120, "tau = 119.99 / 8179 = 0.0147 >= 0.01"},
        {95, 120, 119.98, 119.98, "0.02 > tau and the 0.5 and 0.1 roundings also give 120"},
        {120, 127.9, 127.903, 127.9, "128 too far (tau 0.0124), 127.9 kept by its grid"},
        {120, 100, 127.903, 127.903, "127.9 tried first and rejected by its grid; 128 never"},
    };
    for (const auto& c : cases) {
        const std::vector<double> env = pulsesAt(c.pulseBpm, c.seconds, 3);
        Candidate best = candidateAt(env, c.detected);
        if (c.pulseBpm == 100) // a grid that claims more than the envelope gives
            best.raw = 10.0;
        const FinalTempo rounded = roundTempo(env, kEnvelopeFps, best);
        EXPECT_DOUBLE_EQ(rounded.bpm, c.expected) << c.source;
        EXPECT_FALSE(rounded.snappedBars) << c.source;
    }
}

TEST(Downbeat, PicksTheStrongestSlotOfTheFourBeatCycle) {
    std::vector<double> low = pulseEnvelope(2000, 40, 4);
    for (size_t k = 4, beat = 0; k < low.size(); k += 40, ++beat)
        low[k] = beat % 4 == 2 ? 1.0 : 0.3;
    EXPECT_EQ(downbeat(low, kEnvelopeFps, kBpmAt40Frames, 4.0), 2);
    EXPECT_EQ(downbeat(low, kEnvelopeFps, kBpmAt40Frames, 44.0), 1); // grid starts a beat later
    const std::vector<double> even = pulseEnvelope(2000, 40, 4);
    EXPECT_EQ(downbeat(even, kEnvelopeFps, kBpmAt40Frames, 4.0), 0);    // ties keep slot 0
    EXPECT_EQ(downbeat(even, kEnvelopeFps, kBpmAt40Frames, 1999.0), 0); // no positions
    EXPECT_EQ(downbeat({}, kEnvelopeFps, 120.0, 0.0), 0);
}

TEST(PeakEnvelope, TakesTheLargestMagnitudePerColumn) {
    const std::vector<float> x = {0.1f, -0.5f, 0.2f, 0.3f, -0.1f, 0.0f};
    EXPECT_EQ(peakEnvelope(x, 3), (std::vector<float>{0.5f, 0.3f, 0.1f}));
    EXPECT_TRUE(peakEnvelope(x, 0).empty());
    EXPECT_TRUE(peakEnvelope({}, 1600).empty());
    // 1000 samples in 1600 columns: per = 0.625, so some columns hold no sample.
    const std::vector<float> peaks = peakEnvelope(std::vector<float>(1000, -0.25f), 1600);
    ASSERT_EQ(peaks.size(), 1600u);
    EXPECT_EQ(std::count(peaks.begin(), peaks.end(), 0.25f), 1000);
    EXPECT_EQ(std::count(peaks.begin(), peaks.end(), 0.0f), 600);
}

constexpr double kFps = 86.1328125;
const auto kFrames = static_cast<size_t>(30.0 * kFps);

std::vector<double> pulses(double bpm, double beats, double firstBeat = 0.0, double gain = 1.0) {
    const double beat = 60.0 * kFps / bpm;
    std::vector<double> x = pulseEnvelope(kFrames, beats * beat, firstBeat * beat);
    for (double& v : x)
        v *= gain;
    return x;
}

std::vector<double> sum(std::vector<double> a, const std::vector<double>& b) {
    for (size_t i = 0; i < a.size(); ++i)
        a[i] += b[i];
    return a;
}

const OctaveFeatures& at(const std::vector<OctaveFeatures>& candidates, double ratio) {
    for (const OctaveFeatures& f : candidates)
        if (std::abs(f.ratio - ratio) < 1e-9)
            return f;
    throw std::logic_error("no such relative");
}

// Onsets are 5 where a unit-RMS envelope puts a real one well above 1: a
// kick on beat 1 of every bar in the low band, eighths in the full band,
// and a snare in the mid band every `snareBeats` from `firstSnare`.
std::vector<OctaveFeatures> grooveCandidates(double bpm, double snareBeats, double firstSnare,
                                             double classicBpm, bool snare = true) {
    const std::vector<double> mid = pulses(bpm, snareBeats, firstSnare, snare ? 5.0 : 0.0);
    return octaveCandidates({pulses(bpm, 0.5, 0, 5), pulses(bpm, 4, 0, 5), mid, kFps}, classicBpm);
}

TEST(OctaveModel, MidBandAccentsOnceInEightBeatsMarkADoubledHalfTime) {
    // Half-time at 87 read as 174: the snare on beat 3 recurs every four
    // beats of 87, every eight of 174.
    const auto halfTime = grooveCandidates(87.0, 4.0, 2.0, 174.0);
    EXPECT_GT(at(halfTime, 1.0).accentEvery8, 0.5);
    EXPECT_NEAR(at(halfTime, 0.5).accentEvery8, 0.0, 0.3);
    // A backbeat at 120 (snare on 2 and 4) recurs every 4 beats as well as every 8.
    EXPECT_NEAR(at(grooveCandidates(120.0, 2.0, 1.0, 120.0), 1.0).accentEvery8, 0.0, 0.3);
    // A kick-only pulse (nothing in the mid band), and no mid band at all.
    for (const OctaveFeatures& f : grooveCandidates(100.0, 4.0, 0.0, 100.0, false))
        EXPECT_EQ(f.accentEvery8, 0.0) << f.bpm;
    for (const OctaveFeatures& f :
         octaveCandidates({pulses(100, 0.5, 0, 5), pulses(100, 4, 0, 5), {}, kFps}, 100.0))
        EXPECT_EQ(f.accentEvery8, 0.0) << f.bpm;
}

TEST(OctaveModel, BarRepeatMarksTheTempoWhoseFourBeatsMakeTheBar) {
    // 120 BPM, a strong onset on each bar's first beat, a weak one on each
    // beat, and one on the "and" of beat 2 only: the bar is 4 beats of 120.
    const auto full = sum(sum(pulses(120, 1), pulses(120, 4, 0, 3)), pulses(120, 4, 1.5, 2));
    const auto c = octaveCandidates({full, full, full, kFps}, 120.0);
    EXPECT_GT(at(c, 1.0).barRepeat, 0.8);
    EXPECT_GT(at(c, 0.5).barRepeat, 0.8); // 4 beats of 60 are two bars
    // 4 beats of 90, 160 or 240 cut across the bar.
    for (const double ratio : {0.75, 4.0 / 3.0, 2.0})
        EXPECT_LT(at(c, ratio).barRepeat, 0.4) << ratio;
}

TEST(OctaveModel, HalfBeatAndTripletFeelTellHowTheBeatDivides) {
    const auto swung = sum(pulses(100, 1), pulses(100, 1, 2.0 / 3.0));
    const auto straight = sum(pulses(100, 1), pulses(100, 1, 0.5));
    EXPECT_GT(at(octaveCandidates({swung, swung, swung, kFps}, 100.0), 1.0).tripletFeel, 1.0);
    const auto c = octaveCandidates({straight, straight, straight, kFps}, 100.0);
    EXPECT_LT(at(c, 1.0).tripletFeel, -1.0);
    // Equal onsets on the beats and between them: at 100 the off-beats are
    // as strong as the beats; at 200 every beat is struck and nothing falls
    // between them.
    EXPECT_NEAR(at(c, 1.0).halfBeat, 0.0, 0.1);
    EXPECT_LT(at(c, 2.0).halfBeat, -1.0);
    // Other refined tempos join once: 60.5 is the half already there, 300
    // is out of range, 150.5 is 150.
    const double otherTempos[] = {150.0, 60.5, 300.0, 150.5};
    const auto others = octaveCandidates(
        {pulses(120, 0.5, 0, 5), pulses(120, 4, 0, 5), pulses(120, 2, 1, 5), kFps, otherTempos},
        120.0);
    ASSERT_EQ(others.size(), 9u); // eight relatives of 120 lie in range, then 150
    EXPECT_EQ(others.back().bpm, 150.0);
    EXPECT_DOUBLE_EQ(others.back().ratio, 1.25);
}

TEST(OctaveMode, ReadsTheThreeModesAndWritesThemBack) {
    // The picker's bounds: from 30 to 200 BPM, up to 400, at least an octave wide.
    const std::pair<const char*, OctaveMode> modes[] = {
        {"classic", OctaveMode::classic()},        {"auto", OctaveMode::automatic()},
        {"80-160", {OctaveKind::range, 80, 160}},  {"72.5-145", {OctaveKind::range, 72.5, 145}},
        {"90-200", {OctaveKind::range, 90, 200}},  {"30-60", {OctaveKind::range, 30, 60}},
        {"200-400", {OctaveKind::range, 200, 400}}};
    for (const auto& [text, mode] : modes) {
        EXPECT_EQ(parseOctaveMode(text), mode) << text;
        EXPECT_EQ(octaveModeText(mode), text);
    }
    // Out of bounds, narrower than an octave, upside down, empty or signed
    // bounds, other words.
    for (const char* text :
         {"29.5-60", "200.5-401", "80-400.5", "100000000000-200000000000", "0.0000000001-1",
          "80-159", "160-80", "0-160", "-80-160", "80-", "80 - 160", "80,5-170", "Auto", ""})
        EXPECT_EQ(parseOctaveMode(text), std::nullopt) << text;
    // Bounds whose shortest text has many digits, or would be written with
    // an exponent by the shortest general form.
    for (const double low : {30.0, 100.0 / 3.0, 45.5, 199.99999999999997, 200.0}) {
        for (const double high : {2.0 * low, std::min(2.0 * low + 1e-9, 400.0), 400.0}) {
            const auto mode = OctaveMode::range(low, high);
            ASSERT_TRUE(mode) << low << " " << high;
            EXPECT_EQ(parseOctaveMode(octaveModeText(*mode)), mode) << octaveModeText(*mode);
        }
    }
}

TEST(OctaveMode, FoldsByPowersOfTwoIntoTheHalfOpenRange) {
    // The lower bound belongs to the range, the upper one does not; a range
    // wider than an octave keeps what is inside.
    const struct {
        double bpm, low, high, expected;
    } cases[] = {{80, 80, 160, 80},   {160, 80, 160, 80}, {159.99, 80, 160, 159.99},
                 {64, 80, 160, 128},  {35, 80, 160, 140}, {250, 80, 160, 125},
                 {100, 70, 210, 100}, {60, 70, 210, 120}};
    for (const auto& c : cases)
        EXPECT_EQ(foldIntoRange(c.bpm, c.low, c.high), c.expected) << c.bpm << " in " << c.low;
}

} // namespace
} // namespace quorlen::detection
