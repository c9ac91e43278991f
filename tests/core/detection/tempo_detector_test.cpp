// The whole tempo analysis of a signal, in the classic mode and in the
// octave modes that choose between a tempo's relatives.
#include "detection/tempo_detector.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <random>

namespace quorlen::detection {
namespace {

using testing::ClickTrain;
using testing::Groove;

Estimate analyzeClicks(const ClickTrain& train, const OctaveMode& mode = OctaveMode::classic()) {
    std::vector<float> x = testing::clickTrain(train);
    const double duration = double(x.size()) / train.rateHz;
    return analyze(std::move(x), train.rateHz, duration, {}, {2}, mode);
}

FailureKind failureOf(std::vector<float> x, double rateHz, const CancelCheck& cancel = {}) {
    const double duration = double(x.size()) / rateHz;
    try {
        analyze(std::move(x), rateHz, duration, cancel);
    } catch (const Failure& failure) {
        return failure.kind();
    }
    ADD_FAILURE() << "analysis succeeded";
    return FailureKind::unreadable;
}

// Alternatives are other tempos, not the reported one nor each other again.
void expectDistinctAlternatives(const Estimate& e) {
    for (size_t i = 0; i < e.alternatives.size(); ++i) {
        EXPECT_GT(std::abs(e.alternatives[i] - e.bpm), 0.02 * e.bpm) << e.alternatives[i];
        for (size_t j = 0; j < i; ++j)
            EXPECT_GT(std::abs(e.alternatives[i] - e.alternatives[j]), 0.02 * e.alternatives[j])
                << e.alternatives[j] << " and " << e.alternatives[i];
    }
}

TEST(TempoDetector, LoopsSnapToWholeBars) {
    // 16 beats each: a snapped tempo is exactly 16 * 60 / the decoded duration.
    const ClickTrain loops[] = {
        {.bpm = 120, .seconds = 8.0, .rateHz = 44100},
        {.bpm = 120, .seconds = 8.0, .rateHz = 48000, .firstClickSeconds = 0.1},
        // 120.15 BPM, within tau of the clicks.
        {.bpm = 120, .seconds = 7.99, .rateHz = 44100},
        {.bpm = 95, .seconds = 16 * 60 / 95.0, .rateHz = 44100, .accentEvery = 4},
    };
    for (const ClickTrain& train : loops) {
        SCOPED_TRACE(train.seconds);
        const Estimate e = analyzeClicks(train);
        EXPECT_NEAR(e.durationSeconds, train.seconds, 1.0 / train.rateHz);
        EXPECT_DOUBLE_EQ(e.bpm, 16 * 60 / e.durationSeconds);
        EXPECT_EQ(e.snappedBars, 4);
    }
}

TEST(TempoDetector, BeatOffsetAndDownbeatFollowTheClicks) {
    // Clicks from 0.3 s every 0.6 s with a kick on clicks 1, 5, 9, ...: the
    // first grid beat is click 0 and the first bar line one beat later.
    // Offsets include the three-hop latency and are good to about a frame.
    const Estimate e = analyzeClicks({.bpm = 100,
                                      .seconds = 12,
                                      .rateHz = 44100,
                                      .firstClickSeconds = 0.3,
                                      .accentEvery = 4,
                                      .accentFirst = 1,
                                      .kickHz = 60});
    EXPECT_EQ(e.bpm, 100.0);
    EXPECT_NEAR(e.beatOffsetSeconds, 0.3, 0.02);
    EXPECT_EQ(e.downbeat, 1);
}

TEST(TempoDetector, LongFilesAreCroppedToTheirLoudest300SecondsAndRoundedNotSnapped) {
    // 6 minutes: quiet clicks for the first 60 s, loud ones after. The
    // window starts at 60 s, so the first beat is the click at 60.25 s.
    std::vector<float> x = testing::clickTrain(
        {.bpm = 120, .seconds = 360, .rateHz = 22050, .firstClickSeconds = 0.25, .accentEvery = 4});
    for (size_t i = 0; i < 60 * 22050; ++i)
        x[i] *= 0.1f;
    const Estimate e = analyze(std::move(x), 22050, 360, {}, {2});
    EXPECT_EQ(e.bpm, 120.0);
    EXPECT_NEAR(e.beatOffsetSeconds, 60.25, 0.02);
    EXPECT_FALSE(e.snappedBars);
    EXPECT_LE(e.alternatives.size(), 3u);
    expectDistinctAlternatives(e);
    EXPECT_GE(e.confidence, 0.0);
    EXPECT_LE(e.confidence, 1.0);
}

TEST(TempoDetector, RefusesShortAndRhythmlessSignals) {
    // 1.19 s at 22050 Hz is 26239 samples, under the 26460 minimum.
    EXPECT_EQ(failureOf(std::vector<float>(26239, 0.1f), 22050), FailureKind::tooShort);
    EXPECT_EQ(failureOf({}, 44100), FailureKind::tooShort);
    EXPECT_EQ(failureOf({0.5f}, 44100), FailureKind::tooShort);
    // 1.2 s passes the length check; silence and a steady tone have no onsets.
    EXPECT_EQ(failureOf(std::vector<float>(26460, 0.0f), 22050), FailureKind::noRhythm);
    EXPECT_EQ(failureOf(testing::hopPeriodicTone(5, 5), 22050), FailureKind::noRhythm);
    EXPECT_GT(analyzeClicks({.bpm = 120, .seconds = 1.2, .rateHz = 22050}).bpm, 0.0);
}

// Below -80 dBFS in its loudest moment a signal is inaudible: noise there
// has no rhythm, however long it runs and whatever periodicity chance
// lends it. Quiet music above that is analysed as usual.
TEST(TempoDetector, InaudibleNoiseHasNoRhythmWhateverItsLength) {
    std::mt19937 random(26);
    std::normal_distribution<float> gaussian(0.0f, std::pow(10.0f, -90.0f / 20.0f));
    for (const double seconds : {30.0, 300.0, 600.0}) {
        std::vector<float> noise(static_cast<size_t>(seconds * 22050));
        for (float& v : noise)
            v = gaussian(random);
        EXPECT_EQ(failureOf(std::move(noise), 22050), FailureKind::noRhythm) << seconds;
    }
    // Sparse clicks at -55 dBFS peak: -85 dBFS over a second, about -75 in
    // the 46 ms around each.
    EXPECT_EQ(
        analyzeClicks(
            {.bpm = 120, .seconds = 8, .rateHz = 22050, .gain = std::pow(10.0f, -55.0f / 20.0f)})
            .bpm,
        120.0);
}

TEST(TempoDetector, CancellationStopsEveryStage) {
    const std::vector<float> x = testing::clickTrain({.bpm = 120, .seconds = 20, .rateHz = 44100});
    int polls = 0;
    EXPECT_EQ(analyze(x, 44100, 20, [&] { return ++polls, false; }).bpm, 120.0);
    // Whichever stage a poll falls in, a yes there ends the analysis.
    for (int cancelAt = 1; cancelAt <= polls; cancelAt += 3) {
        int calls = 0;
        EXPECT_EQ(failureOf(x, 44100, [&] { return ++calls >= cancelAt; }), FailureKind::cancelled)
            << cancelAt;
    }
}

TEST(Confidence, CombinesPeakProminenceAndTheGapToTheSecondTempo) {
    const struct {
        double raw, mean, secondRaw, expected;
        const char* source;
    } cases[] = {
        {3.0, 1.0, 0.0, 1.0, "x = 1, y = 1.25 clipped to 1"},
        {3.0, 1.0, 3.0, 0.5, "equal second tempo: y = 0"},
        {2.0, 1.0, 1.6, 0.5 * (0.75 / 1.75) + 0.5 * (0.25 / 0.8), "both parts inside 0 ... 1"},
        {1.0, 1.0, 2.0, 0.0, "below 1.25 x mean and weaker than the second"},
    };
    for (const auto& c : cases)
        EXPECT_NEAR(confidence(c.raw, c.mean, c.secondRaw), c.expected, 1e-12) << c.source;
}

// Kick on every beat, snare on 2 and 4, hats between the beats.
const std::vector<std::string> kFourOnTheFloor = {"k", "", "h", "", "ks", "", "h", "",
                                                  "k", "", "h", "", "ks", "", "h", ""};
// Two-step break: kick on 1 and the "and" of 3, snare on 2 and 4.
const std::vector<std::string> kTwoStep = {"kh", "", "h",  "", "sh", "", "h", "",
                                           "h",  "", "kh", "", "sh", "", "h", ""};

TempoEvidence measureGroove(const Groove& groove) {
    std::vector<float> x = testing::drumGroove(groove);
    const double duration = double(x.size()) / 44100.0;
    return measureTempo(std::move(x), 44100.0, duration, {});
}

TEST(OctaveChoice, AutomaticPicksTheTempoTheGrooveIsPlayedAt) {
    // Files are not a whole number of bars, so no loop snapping helps:
    // house at 128, not 64; a break at 140, not 70.
    for (const Groove& groove : {Groove{.bpm = 128, .seconds = 11.3, .steps = kFourOnTheFloor},
                                 Groove{.bpm = 140, .seconds = 10.7, .steps = kTwoStep}}) {
        SCOPED_TRACE(groove.bpm);
        const Estimate automatic = estimateTempo(measureGroove(groove), OctaveMode::automatic());
        EXPECT_NEAR(automatic.bpm, groove.bpm, 0.01 * groove.bpm);
        EXPECT_GE(automatic.confidence, 0.0);
        EXPECT_LE(automatic.confidence, 1.0);
        expectDistinctAlternatives(automatic);
    }
}

TEST(OctaveChoice, TheGridLandsOnTheKicksNotTheLouderHats) {
    // Kicks alone at 0.25 s + k * 0.5 s, loud hats alone between them. The
    // reported first beat must be a kick (within 10 ms), not a hat a quarter
    // second away.
    const Groove groove{
        .bpm = 120,
        .seconds = 9.7,
        .steps = {"k", "", "h", "", "k", "", "h", "", "k", "", "h", "", "k", "", "h", ""},
        .firstBeatSeconds = 0.25,
        .hatGain = 2.0f};
    const TempoEvidence evidence = measureGroove(groove);
    for (const OctaveMode& mode : {OctaveMode::automatic(), *OctaveMode::range(80, 160)}) {
        const Estimate e = estimateTempo(evidence, mode);
        ASSERT_NEAR(e.bpm, 120, 1.2);
        const double off = std::remainder(e.beatOffsetSeconds - 0.25, 60.0 / e.bpm);
        EXPECT_LE(std::abs(off), 0.010)
            << octaveModeText(mode) << " first beat " << e.beatOffsetSeconds;
    }
}

TEST(OctaveChoice, ALoopIsReadFromItsLengthAtWholeBeats) {
    const struct {
        Groove groove;
        std::vector<double> accepted;
        const char* source;
    } cases[] = {
        {{.bpm = 136.9, .seconds = 4 * 60 / 136.9, .steps = kTwoStep}, {136.9}, "a one-bar break"},
        {{.bpm = 97, .seconds = 4 * 60 / 97.0, .steps = kTwoStep}, {97, 194}, "a 4-beat loop"},
        {{.bpm = 124, .seconds = 8 * 60 / 124.0, .steps = kFourOnTheFloor}, {124}, "two bars"},
        {{.bpm = 136, .seconds = 2 * 60 / 136.0, .steps = kFourOnTheFloor},
         {136, 68},
         "a two-beat loop, too short for the classic mode"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.source);
        const TempoEvidence evidence = measureGroove(c.groove);
        const Estimate e = estimateTempo(evidence, OctaveMode::automatic());
        const double beats = e.durationSeconds * e.bpm / 60.0;
        EXPECT_NEAR(beats, std::round(beats), 1e-9) << e.bpm << " BPM";
        EXPECT_GE(beats, 1.0) << e.bpm << " BPM";
        EXPECT_TRUE(std::any_of(c.accepted.begin(), c.accepted.end(),
                                [&](double bpm) { return std::abs(e.bpm - bpm) < 0.005 * bpm; }))
            << e.bpm << " BPM";
        if (std::fmod(std::round(beats), 4.0) == 0.0) {
            EXPECT_EQ(e.snappedBars, int(std::round(beats)) / 4);
        }
    }
    // The classic mode keeps its minimum of 1.2 s.
    try {
        estimateTempo(measureGroove(cases[3].groove), OctaveMode::classic());
        ADD_FAILURE() << "a 0.88 s loop was read in the classic mode";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.kind(), FailureKind::tooShort);
    }
}

TEST(OctaveChoice, ConfidenceIsHighOnAClickTrackAndCandidatesShareAtMostOne) {
    const Estimate e = analyzeClicks({.bpm = 120, .seconds = 40.3}, OctaveMode::automatic());
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
    EXPECT_TRUE(analyzeClicks({.bpm = 120, .seconds = 40.3}).candidates.empty())
        << "classic lists none";
    // Noise is never High.
    std::vector<float> noise(44100 * 20);
    std::mt19937 random(12345);
    std::uniform_real_distribution<float> uniform(-0.15f, 0.15f);
    for (float& v : noise)
        v = uniform(random);
    try {
        EXPECT_LT(analyze(noise, 44100.0, 20.0, {}, {}, OctaveMode::automatic()).confidence, 0.7);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.kind(), FailureKind::noRhythm);
    }
}

