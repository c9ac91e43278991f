#include "detection/tempo_detector.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace quorlen::detection {
namespace {

using testing::Groove;

TempoEvidence measureGroove(const Groove& groove) {
    std::vector<float> x = testing::drumGroove(groove);
    const double duration = double(x.size()) / 44100.0;
    return measureTempo(std::move(x), 44100.0, duration, {});
}

// Kick on every beat, snare on 2 and 4, hats between the beats.
const std::vector<std::string> kFourOnTheFloor = {"k", "", "h", "", "ks", "", "h", "",
                                                  "k", "", "h", "", "ks", "", "h", ""};
// Two-step break: kick on 1 and the "and" of 3, snare on 2 and 4.
const std::vector<std::string> kTwoStep = {"kh", "", "h",  "", "sh", "", "h", "",
                                           "h",  "", "kh", "", "sh", "", "h", ""};
// Kick alone on the beats, loud hats alone between them.
const std::vector<std::string> kKickAndOffbeatHat = {"k", "", "h", "", "k", "", "h", "",
                                                     "k", "", "h", "", "k", "", "h", ""};

TEST(OctaveChoice, AutomaticPicksTheTempoTheGrooveIsPlayedAt) {
    struct Case {
        Groove groove;
        const char* source;
    };
    // Files are not a whole number of bars, so no loop snapping helps.
    const std::vector<Case> cases = {
        {{.bpm = 128, .seconds = 11.3, .steps = kFourOnTheFloor}, "house at 128, not 64"},
        {{.bpm = 140, .seconds = 10.7, .steps = kTwoStep}, "break at 140, not 70"},
    };
    for (const Case& c : cases) {
        const TempoEvidence evidence = measureGroove(c.groove);
        const Estimate automatic = estimateTempo(evidence, OctaveMode::automatic());
        EXPECT_NEAR(automatic.bpm, c.groove.bpm, 0.01 * c.groove.bpm) << c.source;
        EXPECT_GE(automatic.confidence, 0.0);
        EXPECT_LE(automatic.confidence, 1.0);
        for (const double alternative : automatic.alternatives)
            EXPECT_GT(std::abs(alternative - automatic.bpm), 0.02 * automatic.bpm) << c.source;
    }
}

TEST(OctaveChoice, TheGridLandsOnTheKicksNotTheLouderHats) {
    // Kicks at 0.25 s + k * 0.5 s. The reported first beat must be a kick
    // (within 10 ms), not a hat a quarter second away.
    const Groove groove{.bpm = 120,
                        .seconds = 9.7,
                        .steps = kKickAndOffbeatHat,
                        .firstBeatSeconds = 0.25,
                        .hatGain = 2.0f};
    const TempoEvidence evidence = measureGroove(groove);
    for (const OctaveMode& mode : {OctaveMode::automatic(), *OctaveMode::range(80, 160)}) {
        const Estimate e = estimateTempo(evidence, mode);
        ASSERT_NEAR(e.bpm, 120, 1.2);
        const double period = 60.0 / e.bpm;
        const double off = std::remainder(e.beatOffsetSeconds - groove.firstBeatSeconds, period);
        EXPECT_LE(std::abs(off), 0.010)
            << octaveModeText(mode) << " first beat " << e.beatOffsetSeconds;
    }
}

// Whole beats in `seconds` at `bpm`, or -1 when they do not come out whole.
double wholeBeatsIn(double seconds, double bpm) {
    const double beats = seconds * bpm / 60.0;
    return std::abs(beats - std::round(beats)) < 1e-9 ? std::round(beats) : -1.0;
}

TEST(OctaveChoice, ALoopIsReadFromItsLengthAtWholeBeats) {
    struct Case {
        Groove groove;
        std::vector<double> accepted;
        const char* source;
    };
    const std::vector<Case> cases = {
        {{.bpm = 136.9, .seconds = 4 * 60 / 136.9, .steps = kTwoStep}, {136.9}, "a one-bar break"},
        {{.bpm = 97, .seconds = 4 * 60 / 97.0, .steps = kTwoStep}, {97, 194}, "a 4-beat loop"},
        {{.bpm = 124, .seconds = 8 * 60 / 124.0, .steps = kFourOnTheFloor}, {124}, "two bars"},
        {{.bpm = 136, .seconds = 2 * 60 / 136.0, .steps = kFourOnTheFloor},
         {136, 68},
         "a two-beat loop, too short for the classic mode"},
    };
    for (const Case& c : cases) {
        const TempoEvidence evidence = measureGroove(c.groove);
        const Estimate e = estimateTempo(evidence, OctaveMode::automatic());
        const double beats = wholeBeatsIn(e.durationSeconds, e.bpm);
        EXPECT_GE(beats, 1.0) << c.source << ": " << e.bpm << " BPM";
        EXPECT_TRUE(std::any_of(c.accepted.begin(), c.accepted.end(),
                                [&](double bpm) { return std::abs(e.bpm - bpm) < 0.005 * bpm; }))
            << c.source << ": " << e.bpm << " BPM";
        if (std::fmod(beats, 4.0) == 0.0) {
            EXPECT_EQ(e.snappedBars, int(beats) / 4) << c.source;
        }
    }
    // The classic mode keeps its minimum of 1.2 s.
    const TempoEvidence shortest = measureGroove(cases.back().groove);
    try {
        estimateTempo(shortest, OctaveMode::classic());
        ADD_FAILURE() << "a 0.88 s loop was read in the classic mode";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.kind(), FailureKind::tooShort);
    }
}

