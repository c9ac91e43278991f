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

Estimate analyzeClicks(const ClickTrain& train, int threads = 2) {
    std::vector<float> x = testing::clickTrain(train);
    const double duration = double(x.size()) / train.rateHz;
    return analyze(std::move(x), train.rateHz, duration, {}, {threads});
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

TEST(TempoDetector, LoopsSnapToWholeBars) {
    struct Case {
        ClickTrain train;
        int beats;
        const char* source;
    };
    // A snapped tempo is exactly beats * 60 / duration of the decoded samples.
    const std::vector<Case> cases = {
        {{.bpm = 120, .seconds = 8.0, .rateHz = 44100}, 16, "16 beats in 8 s"},
        {{.bpm = 120, .seconds = 8.0, .rateHz = 48000, .firstClickSeconds = 0.1},
         16,
         "same loop at 48 kHz"},
        {{.bpm = 120, .seconds = 7.99, .rateHz = 44100},
         16,
         "16 beats in 7.99 s is 120.15 BPM, within tau of the clicks"},
        {{.bpm = 95, .seconds = 16 * 60 / 95.0, .rateHz = 44100, .accentEvery = 4},
         16,
         "16 beats at 95 BPM"},
    };
    for (const Case& c : cases) {
        const Estimate e = analyzeClicks(c.train);
        EXPECT_NEAR(e.durationSeconds, c.train.seconds, 1.0 / c.train.rateHz) << c.source;
        EXPECT_DOUBLE_EQ(e.bpm, c.beats * 60 / e.durationSeconds) << c.source;
        EXPECT_EQ(e.snappedBars, c.beats / 4) << c.source;
    }
}

TEST(TempoDetector, LongFilesAreRoundedNotSnapped) {
    // 95 s is over the 90 s loop limit; 120 is within one frame's drift.
    const Estimate e =
        analyzeClicks({.bpm = 120, .seconds = 95, .rateHz = 22050, .accentEvery = 4});
    EXPECT_EQ(e.bpm, 120.0);
    EXPECT_FALSE(e.snappedBars);
    EXPECT_LE(e.alternatives.size(), 3u);
    for (const double alt : e.alternatives)
        EXPECT_GT(std::abs(alt - 120.0), 2.4);
    EXPECT_GE(e.confidence, 0.0);
    EXPECT_LE(e.confidence, 1.0);
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

TEST(TempoDetector, RefusesShortAndRhythmlessSignals) {
    // 1.19 s at 22050 Hz is 26239 samples, under the 26460 minimum.
    EXPECT_EQ(failureOf(std::vector<float>(26239, 0.1f), 22050), FailureKind::tooShort);
    EXPECT_EQ(failureOf({}, 44100), FailureKind::tooShort);
    EXPECT_EQ(failureOf({0.5f}, 44100), FailureKind::tooShort);
    // 1.2 s passes the length check; silence and a steady tone have no onsets.
    EXPECT_EQ(failureOf(std::vector<float>(26460, 0.0f), 22050), FailureKind::noRhythm);
    EXPECT_EQ(failureOf(testing::hopPeriodicTone(5, 5), 22050), FailureKind::noRhythm);
    const Estimate shortest = analyzeClicks({.bpm = 120, .seconds = 1.2, .rateHz = 22050});
    EXPECT_GT(shortest.bpm, 0.0);
}

// Below -80 dBFS in its loudest moment a signal is inaudible: noise there
// has no rhythm, however long it runs and whatever periodicity chance
// lends it. Quiet music above that is analysed as usual.
TEST(TempoDetector, InaudibleNoiseHasNoRhythmWhateverItsLength) {
    std::mt19937 random(26);
    std::normal_distribution<float> gaussian(0.0f, 1.0f);
    const auto noise = [&](double seconds, float rms) {
        std::vector<float> x(static_cast<size_t>(seconds * 22050));
        for (float& v : x)
            v = rms * gaussian(random);
        return x;
    };
    const float minus90dB = std::pow(10.0f, -90.0f / 20.0f);
    for (const double seconds : {30.0, 300.0, 600.0}) {
        SCOPED_TRACE(seconds);
        EXPECT_EQ(failureOf(noise(seconds, minus90dB), 22050), FailureKind::noRhythm);
    }
    // Sparse clicks at -55 dBFS peak: -85 dBFS over a second, about -75 in
    // the 46 ms around each.
    std::vector<float> quiet = testing::clickTrain({.bpm = 120, .seconds = 8, .rateHz = 22050});
    for (float& v : quiet)
        v *= std::pow(10.0f, -55.0f / 20.0f) / 0.5f;
    EXPECT_EQ(analyze(std::move(quiet), 22050, 8.0, {}).bpm, 120.0);
}

TEST(TempoDetector, CancellationStopsEveryStage) {
    const std::vector<float> x = testing::clickTrain({.bpm = 120, .seconds = 20, .rateHz = 44100});
    int polls = 0;
    const Estimate done = analyze(x, 44100, 20, [&] { return ++polls, false; });
    // Whichever stage a poll falls in, a yes there ends the analysis.
    for (int cancelAt = 1; cancelAt <= polls; cancelAt += 3) {
        int calls = 0;
        EXPECT_EQ(failureOf(x, 44100, [&] { return ++calls >= cancelAt; }), FailureKind::cancelled)
            << cancelAt;
    }
    EXPECT_EQ(done.bpm, 120.0);
}

TEST(TempoDetector, CropsLongFilesToTheirLoudest300Seconds) {
    // 6 minutes: quiet clicks for the first 60 s, loud ones after. The
    // window starts at 60 s, so the first beat is the click at 60.25 s.
    std::vector<float> x = testing::clickTrain(
        {.bpm = 120, .seconds = 360, .rateHz = 22050, .firstClickSeconds = 0.25});
    for (size_t i = 0; i < 60 * 22050; ++i)
        x[i] *= 0.1f;
    const Estimate e = analyze(std::move(x), 22050, 360, {}, {2});
    EXPECT_EQ(e.bpm, 120.0);
    EXPECT_NEAR(e.beatOffsetSeconds, 60.25, 0.02);
}

TEST(TempoDetector, ThreadCountChangesNothing) {
    const ClickTrain train{.bpm = 131.7, .seconds = 20, .rateHz = 44100, .accentEvery = 2};
    EXPECT_EQ(analyzeClicks(train, 1), analyzeClicks(train, 2));
}

TEST(Confidence, CombinesPeakProminenceAndTheGapToTheSecondTempo) {
    struct Case {
        double raw, mean, secondRaw, expected;
        const char* source;
    };
    const std::vector<Case> cases = {
        {3.0, 1.0, 0.0, 1.0, "x = 1, y = 1.25 clipped to 1"},
        {3.0, 1.0, 3.0, 0.5, "equal second tempo: y = 0"},
        {2.0, 1.0, 1.6, 0.5 * (0.75 / 1.75) + 0.5 * (0.25 / 0.8), "both parts inside 0 ... 1"},
        {1.0, 1.0, 2.0, 0.0, "below 1.25 x mean and weaker than the second"},
    };
    for (const Case& c : cases)
        EXPECT_NEAR(confidence(c.raw, c.mean, c.secondRaw), c.expected, 1e-12) << c.source;
}

// Each mode's result made from a kept analysis must be the one a fresh
// analysis in that mode gives, failures included: a setting changed on a
// shown result may not show anything a new analysis would not.
TEST(Reestimate, EqualsAFreshAnalysisInEveryMode) {
    const std::vector<std::string> fourOnTheFloor = {"k", "", "h", "", "ks", "", "h", "",
                                                     "k", "", "h", "", "ks", "", "h", ""};
    const std::vector<std::string> twoStep = {"kh", "", "h",  "", "sh", "", "h", "",
                                              "h",  "", "kh", "", "sh", "", "h", ""};
    struct File {
        testing::Groove groove;
        const char* source;
    };
    const std::vector<File> files = {
        {{.bpm = 120, .seconds = 8.0, .steps = fourOnTheFloor}, "a 4-bar loop that snaps"},
        {{.bpm = 140, .seconds = 10.7, .steps = twoStep}, "a break of no whole bars"},
        {{.bpm = 136, .seconds = 2 * 60 / 136.0, .steps = fourOnTheFloor},
         "a two-beat loop, too short for the classic mode"},
    };
    const std::vector<OctaveMode> modes = {OctaveMode::classic(), OctaveMode::automatic(),
                                           *OctaveMode::range(40, 80), *OctaveMode::range(70, 140),
                                           *OctaveMode::range(150, 300)};
    const auto outcome = [](const std::function<Analysis()>& run) -> std::optional<Analysis> {
        try {
            return run();
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.kind(), FailureKind::tooShort);
            return std::nullopt;
        }
    };
    testing::TempDir dir;
    for (const File& file : files) {
        const std::vector<float> x = testing::drumGroove(file.groove);
        const std::string path = dir.file("groove.wav").string();
        ASSERT_TRUE(testing::writeSound(path, x, 1, 44100, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
        // The kept analysis is made in a mode that reads every file.
        const Analysis kept = analyzeFile(path, {}, {2, true}, OctaveMode::automatic());
        ASSERT_TRUE(kept.evidence);
        for (const OctaveMode& mode : modes) {
            SCOPED_TRACE(std::string(file.source) + ", " + octaveModeText(mode));
            const std::optional<Analysis> fresh = outcome([&] {
                return analyzeFile(path, {}, {2, true}, mode);
            });
            const std::optional<Analysis> again = outcome([&] { return reestimate(kept, mode); });
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