TEST(OctaveChoice, ClassicModeIsTheClassicAnalysisAndARangeFoldsIt) {
    const Groove house{.bpm = 128, .seconds = 11.3, .steps = kFourOnTheFloor};
    std::vector<float> x = testing::drumGroove(house);
    const double duration = double(x.size()) / 44100.0;
    const Estimate whole = analyze(x, 44100.0, duration, {});
    EXPECT_EQ(estimateTempo(measureGroove(house), OctaveMode::classic()), whole);
    EXPECT_EQ(analyze(x, 44100.0, duration, {}, {}, OctaveMode::classic()), whole);

    // An 8-second loop of 16 beats at 120 BPM: classic snaps it to 4 bars;
    // a range folds the tempo and redoes what depends on it.
    const TempoEvidence evidence =
        measureGroove({.bpm = 120, .seconds = 8.0, .steps = kFourOnTheFloor});
    const Estimate classic = estimateTempo(evidence, OctaveMode::classic());
    ASSERT_EQ(classic.bpm, 120.0);
    ASSERT_EQ(classic.snappedBars, 4);
    const struct {
        OctaveMode mode;
        double bpm;
        int bars;
        const char* source;
    } cases[] = {
        {*OctaveMode::range(150, 300), 240.0, 8, "doubled: 32 beats, 8 bars"},
        {*OctaveMode::range(40, 80), 60.0, 2, "halved: 8 beats, 2 bars"},
        {*OctaveMode::range(120, 240), 120.0, 4, "the lower bound itself stays"},
        {*OctaveMode::range(60, 120), 60.0, 2, "the upper bound is outside"},
        {*OctaveMode::range(30, 60), 30.0, 1, "quartered: 4 beats, 1 bar"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.source);
        const Estimate e = estimateTempo(evidence, c.mode);
        EXPECT_EQ(e.bpm, c.bpm);
        EXPECT_EQ(e.snappedBars, c.bars);
        EXPECT_EQ(e.durationSeconds, classic.durationSeconds);
        expectDistinctAlternatives(e);
    }
}