TEST(OctaveChoice, ConfidenceIsHighOnAClickTrackAndCandidatesShareAtMostOne) {
    std::vector<float> clicks = testing::clickTrain({.bpm = 120, .seconds = 40.3});
    const Estimate e = analyze(clicks, 44100.0, 40.3, {}, {}, OctaveMode::automatic());
    EXPECT_NEAR(e.bpm, 120.0, 1.2);
    EXPECT_GE(e.confidence, 0.7) << "a clean click track is High";
    ASSERT_FALSE(e.candidates.empty());
    EXPECT_LE(e.candidates.size(), 4u);
    EXPECT_EQ(e.candidates.front().bpm, 120.0);
    EXPECT_EQ(e.candidates.front().p, e.confidence);
    double sum = 0.0;
    for (size_t i = 0; i < e.candidates.size(); ++i) {
        sum += e.candidates[i].p;
        if (i > 0) {
            EXPECT_LE(e.candidates[i].p, e.candidates[i - 1].p);
            EXPECT_GT(std::abs(e.candidates[i].bpm - e.bpm), 0.04 * e.bpm);
        }
    }
    EXPECT_LE(sum, 1.0);
    EXPECT_TRUE(analyze(clicks, 44100.0, 40.3, {}).candidates.empty()) << "classic lists none";
}

TEST(OctaveChoice, NoiseIsNeverHigh) {
    std::vector<float> noise(44100 * 20);
    uint32_t state = 12345;
    for (float& v : noise) {
        state = state * 1664525u + 1013904223u;
        v = 0.3f * (float(state >> 8) / float(1u << 24) - 0.5f);
    }
    try {
        const Estimate e = analyze(noise, 44100.0, 20.0, {}, {}, OctaveMode::automatic());
        EXPECT_LT(e.confidence, 0.7) << e.bpm;
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.kind(), FailureKind::noRhythm);
    }
}

TEST(OctaveChoice, ClassicModeIsTheClassicAnalysis) {
    const Groove groove{.bpm = 128, .seconds = 11.3, .steps = kFourOnTheFloor};
    std::vector<float> x = testing::drumGroove(groove);
    const double duration = double(x.size()) / 44100.0;
    const Estimate whole = analyze(x, 44100.0, duration, {});
    EXPECT_EQ(estimateTempo(measureGroove(groove), OctaveMode::classic()), whole);
    EXPECT_EQ(analyze(x, 44100.0, duration, {}, {}, OctaveMode::classic()), whole);
}

TEST(OctaveChoice, ARangeFoldsTheClassicTempoAndRedoesWhatDependsOnIt) {
    // An 8-second loop of 16 beats at 120 BPM: classic snaps it to 4 bars.
    const Groove groove{.bpm = 120, .seconds = 8.0, .steps = kFourOnTheFloor};
    const TempoEvidence evidence = measureGroove(groove);
    const Estimate classic = estimateTempo(evidence, OctaveMode::classic());
    ASSERT_EQ(classic.bpm, 120.0);
    ASSERT_EQ(classic.snappedBars, 4);

    struct Case {
        OctaveMode mode;
        double bpm;
        std::optional<int> bars;
        const char* source;
    };
    const std::vector<Case> cases = {
        {*OctaveMode::range(150, 300), 240.0, 8, "doubled: 32 beats, 8 bars"},
        {*OctaveMode::range(40, 80), 60.0, 2, "halved: 8 beats, 2 bars"},
        {*OctaveMode::range(120, 240), 120.0, 4, "the lower bound itself stays"},
        {*OctaveMode::range(60, 120), 60.0, 2, "the upper bound is outside"},
        {*OctaveMode::range(30, 60), 30.0, 1, "quartered: 4 beats, 1 bar"},
    };
    for (const Case& c : cases) {
        const Estimate e = estimateTempo(evidence, c.mode);
        EXPECT_EQ(e.bpm, c.bpm) << c.source;
        EXPECT_EQ(e.snappedBars, c.bars) << c.source;
        EXPECT_EQ(e.durationSeconds, classic.durationSeconds);
        for (const double alternative : e.alternatives)
            EXPECT_GT(std::abs(alternative - e.bpm), 0.02 * e.bpm) << c.source;
    }
}

TEST(OctaveChoice, OtherModesListEachAlternativeTempoOnce) {
    // 1.21 s of clicks at 120 BPM: so short that the refined candidates
    // hold the same tempo twice, which classic lists as it always has.
    const std::vector<float> x =
        testing::clickTrain({.bpm = 120, .seconds = 1.21, .rateHz = 44100});
    for (const OctaveMode& mode : {*OctaveMode::range(45.5, 91), OctaveMode::automatic()}) {
        const Estimate e = analyze(x, 44100.0, 1.21, {}, {}, mode);
        SCOPED_TRACE(octaveModeText(mode));
        for (size_t i = 0; i < e.alternatives.size(); ++i)
            for (size_t j = 0; j < i; ++j)
                EXPECT_GT(std::abs(e.alternatives[i] - e.alternatives[j]), 0.02 * e.alternatives[j])
                    << e.alternatives[j] << " and " << e.alternatives[i];
    }
}

} // namespace
} // namespace quorlen::detection
