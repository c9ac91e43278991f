// The whole analysis of a signal and of a file: the classic mode and the
// octave modes, reading every kind of file, good or bad, and the streamed
// analysis against the whole-file versions it replaces, whatever the
// chunking and the threads.
#include "detection/audio_loader.h"
#include "detection/downbeat.h"
#include "detection/loudest_window.h"
#include "detection/onset_envelope.h"
#include "detection/resample.h"
#include "detection/tempo_detector.h"
#include "detection/waveform_peaks.h"
#include "key/key_detector.h"
#include "test_encoder.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <fcntl.h>
#include <functional>
#include <limits>
#include <optional>
#include <random>
#include <thread>
#include <tuple>
#include <unistd.h>

namespace quorlen::detection {
namespace {

using testing::ClickTrain;
using testing::Groove;
using testing::TempDir;
using testing::writeSound;

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
    // x = 1 and y = 1.25 clipped to 1; an equal second tempo (y = 0); both
    // parts inside 0 ... 1; below 1.25 x mean and weaker than the second.
    const std::tuple<double, double, double, double> cases[] = {
        {3.0, 1.0, 0.0, 1.0},
        {3.0, 1.0, 3.0, 0.5},
        {2.0, 1.0, 1.6, 0.5 * (0.75 / 1.75) + 0.5 * (0.25 / 0.8)},
        {1.0, 1.0, 2.0, 0.0}};
    for (const auto& [raw, mean, secondRaw, expected] : cases)
        EXPECT_NEAR(confidence(raw, mean, secondRaw), expected, 1e-12) << raw << " " << secondRaw;
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
    // A one-bar break, a 4-beat loop, two bars, and a two-beat loop too
    // short for the classic mode.
    const std::pair<Groove, std::vector<double>> cases[] = {
        {{.bpm = 136.9, .seconds = 4 * 60 / 136.9, .steps = kTwoStep}, {136.9}},
        {{.bpm = 97, .seconds = 4 * 60 / 97.0, .steps = kTwoStep}, {97, 194}},
        {{.bpm = 124, .seconds = 8 * 60 / 124.0, .steps = kFourOnTheFloor}, {124}},
        {{.bpm = 136, .seconds = 2 * 60 / 136.0, .steps = kFourOnTheFloor}, {136, 68}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first.bpm);
        const TempoEvidence evidence = measureGroove(c.first);
        const Estimate e = estimateTempo(evidence, OctaveMode::automatic());
        const double beats = e.durationSeconds * e.bpm / 60.0;
        EXPECT_NEAR(beats, std::round(beats), 1e-9) << e.bpm << " BPM";
        EXPECT_GE(beats, 1.0) << e.bpm << " BPM";
        EXPECT_TRUE(std::any_of(c.second.begin(), c.second.end(),
                                [&](double bpm) { return std::abs(e.bpm - bpm) < 0.005 * bpm; }))
            << e.bpm << " BPM";
        if (std::fmod(std::round(beats), 4.0) == 0.0) {
            EXPECT_EQ(e.snappedBars, int(std::round(beats)) / 4);
        }
    }
    // The classic mode keeps its minimum of 1.2 s.
    try {
        estimateTempo(measureGroove(cases[3].first), OctaveMode::classic());
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

TEST(OctaveChoice, ARangeFoldsTheClassicTempoAndRedoesWhatDependsOnIt) {
    // An 8-second loop of 16 beats at 120 BPM: classic snaps it to 4 bars;
    // a range folds the tempo and redoes what depends on it.
    const TempoEvidence evidence =
        measureGroove({.bpm = 120, .seconds = 8.0, .steps = kFourOnTheFloor});
    const Estimate classic = estimateTempo(evidence, OctaveMode::classic());
    ASSERT_EQ(classic.bpm, 120.0);
    ASSERT_EQ(classic.snappedBars, 4);
    // Doubled (32 beats, 8 bars), halved (8 beats, 2 bars), the lower
    // bound itself stays, the upper bound is outside, quartered (4 beats, 1 bar).
    const std::tuple<double, double, int> cases[] = {
        {150, 240.0, 8}, {40, 60.0, 2}, {120, 120.0, 4}, {60, 60.0, 2}, {30, 30.0, 1}};
    for (const auto& [low, bpm, bars] : cases) {
        SCOPED_TRACE(low);
        const Estimate e = estimateTempo(evidence, *OctaveMode::range(low, 2 * low));
        EXPECT_EQ(e.bpm, bpm);
        EXPECT_EQ(e.snappedBars, bars);
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
    TempDir dir;
    const std::string path = dir.file("groove.wav").string();
    for (const Groove& file : files) {
        ASSERT_TRUE(
            writeSound(path, testing::drumGroove(file), 1, 44100, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
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

constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

// With two threads the file is decoded ahead on a thread of its own.
std::string failureMessage(const std::string& path, int threads = 1) {
    try {
        analyzeFile(path, {}, {threads});
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "(analysed)";
}

// Failing files, analysed alone or side by side, each keep their own
// message: the reader's and the detector's.
TEST(AudioLoader, BadFilesGiveOneClearMessageUnderManyThreads) {
    TempDir dir;
    ASSERT_TRUE(
        writeSound(dir.file("short.wav"), testing::sine(440, 0.5, 44100), 1, 44100, kWav16));
    testing::writeBytes(dir.file("header-only.wav"),
                        testing::readBytes(dir.file("short.wav")).substr(0, 36));
    testing::writeBytes(dir.file("notes.wav"), "These are not the samples you are looking for.\n");
    testing::writeBytes(dir.file("noise.mp3"), std::string(5000, '\x5a'));
    std::filesystem::create_directory(dir.file("folder.m4a"));
    ASSERT_TRUE(writeSound(dir.file("no-frames.wav"), {}, 1, 44100, kWav16));
    ASSERT_TRUE(writeSound(dir.file("one-frame.wav"), std::vector<float>{0.5f}, 1, 44100, kWav16));
    // Channels in opposite phase mix to silence, which has no rhythm.
    std::vector<float> opposite;
    for (const float v : testing::clickTrain({.bpm = 120, .seconds = 4, .rateHz = 44100}))
        opposite.insert(opposite.end(), {v, -v});
    ASSERT_TRUE(
        writeSound(dir.file("opposite.wav"), opposite, 2, 44100, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"missing.wav", "File not found"},
        {"notes.wav", "Not an audio file"},
        {"header-only.wav", "Not an audio file"},
        {"noise.mp3", "Not an audio file"},
        {"folder.m4a", "Not a regular file"},
        {"no-frames.wav", "File is too short to detect a tempo"},
        {"one-frame.wav", "File is too short to detect a tempo"},
        {"short.wav", "File is too short to detect a tempo"},
        {"opposite.wav", "No rhythmic content found in this file"}};
    for (const int threads : {1, 2})
        for (const auto& [name, message] : cases)
            EXPECT_EQ(failureMessage(dir.file(name), threads), message) << name << threads;
    const size_t n = cases.size();
    for (int round = 0; round < 20; ++round) {
        std::vector<std::string> seen(8 * n);
        std::vector<std::jthread> threads;
        for (size_t t = 0; t < 8; ++t)
            threads.emplace_back([&, t] {
                for (size_t f = 0; f < n; ++f)
                    seen[t * n + f] = failureMessage(dir.file(cases[(f + t) % n].first));
            });
        threads.clear();
        for (size_t k = 0; k < seen.size(); ++k)
            ASSERT_EQ(seen[k], cases[(k % n + k / n) % n].second) << "round " << round;
    }
}

TEST(AudioLoader, ReadsEverySampleFormatToTheSameSignalFromFileOrMemory) {
    TempDir dir;
    const std::vector<float> x = testing::sine(440, 0.25, 44100, 0.8f);
    // Each within one quantisation step, or the codec's error.
    const std::tuple<const char*, int, double> cases[] = {
        {"u8.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 1.0 / 128},
        {"s16.wav", kWav16, 1.0 / 32768},
        {"s24.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 1e-6},
        {"s32.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_32, 1e-7},
        {"f32.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 0.0},
        {"f64.wav", SF_FORMAT_WAV | SF_FORMAT_DOUBLE, 0.0},
        {"s16.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 1.0 / 32768},
        {"f32.caf", SF_FORMAT_CAF | SF_FORMAT_FLOAT, 0.0},
        {"s16.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 1.0 / 32768}};
    for (const auto& [name, format, tolerance] : cases) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(writeSound(dir.file(name), x, 1, 44100, format));
        const DecodedAudio audio = loadMono(dir.file(name), {});
        EXPECT_EQ(audio.sampleRate, 44100.0);
        ASSERT_EQ(audio.samples.size(), x.size());
        for (size_t i = 0; i < x.size(); i += 7)
            ASSERT_NEAR(audio.samples[i], x[i], tolerance) << "sample " << i;
        const std::string bytes = testing::readBytes(dir.file(name));
        const DecodedAudio fromMemory = loadMonoFromMemory(std::as_bytes(std::span(bytes)), {});
        EXPECT_EQ(fromMemory.samples, audio.samples);
        EXPECT_EQ(fromMemory.sampleRate, 44100.0);
    }
    const std::string cut = testing::readBytes(dir.file("s16.wav")).substr(0, 36);
    EXPECT_THROW(loadMonoFromMemory(std::as_bytes(std::span(cut)), {}), Failure);
}

TEST(AudioLoader, MixesAnyChannelCountToTheMeanWithNonFiniteAsSilence) {
    TempDir dir;
    for (int channels = 1; channels <= 8; ++channels) {
        // Channel c holds (c + 1) / 10, so the mean is (channels + 1) / 20.
        std::vector<float> frames;
        for (int frame = 0; frame < 100; ++frame)
            for (int c = 0; c < channels; ++c)
                frames.push_back(float(c + 1) / 10.0f);
        const auto path = dir.file("ch" + std::to_string(channels) + ".wav");
        ASSERT_TRUE(writeSound(path, frames, channels, 48000, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
        const DecodedAudio audio = loadMono(path, {});
        ASSERT_EQ(audio.samples.size(), 100u);
        EXPECT_NEAR(audio.samples[50], float(channels + 1) / 20.0f, 1e-6) << channels;
    }
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    std::vector<float> mono;
    appendMonoMix(std::vector<float>{nan, 0.5f, inf, -inf, 0.25f, 0.25f}.data(), 3, 2, mono);
    EXPECT_EQ(mono, (std::vector<float>{0.25f, 0.0f, 0.25f}));
}

TEST(AudioLoader, AnalysesClicksFrom8To192KHz) {
    TempDir dir;
    for (const int rate : {8000, 11025, 22050, 44100, 96000, 192000}) {
        const auto path = dir.file("clicks" + std::to_string(rate) + ".wav");
        ASSERT_TRUE(writeSound(
            path, testing::clickTrain({.bpm = 120, .seconds = 8, .rateHz = double(rate)}), 1, rate,
            kWav16));
        const Analysis analysis = analyzeFile(path, {}, {2});
        EXPECT_EQ(analysis.estimate.bpm, 120.0) << rate;
        EXPECT_EQ(analysis.estimate.snappedBars, 4) << rate;
        EXPECT_DOUBLE_EQ(analysis.estimate.durationSeconds, 8.0) << rate;
        EXPECT_EQ(analysis.waveform->size(), 1600u) << rate;
    }
}

TEST(AudioLoader, TruncatedDataKeepsWhatWasReadAndCancellationStopsReading) {
    TempDir dir;
    const std::vector<float> x = testing::clickTrain({.bpm = 120, .seconds = 8, .rateHz = 44100});
    ASSERT_TRUE(writeSound(dir.file("full.wav"), x, 1, 44100, kWav16));
    const std::string bytes = testing::readBytes(dir.file("full.wav"));
    testing::writeBytes(dir.file("cut.wav"), bytes.substr(0, 44 + 2 * 200000 + 1));
    const DecodedAudio cut = loadMono(dir.file("cut.wav"), {});
    EXPECT_EQ(cut.samples.size(), 200000u); // the odd trailing byte is no sample
    EXPECT_NEAR(cut.samples[1000], x[1000], 1.0 / 32768);
    try {
        loadMono(dir.file("full.wav"), [] { return true; });
        ADD_FAILURE() << "not cancelled";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.kind(), FailureKind::cancelled);
        EXPECT_STREQ(failure.what(), "Analysis cancelled");
    }
}

// A 20 s MP3 with a few kilobytes of noise written over it at about 2.4 s.
// Everything the decoders would say about it goes to our quiet handler.
TEST(AudioLoader, DamagedMp3IsReadPastTheDamageSaysSoAndPrintsNothingOnStderr) {
    TempDir dir;
    const auto clean = dir.file("clean.mp3");
    const std::vector<float> x = testing::clickTrain({.bpm = 120, .seconds = 20, .rateHz = 44100});
    ASSERT_TRUE(
        testing::encodeSound(clean, x, 1, 44100, {.encoder = "libmp3lame", .bitRate = 128000}));
    std::string bytes = testing::readBytes(clean);
    std::mt19937 random(5);
    const size_t at = bytes.size() * 24 / 200;
    for (size_t i = at; i < at + 3000 && i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(random());
    testing::writeBytes(dir.file("damaged.mp3"), bytes);
    testing::writeBytes(dir.file("noise.mp3"), std::string(3000, '\xff'));
    const DecodedAudio audio = loadMono(clean, {});
    EXPECT_FALSE(audio.damaged);
    EXPECT_NEAR(audio.durationSeconds(), 20.0, 1e-9);

    std::fflush(stderr);
    const int saved = dup(STDERR_FILENO);
    const int capture = open(dir.file("stderr.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(capture, STDERR_FILENO);
    const Analysis analysis = analyzeFile(dir.file("damaged.mp3"), {}, {2});
    (void)failureMessage(dir.file("noise.mp3"));
    std::fflush(stderr);
    dup2(saved, STDERR_FILENO);
    close(capture);
    close(saved);
    EXPECT_EQ(testing::readBytes(dir.file("stderr.txt")), "");
    EXPECT_TRUE(analysis.damaged);
    EXPECT_GT(analysis.estimate.durationSeconds, 19.5);
    EXPECT_EQ(analysis.estimate.bpm, 120.0);
}

// FLAC carries a checksum in every frame: a damaged frame is found, left
// out as silence of its length, and the rest keeps its time, so the grid
// of the whole file is that of the clean one.
TEST(AudioLoader, DamagedFlacIsReadPastTheDamageKeepingTime) {
    TempDir dir;
    const auto clean = dir.file("clean.flac");
    const std::vector<float> x = testing::clickTrain({.bpm = 120, .seconds = 20, .rateHz = 44100});
    ASSERT_TRUE(writeSound(clean, x, 1, 44100, SF_FORMAT_FLAC | SF_FORMAT_PCM_16));
    const Analysis reference = analyzeFile(clean, {}, {2});
    ASSERT_FALSE(reference.damaged);
    const std::string bytes = testing::readBytes(clean);
    // One byte flipped, and one in every 500 from the first frame on.
    for (const size_t every : {bytes.size(), size_t{500}}) {
        SCOPED_TRACE(every);
        std::string damaged = bytes;
        for (size_t at = bytes.size() / 2 % every + 8192; at < damaged.size(); at += every)
            damaged[at] = static_cast<char>(damaged[at] ^ 0x5a);
        testing::writeBytes(dir.file("damaged.flac"), damaged);
        const Analysis analysis = analyzeFile(dir.file("damaged.flac"), {}, {2});
        EXPECT_TRUE(analysis.damaged);
        EXPECT_NEAR(analysis.estimate.durationSeconds, 20.0, 0.2);
        EXPECT_EQ(analysis.estimate.bpm, 120.0);
        EXPECT_NEAR(analysis.estimate.beatOffsetSeconds, reference.estimate.beatOffsetSeconds,
                    0.01);
    }
}

TEST(AudioLoader, StopsReadingAtThreeHours) {
    TempDir dir;
    // 1000 Hz mono: 3 hours are 21.6 MB of 16-bit data; the file is a
    // sparse 24 MB of silence whose header claims more still.
    const std::string path = dir.file("endless.wav");
    testing::writeBytes(path, testing::pcm16WavHeader(1, 1000, 0xffffffffu));
    std::filesystem::resize_file(path, 24u * 1024 * 1024);
    EXPECT_EQ(failureMessage(path), "File is longer than 3 hours");
    EXPECT_EQ(failureMessage(path, 2), "File is longer than 3 hours");
}

constexpr size_t kSecond = 22050;

// Noise whose level follows `gain(second)`, seeded.
std::vector<float> shapedNoise(size_t n, double rateHz, float (*gain)(size_t)) {
    std::mt19937 random(11);
    std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
    std::vector<float> x(n);
    for (size_t i = 0; i < n; ++i)
        x[i] = gain(static_cast<size_t>(double(i) / rateHz)) * uniform(random);
    return x;
}

// Calls `push` with consecutive pieces of `x`, their lengths taken in turn from `pattern`.
template <typename Push>
void inPieces(std::span<const float> x, const std::vector<size_t>& pattern, Push push) {
    for (size_t at = 0, k = 0; at < x.size(); ++k) {
        const size_t piece = std::min(pattern[k % pattern.size()], x.size() - at);
        push(x.subspan(at, piece));
        at += piece;
    }
}

TEST(StreamingResampler, MatchesTheWholeSignalVersionAtEveryRateAndChunking) {
    // Rates that decimate with a box (44.1 kHz and up), interpolate (24 and
    // 32 kHz), upsample (8 kHz) and pass through (22050.9 Hz).
    for (const double rate :
         {8000.0, 22050.9, 24000.0, 32000.0, 44100.0, 48000.0, 96000.0, 192000.0, 384000.0}) {
        const std::vector<float> x =
            shapedNoise(size_t(0.7 * rate) + 3, rate, [](size_t) { return 0.5f; });
        const std::vector<float> whole = resample(x, rate, kAnalysisRateHz, {});
        std::vector<float> inPlace = x;
        ASSERT_TRUE(resampleInPlace(inPlace, rate, kAnalysisRateHz, {}));
        EXPECT_EQ(inPlace, whole) << rate;
        for (const size_t chunk : {size_t{1}, size_t{7}, size_t{4096}, x.size()}) {
            StreamingResampler resampler(rate, kAnalysisRateHz);
            std::vector<float> out;
            inPieces(x, {chunk}, [&](auto piece) { EXPECT_TRUE(resampler.push(piece, out, {})); });
            EXPECT_TRUE(resampler.finish(out, {}));
            EXPECT_EQ(out, whole) << rate << " Hz in " << chunk;
        }
    }
    // Input shorter than one output gives nothing; output 0 polls.
    StreamingResampler resampler(44100.0, kAnalysisRateHz);
    std::vector<float> out;
    EXPECT_TRUE(resampler.push(std::vector<float>{0.5f}, out, {}));
    EXPECT_TRUE(resampler.finish(out, {}));
    EXPECT_TRUE(out.empty());
    EXPECT_FALSE(StreamingResampler(44100.0, kAnalysisRateHz)
                     .push(std::vector<float>(10000, 0.25f), out, [] { return true; }));
}

TEST(LoudestWindow, CropsAsLoudestWindowStartDoesWhateverTheChunking) {
    constexpr size_t kWindowSeconds = 4;
    const struct {
        const char* name;
        size_t samples;
        float (*gain)(size_t second);
    } cases[] = {
        {"shorter than the window", 3 * kSecond + 5, [](size_t) { return 0.3f; }},
        {"exactly the window", 4 * kSecond, [](size_t) { return 0.3f; }},
        {"window and a partial block", 4 * kSecond + 100,
         [](size_t s) { return s == 4 ? 1.0f : 0.1f; }},
        {"loud in the middle", 13 * kSecond + 7,
         [](size_t s) { return s == 6 || s == 8 ? 0.9f : 0.1f; }},
        {"louder every second", 12 * kSecond, [](size_t s) { return 0.05f * float(s + 1); }},
        {"loud at the start", 12 * kSecond + 1, [](size_t s) { return s < 2 ? 0.9f : 0.1f; }},
        {"two loud parts far apart", 20 * kSecond,
         [](size_t s) { return s == 3 || s == 15 ? 0.8f : 0.2f; }},
        {"silence", 9 * kSecond, [](size_t) { return 0.0f; }},
    };
    for (const auto& c : cases) {
        const std::vector<float> x = shapedNoise(c.samples, double(kSecond), c.gain);
        const size_t window = kWindowSeconds * kSecond;
        const size_t start = x.size() <= window ? 0 : loudestWindowStart(x, window);
        const std::vector<float> expected(x.begin() + long(start),
                                          x.begin() + long(std::min(start + window, x.size())));
        // The length is known beforehand, or not.
        for (const size_t chunk : {size_t{1000}, size_t{22050}, size_t{50000}}) {
            LoudestWindow keeper(kWindowSeconds, chunk == 1000 ? 0 : x.size());
            inPieces(x, {chunk}, [&](auto piece) { keeper.push(piece); });
            const LoudestWindow::Crop crop = keeper.finish();
            EXPECT_EQ(crop.startSamples, start) << c.name << " in " << chunk;
            EXPECT_EQ(crop.totalSamples, x.size()) << c.name;
            EXPECT_TRUE(crop.samples == expected) << c.name << " in " << chunk;
        }
    }
}

TEST(PeakColumns, ExactAtTheExpectedLengthAndWithinABucketOtherwise) {
    constexpr int kColumns = 16;
    for (const size_t n : {size_t{5}, size_t{16}, size_t{1000}, size_t{64 * 16 * 5 + 3}}) {
        const std::vector<float> x =
            shapedNoise(n, 7.0, [](size_t s) { return 0.1f * float(s % 5); });
        const std::vector<float> exact = peakEnvelope(x, kColumns);
        for (const size_t chunk : {size_t{1}, size_t{333}}) {
            PeakColumns known(kColumns, static_cast<long long>(n));
            PeakColumns unknown(kColumns, 0);
            inPieces(x, {chunk}, [&](auto piece) {
                known.push(piece);
                unknown.push(piece);
            });
            EXPECT_EQ(known.finish(), exact) << n;
            // Up to 64 buckets per column the buckets are single samples.
            if (n <= 64 * kColumns) {
                EXPECT_EQ(unknown.finish(), exact) << n;
            }
        }
    }
    // Past that, one spike lands in its own column or, within a bucket
    // (4 samples here) after an edge, in the one before (its bucket starts there).
    const size_t n = 64 * kColumns * 3 + 17;
    for (const size_t spike : {size_t{0}, size_t{100}, size_t{192}, size_t{193}, n - 1}) {
        std::vector<float> x(n, 0.0f);
        x[spike] = -1.0f;
        PeakColumns unknown(kColumns, 0);
        unknown.push(x);
        const std::vector<float> peaks = unknown.finish();
        const std::vector<float> exact = peakEnvelope(x, kColumns);
        const auto exactColumn = std::find(exact.begin(), exact.end(), 1.0f) - exact.begin();
        const auto column = std::find(peaks.begin(), peaks.end(), 1.0f) - peaks.begin();
        EXPECT_TRUE(column == exactColumn || column + 1 == exactColumn) << spike;
        EXPECT_EQ(std::count(peaks.begin(), peaks.end(), 1.0f), 1) << spike;
    }
}

TEST(OnsetEnvelopeStream, MatchesTheWholeSignalEnvelopeWhateverThePieces) {
    for (const size_t n :
         {size_t{100}, size_t{1024}, size_t{1025}, size_t{1024 + 3 * 256 + 17}, 3 * kSecond + 5}) {
        const std::vector<float> x =
            shapedNoise(n, double(kSecond), [](size_t s) { return s == 1 ? 0.9f : 0.2f; });
        const Envelope whole = onsetEnvelope(x, {});
        // Pieces of regular and irregular lengths around the frame (1024) and hop (256).
        for (const std::vector<size_t>& pattern : std::vector<std::vector<size_t>>{
                 {n}, {1}, {256}, {1024}, {4096}, {1, 255, 1023, 7, 1025, 256, 3000, 2, 769}}) {
            OnsetEnvelopeStream stream;
            inPieces(x, pattern, [&](auto piece) { stream.push(piece); });
            EXPECT_EQ(stream.received(), n);
            const Envelope streamed = stream.finish();
            EXPECT_EQ(streamed.full, whole.full) << n << " in " << pattern.front();
            EXPECT_EQ(streamed.low, whole.low) << n << " in " << pattern.front();
            EXPECT_EQ(streamed.mid, whole.mid) << n << " in " << pattern.front();
            EXPECT_EQ(stream.received(), 0u); // finished streams start anew
        }
    }
}

// A WAV of `seconds` whose clicks are loud only in `loudSecond`.
std::string clickFile(const TempDir& dir, const std::string& name, double seconds,
                      size_t loudSecond, int rateHz = 44100) {
    std::vector<float> x =
        testing::clickTrain({.bpm = 132, .seconds = seconds, .rateHz = double(rateHz)});
    for (size_t i = 0; i < x.size(); ++i)
        x[i] *= i / size_t(rateHz) == loudSecond ? 1.0f : 0.3f;
    const auto path = dir.file(name);
    EXPECT_TRUE(writeSound(path, x, 1, rateHz, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    return path.string();
}

TEST(AnalysisSignal, DecodingAheadGivesTheSameSignalAndTheEnvelopeOfAWindowAtTheStart) {
    TempDir dir;
    // A 6 s window: the file fits it, or its loudest 6 s start at its start
    // or later. Only a read ahead measures the envelope of a file announced
    // longer than the window, since the crop may then not start at 0.
    const std::tuple<double, size_t, bool, bool> cases[] = {
        {5.5, 2, false, true},   {5.5, 2, true, true},   {11.0, 0, true, true},
        {11.0, 0, false, false}, {11.0, 9, true, false}, {11.0, 9, false, false}};
    for (const auto& [seconds, loudSecond, decodeAhead, envelope] : cases) {
        SCOPED_TRACE(std::to_string(seconds) + " s loud at " + std::to_string(loudSecond) +
                     (decodeAhead ? " ahead" : ""));
        const std::string path = clickFile(dir, "clicks.wav", seconds, loudSecond);
        const AnalysisRequest plain{.windowSeconds = 6, .waveformColumns = 64};
        AnalysisRequest request = plain;
        request.decodeAhead = decodeAhead;
        request.onsetEnvelope = true;
        const AnalysisSignal expected = loadAnalysisSignal(path, plain, {});
        const AnalysisSignal signal = loadAnalysisSignal(path, request, {});
        EXPECT_TRUE(signal.window == expected.window);
        EXPECT_EQ(signal.cropStartSamples, expected.cropStartSamples);
        EXPECT_EQ(signal.analysisSamples, expected.analysisSamples);
        EXPECT_EQ(signal.waveform, expected.waveform);
        EXPECT_EQ(signal.durationSeconds, expected.durationSeconds);
        EXPECT_FALSE(expected.envelope);
        ASSERT_EQ(signal.envelope.has_value(), envelope);
        if (signal.envelope) {
            const Envelope windowEnvelope = onsetEnvelope(signal.window, {});
            EXPECT_EQ(signal.envelope->full, windowEnvelope.full);
            EXPECT_EQ(signal.envelope->low, windowEnvelope.low);
        }
    }
}

TEST(AnalysisSignal, CancellingWhileDecodingAheadStopsAtTheNextChunk) {
    TempDir dir;
    // Four chunks ahead of 1 MB each: 40 s of stereo cannot be all read ahead.
    std::vector<float> stereo;
    for (const float v : testing::clickTrain({.bpm = 120, .seconds = 40, .rateHz = 44100}))
        stereo.insert(stereo.end(), {v, v});
    const auto path = dir.file("long.wav");
    ASSERT_TRUE(writeSound(path, stereo, 2, 44100, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    for (const int pollsBeforeCancel : {0, 1, 3}) {
        int polls = 0;
        try {
            loadAnalysisSignal(path, {.decodeAhead = true},
                               [&] { return polls++ >= pollsBeforeCancel; });
            ADD_FAILURE() << "not cancelled after " << pollsBeforeCancel;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.kind(), FailureKind::cancelled);
        }
    }
}

// The streamed file analysis against the whole-file steps it replaces, on
// a file longer than the 300 s window whose loudest part is not its start.
TEST(AnalysisSignal, FileAnalysisEqualsTheWholeFileSteps) {
    TempDir dir;
    constexpr int kRateHz = 8000;
    std::vector<float> x = testing::clickTrain({.bpm = 125, .seconds = 306, .rateHz = kRateHz});
    for (size_t i = 0; i < x.size(); ++i)
        x[i] *= i < size_t(200 * kRateHz) ? 0.4f : 1.0f;
    const auto path = dir.file("long.wav");
    ASSERT_TRUE(writeSound(path, x, 1, kRateHz, SF_FORMAT_WAV | SF_FORMAT_FLOAT));

    const Analysis streamed = analyzeFile(path.string(), {}, {2, true});
    const DecodedAudio audio = loadMono(path.string(), {});
    std::vector<float> resampled = resample(audio.samples, kRateHz, kAnalysisRateHz, {});
    const size_t start = loudestWindowStart(resampled, 300 * kSecond);
    EXPECT_GT(start, 0u);
    EXPECT_EQ(streamed.key,
              key::estimateKey(std::span(resampled).subspan(start, 300 * kSecond), {}));
    EXPECT_EQ(streamed.estimate,
              analyze(std::move(resampled), kAnalysisRateHz, audio.durationSeconds(), {}, {2}));
    EXPECT_EQ(*streamed.waveform, peakEnvelope(audio.samples, kWaveformColumns));
}

// With a core to spare the file is decoded ahead, the envelope measured as
// it arrives and the key estimated beside the tempo: the same analysis.
TEST(AnalysisSignal, OneOrTwoThreadsGiveTheSameAnalysis) {
    TempDir dir;
    // Under the 300 s window (the envelope is measured on the way), and
    // over it with the loudest part first (the same) or later (measured
    // after the crop).
    const std::tuple<const char*, double, size_t> cases[] = {
        {"short.wav", 20, 3}, {"long-start.wav", 302, 0}, {"long.wav", 302, 301}};
    for (const auto& [name, seconds, loudSecond] : cases) {
        const std::string path = clickFile(dir, name, seconds, loudSecond, 8000);
        for (const OctaveMode& octave : {OctaveMode::classic(), OctaveMode::automatic()}) {
            const Analysis one = analyzeFile(path, {}, {1, true}, octave);
            const Analysis two = analyzeFile(path, {}, {2, true}, octave);
            EXPECT_EQ(two.estimate, one.estimate) << name;
            EXPECT_EQ(two.key, one.key) << name;
            EXPECT_EQ(*two.waveform, *one.waveform) << name;
            ASSERT_TRUE(one.key) << name;
        }
    }
}

} // namespace
} // namespace quorlen::detection
