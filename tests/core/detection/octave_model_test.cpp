#include "detection/octave_model.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace quorlen::detection {
namespace {

constexpr double kFps = 86.1328125;

struct Drums {
    std::vector<double> full, low, mid;
};

// Envelopes of a 30-second groove at `bpm`: a kick on beat 1 of every bar
// in the low band, a snare in the mid band every `snareBeats` beats starting
// on beat `firstSnareBeat` (0-based), and onsets on every eighth in the full
// band. Onsets are 5 (unit-RMS envelopes put a real one well above 1).
Drums groove(double bpm, double snareBeats, double firstSnareBeat) {
    const double beat = 60.0 * kFps / bpm;
    const auto frames = static_cast<size_t>(30.0 * kFps);
    Drums d{testing::pulseEnvelope(frames, beat / 2.0), testing::pulseEnvelope(frames, 4.0 * beat),
            testing::pulseEnvelope(frames, snareBeats * beat, firstSnareBeat * beat)};
    for (auto* x : {&d.full, &d.low, &d.mid})
        for (double& v : *x)
            v *= 5.0;
    return d;
}

const OctaveFeatures& at(const std::vector<OctaveFeatures>& candidates, double ratio) {
    for (const OctaveFeatures& f : candidates)
        if (std::abs(f.ratio - ratio) < 1e-9)
            return f;
    throw std::logic_error("no such relative");
}

TEST(OctaveModel, MidBandAccentsOnceInEightBeatsMarkADoubledHalfTime) {
    // Half-time at 87 read as 174: the snare on beat 3 recurs every four
    // beats of 87, every eight of 174.
    const Drums halfTime = groove(87.0, 4.0, 2.0);
    const auto h = octaveCandidates({halfTime.full, halfTime.low, halfTime.mid, kFps}, 174.0);
    EXPECT_GT(at(h, 1.0).accentEvery8, 0.5);
    EXPECT_NEAR(at(h, 0.5).accentEvery8, 0.0, 0.3);
    // A backbeat at 120 (snare on 2 and 4) recurs every 4 beats as well as every 8.
    const Drums backbeat = groove(120.0, 2.0, 1.0);
    const auto b = octaveCandidates({backbeat.full, backbeat.low, backbeat.mid, kFps}, 120.0);
    EXPECT_NEAR(at(b, 1.0).accentEvery8, 0.0, 0.3);
}

TEST(OctaveModel, NoMidBandAccentsLeaveTheAccentFeaturesNeutral) {
    // A kick-only pulse (nothing in the mid band), and no mid band at all.
    Drums pulse = groove(100.0, 4.0, 0.0);
    std::fill(pulse.mid.begin(), pulse.mid.end(), 0.0);
    for (const std::vector<double>& mid : {pulse.mid, std::vector<double>{}}) {
        for (const OctaveFeatures& f :
             octaveCandidates({pulse.full, pulse.low, mid, kFps}, 100.0)) {
            EXPECT_EQ(f.accentEvery8, 0.0) << f.bpm;
        }
    }
}

std::vector<double> sum(std::vector<double> a, const std::vector<double>& b, double gain = 1.0) {
    for (size_t i = 0; i < a.size(); ++i)
        a[i] += gain * b[i];
    return a;
}

TEST(OctaveModel, BarRepeatMarksTheTempoWhoseFourBeatsMakeTheBar) {
    // 120 BPM, a strong onset on each bar's first beat, a weak one on each
    // beat, and one on the "and" of beat 2 only: the bar is 4 beats of 120.
    const double beat = 60.0 * kFps / 120.0;
    const auto frames = static_cast<size_t>(30.0 * kFps);
    const auto full = sum(
        sum(testing::pulseEnvelope(frames, beat), testing::pulseEnvelope(frames, 4.0 * beat), 3.0),
        testing::pulseEnvelope(frames, 4.0 * beat, 1.5 * beat), 2.0);
    const auto c = octaveCandidates({full, full, full, kFps}, 120.0);
    EXPECT_GT(at(c, 1.0).barRepeat, 0.8);
    EXPECT_GT(at(c, 0.5).barRepeat, 0.8); // 4 beats of 60 are two bars
    // 4 beats of 90, 160 or 240 cut across the bar.
    for (const double ratio : {0.75, 4.0 / 3.0, 2.0})
        EXPECT_LT(at(c, ratio).barRepeat, 0.4) << ratio;
}

TEST(OctaveModel, HalfBeatAndTripletFeelTellHowTheBeatDivides) {
    const double beat = 60.0 * kFps / 100.0;
    const auto frames = static_cast<size_t>(30.0 * kFps);
    const auto beats = testing::pulseEnvelope(frames, beat);
    const auto swung = sum(beats, testing::pulseEnvelope(frames, beat, 2.0 * beat / 3.0));
    const auto straight = sum(beats, testing::pulseEnvelope(frames, beat, beat / 2.0));
    EXPECT_GT(at(octaveCandidates({swung, swung, swung, kFps}, 100.0), 1.0).tripletFeel, 1.0);
    const auto c = octaveCandidates({straight, straight, straight, kFps}, 100.0);
    EXPECT_LT(at(c, 1.0).tripletFeel, -1.0);
    // Equal onsets on the beats and between them: at 100 the off-beats are
    // as strong as the beats; at 200 every beat is struck and nothing falls
    // between them.
    EXPECT_NEAR(at(c, 1.0).halfBeat, 0.0, 0.1);
    EXPECT_LT(at(c, 2.0).halfBeat, -1.0);
}

TEST(OctaveModel, OtherRefinedTemposJoinTheCandidatesOnce) {
    const Drums d = groove(120.0, 2.0, 1.0);
    const std::vector<double> others = {150.0, 60.5, 300.0, 150.5};
    const auto c = octaveCandidates({d.full, d.low, d.mid, kFps, others}, 120.0);
    // 60.5 is the half already there, 300 is out of range, 150.5 is 150.
    ASSERT_EQ(c.size(), 9u); // eight relatives of 120 lie in range, then 150
    EXPECT_EQ(c.back().bpm, 150.0);
    EXPECT_DOUBLE_EQ(c.back().ratio, 1.25);
}

} // namespace
} // namespace quorlen::detection