TEST(OctaveChoice, OtherModesListEachAlternativeTempoOnce) {
    // 1.21 s of clicks at 120 BPM: so short that the refined candidates
    // hold the same tempo twice, which classic lists as it always has.
    for (const OctaveMode& mode : {*OctaveMode::range(45.5, 91), OctaveMode::automatic()}) {
        SCOPED_TRACE(octaveModeText(mode));
        expectDistinctAlternatives(analyzeClicks({.bpm = 120, .seconds = 1.21}, mode));
    }
}

// Each mode's result made from a kept analysis must be the one a fresh
// analysis in that mode gives, failures included: a setting changed on a
// shown result may not show anything a new analysis would not.
TEST(Reestimate, EqualsAFreshAnalysisInEveryMode) {
    const Groove files[] = {
        {.bpm = 120, .seconds = 8.0, .steps = kFourOnTheFloor}, // a 4-bar loop that snaps
        {.bpm = 140, .seconds = 10.7, .steps = kTwoStep},       // no whole bars
        {.bpm = 136, .seconds = 2 * 60 / 136.0, .steps = kFourOnTheFloor}, // too short for classic
    };
    const auto outcome = [](const std::function<Analysis()>& run) -> std::optional<Analysis> {
        try {
            return run();
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.kind(), FailureKind::tooShort);
            return std::nullopt;
        }
    };
    testing::TempDir dir;
    const std::string path = dir.file("groove.wav").string();
    for (const Groove& file : files) {
        ASSERT_TRUE(testing::writeSound(path, testing::drumGroove(file), 1, 44100,
                                        SF_FORMAT_WAV | SF_FORMAT_FLOAT));
        // The kept analysis is made in a mode that reads every file.
        const Analysis kept = analyzeFile(path, {}, {2, true}, OctaveMode::automatic());
        ASSERT_TRUE(kept.evidence);
        for (const OctaveMode& mode :
             {OctaveMode::classic(), OctaveMode::automatic(), *OctaveMode::range(40, 80),
              *OctaveMode::range(70, 140), *OctaveMode::range(150, 300)}) {
            SCOPED_TRACE(std::to_string(file.bpm) + ", " + octaveModeText(mode));
            const auto fresh = outcome([&] { return analyzeFile(path, {}, {2, true}, mode); });
            const auto again = outcome([&] { return reestimate(kept, mode); });
            ASSERT_EQ(again.has_value(), fresh.has_value());
            if (!fresh)
                continue;
            EXPECT_EQ(again->estimate, fresh->estimate);
            EXPECT_EQ(again->octave, mode);
            EXPECT_EQ(again->key, fresh->key);
            EXPECT_EQ(*again->waveform, *fresh->waveform);
            EXPECT_EQ(again->waveform, kept.waveform) << "the waveform is shared, not copied";
        }
    }
}

} // namespace
} // namespace quorlen::detection
