#include "detection/resample.h"
#include "key/chroma.h"
#include "key/key_detector.h"
#include "key/key_names.h"
#include "key/key_text.h"
#include "key/tonal_frames.h"
#include "key_signals.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <random>
#include <tuple>

namespace quorlen::key {

using harmony::KeySelection;
using harmony::parseKeyName;

namespace {

// The 24 keys as the circle lists them, with their tonics and the codes of
// the Camelot wheel (8B = C major at the top, one step per fifth, "A" for
// the inner minor ring).
struct Named {
    KeySelection key;
    int tonic;
    const char* ascii;
    const char* camelot;
};
constexpr Named kAllKeys[] = {
    {{0, false}, 0, "C", "8B"},   {{1, false}, 7, "G", "9B"},    {{2, false}, 2, "D", "10B"},
    {{3, false}, 9, "A", "11B"},  {{4, false}, 4, "E", "12B"},   {{5, false}, 11, "B", "1B"},
    {{6, false}, 6, "F#", "2B"},  {{7, false}, 1, "Db", "3B"},   {{8, false}, 8, "Ab", "4B"},
    {{9, false}, 3, "Eb", "5B"},  {{10, false}, 10, "Bb", "6B"}, {{11, false}, 5, "F", "7B"},
    {{0, true}, 9, "Am", "8A"},   {{1, true}, 4, "Em", "9A"},    {{2, true}, 11, "Bm", "10A"},
    {{3, true}, 6, "F#m", "11A"}, {{4, true}, 1, "C#m", "12A"},  {{5, true}, 8, "G#m", "1A"},
    {{6, true}, 3, "D#m", "2A"},  {{7, true}, 10, "Bbm", "3A"},  {{8, true}, 5, "Fm", "4A"},
    {{9, true}, 0, "Cm", "5A"},   {{10, true}, 7, "Gm", "6A"},   {{11, true}, 2, "Dm", "7A"},
};

TEST(KeyNames, EveryKeyHasItsNameTonicAndCamelotCodeBothWays) {
    for (const Named& n : kAllKeys) {
        SCOPED_TRACE(n.ascii);
        EXPECT_EQ(asciiKeyName(n.key), n.ascii);
        EXPECT_EQ(camelotCode(n.key), n.camelot);
        EXPECT_EQ(n.key.tonicPitchClass(), n.tonic);
        EXPECT_EQ(keyWithTonic(n.tonic, n.key.isMinor), n.key);
        EXPECT_EQ(keyWithTonic(n.tonic - 24, n.key.isMinor), n.key) << "wrapped";
        // What detect prints, the key command reads back.
        EXPECT_EQ(parseKeyName(n.ascii), n.key);
        EXPECT_EQ(parseCamelotCode(n.camelot), n.key);
    }
}

TEST(KeyNames, CamelotCodesAcceptEitherCaseAndNothingElse) {
    EXPECT_EQ(parseCamelotCode("11a"), (KeySelection{3, true}));
    EXPECT_EQ(parseCamelotCode("12b"), (KeySelection{4, false}));
    for (const char* bad : {"", "A", "8", "0A", "13B", "08B", "8C", "-1A", "1 A", "8BB", "+8B"})
        EXPECT_EQ(parseCamelotCode(bad), std::nullopt) << bad;
}

TEST(KeyText, TuningFiguresAgreeAndRoundHalvesAway) {
    // a4 = 440 × 2^(c / 1200) of the shown cents, to two decimals.
    const std::tuple<double, const char*, const char*> cases[] = {
        {-14.0, "-14.0", "436.46"}, {25.0, "+25.0", "446.40"}, {0.0, "0.0", "440.00"},
        {-0.04, "0.0", "440.00"},   {0.05, "+0.1", "440.03"},  {-31.77, "-31.8", "431.99"},
        {50.0, "+50.0", "452.89"},  {-50.0, "-50.0", "427.47"}};
    for (const auto& [cents, shown, a4] : cases) {
        EXPECT_EQ(centsText(cents), shown) << cents;
        EXPECT_EQ(a4Text(cents), a4) << cents;
    }
    EXPECT_DOUBLE_EQ(shownA4(-14.0), 436.46);
}

TEST(KeyText, SummaryNamesKeyCodeConfidenceAndTuning) {
    EXPECT_EQ(summaryText({}), "key none · no tonal content");
    KeyEstimate estimate;
    estimate.key = KeySelection{3, true};
    estimate.confidence = 0.815;
    estimate.tuningCents = -13.96;
    EXPECT_EQ(summaryText(estimate), "key F#m (11A) · 82% · tuning -14.0 cents (A4 436.46 Hz)");
    estimate.key = KeySelection{9, false};
    estimate.confidence = 1.0;
    estimate.tuningCents = 25.0;
    EXPECT_EQ(summaryText(estimate), "key Eb (5B) · 100% · tuning +25.0 cents (A4 446.40 Hz)");
}

namespace t = detection::testing;
using testing::aMinorCadence;
using testing::chordSequence;
using testing::cMajorCadence;

std::vector<float> gaussianNoise(size_t n, float sigma, unsigned seed) {
    std::mt19937 random(seed);
    std::normal_distribution<float> gauss(0.0f, sigma);
    std::vector<float> x(n);
    for (float& v : x)
        v = gauss(random);
    return x;
}

TEST(KeyDetector, CadencesNameTheirKeyNotItsRelativeWhereverTheyAreTransposedAndTuned) {
    // Transposition, mode, tuning, key. A minor has the notes of C major
    // but for G#, and its tonic is A.
    const std::tuple<int, bool, double, const char*> cases[] = {
        {0, false, 0.0, "C"},    {0, true, 0.0, "Am"},  {0, false, 25.0, "C"},
        {6, false, -40.0, "F#"}, {3, true, 25.0, "Cm"}, {-2, true, -12.5, "Gm"},
        {1, false, 0.0, "Db"},   {4, true, 40.0, "C#m"}};
    for (const auto& [semitones, minor, cents, key] : cases) {
        SCOPED_TRACE(key);
        testing::Chords chords = minor ? aMinorCadence() : cMajorCadence();
        for (auto& chord : chords.notes)
            for (int& note : chord)
                note += semitones;
        chords.cents = cents;
        const KeyEstimate estimate = estimateKey(chordSequence(chords), {});
        ASSERT_TRUE(estimate.key);
        EXPECT_EQ(asciiKeyName(*estimate.key), key);
        EXPECT_GT(estimate.confidence, 0.5);
        ASSERT_TRUE(estimate.tuningCents);
        EXPECT_NEAR(*estimate.tuningCents, cents, 3.0);
    }
}

TEST(KeyDetector, TheEstimateShowsItsEvidenceAndCancellationThrows) {
    const std::vector<float> cadence = chordSequence(cMajorCadence());
    const KeyEstimate estimate = estimateKey(cadence, {});
    ASSERT_TRUE(estimate.key);
    EXPECT_DOUBLE_EQ(*std::max_element(estimate.chroma.begin(), estimate.chroma.end()), 1.0);
    EXPECT_DOUBLE_EQ(*std::max_element(estimate.profile.begin(), estimate.profile.end()), 1.0);
    // The tonic and its fifth (raised by every note's third harmonic) lead,
    // chromatic notes trail.
    for (const size_t chromatic : {1, 3, 6, 8, 10})
        for (const size_t triad : {0, 7})
            EXPECT_GT(estimate.profile[triad], estimate.profile[chromatic] + 0.2)
                << triad << " over " << chromatic;
    EXPECT_LT(estimate.chroma[1], 0.2) << "no C# sounds";
    ASSERT_EQ(estimate.alternatives.size(), kKeyAlternatives);
    for (const KeySelection& other : estimate.alternatives)
        EXPECT_NE(other, *estimate.key);
    try {
        estimateKey(cadence, [] { return true; });
        ADD_FAILURE() << "no exception";
    } catch (const detection::Failure& failure) {
        EXPECT_EQ(failure.kind(), detection::FailureKind::cancelled);
    }
}

TEST(KeyDetector, DrumsNoiseAndSilenceHaveNoKeyButDrumsOverChordsLeaveIt) {
    const auto at22050 = [](const std::vector<float>& samples) {
        return detection::resample(samples, 44100.0, kKeyRateHz, {});
    };
    const std::vector<std::pair<const char*, std::vector<float>>> signals = {
        {"drums", at22050(t::drumGroove({.bpm = 110,
                                         .seconds = 10,
                                         .steps = {"kh", "h", "h", "h", "sh", "h", "kh", "h", "kh",
                                                   "h", "h", "h", "sh", "h", "h", "h"}}))},
        {"clicks", at22050(t::clickTrain({.bpm = 128, .seconds = 8, .kickHz = 55}))},
        {"noise", gaussianNoise(22050 * 8, 0.3f, 3)},
        {"silence", std::vector<float>(22050 * 4, 0.0f)},
        {"nothing", {}},
    };
    for (const auto& [what, samples] : signals)
        EXPECT_EQ(estimateKey(samples, {}), KeyEstimate{})
            << what << ": no key, tuning or evidence";

    testing::Chords chords = aMinorCadence();
    chords.rateHz = 44100.0;
    std::vector<float> mix = chordSequence(chords);
    const std::vector<float> drums = t::drumGroove(
        {.bpm = 120, .seconds = double(mix.size()) / 44100.0, .steps = {"k", "h", "sh", "h"}});
    for (size_t i = 0; i < std::min(mix.size(), drums.size()); ++i)
        mix[i] = 0.5f * mix[i] + 0.5f * drums[i];
    const KeyEstimate estimate = estimateKey(at22050(mix), {});
    ASSERT_TRUE(estimate.key);
    EXPECT_EQ(asciiKeyName(*estimate.key), "Am");
}

// Frames holding one peak each, at `cents` off the A = 440 Hz grid, equally loud.
std::vector<TonalFrame> framesAt(std::initializer_list<std::pair<double, int>> centsAndCounts) {
    std::vector<TonalFrame> frames;
    for (const auto& [cents, count] : centsAndCounts)
        for (int i = 0; i < count; ++i) {
            TonalFrame f;
            f.tonalness = 1.0;
            const int semitone = i % 12; // spread over pitch classes and octaves
            f.peaks.push_back(
                {static_cast<float>(220.0 * std::exp2((semitone + cents / 100.0) / 12.0)), 1.0f});
            frames.push_back(f);
        }
    return frames;
}

TEST(Tuning, IsTheModeOfTheGridOffsetsAndWrapsAtHalfASemitone) {
    const std::pair<std::vector<TonalFrame>, double> cases[] = {
        {framesAt({{0.0, 24}}), 0.0},
        {framesAt({{-32.5, 24}}), -32.5},
        // A quarter-tone region, both sides of the wrap.
        {framesAt({{49.0, 12}, {-49.0, 12}}), 50.0},
        // Fifth harmonics 14 cents flat do not drag the mode.
        {framesAt({{10.0, 36}, {10.0 - 13.7, 12}}), 10.0},
    };
    for (const auto& [frames, expected] : cases) {
        const auto cents = estimateTuning(frames);
        ASSERT_TRUE(cents) << expected;
        // Shortest distance on the 100-cent circle, within the range (-50, 50].
        EXPECT_NEAR(std::remainder(*cents - expected, 100.0), 0.0, 0.6)
            << expected << ": " << *cents;
        EXPECT_GT(*cents, -50.0);
        EXPECT_LE(*cents, 50.0);
    }
    EXPECT_EQ(estimateTuning({}), std::nullopt);
    // A and E a quarter of a semitone sharp: on the 440 grid they sit near
    // the border, on the tuned grid in the middle of their classes (peak
    // frequencies are floats: 1e-5 of a semitone).
    const auto sharp = framesAt({{25.0, 1}});
    const Chroma tuned = foldChroma(sharp, 25.0);
    EXPECT_NEAR(tuned.all[9], 1.0, 1e-5) << "220 Hz + 25 cents is A on its own grid";
    EXPECT_NEAR(tuned.bass[9], 1.0, 1e-5) << "below 250 Hz it is bass too";
    const Chroma untuned = foldChroma(sharp, 0.0);
    EXPECT_NEAR(untuned.all[9], 0.5, 1e-5) << "cos²(π/4)";
    EXPECT_EQ(untuned.all[8], 0.0) << "only the nearest semitone";
}

TEST(TonalFrames, ASineIsOnePreciseTonalPeakAndNoiseHasNone) {
    const std::vector<float> tone = t::sine(441.3, 2.0, kKeyRateHz);
    const std::vector<TonalFrame> frames = tonalFrames(tone, {});
    ASSERT_GE(frames.size(), 5u);
    const TonalFrame& middle = frames[frames.size() / 2];
    ASSERT_EQ(middle.peaks.size(), 1u);
    EXPECT_NEAR(middle.peaks[0].hz, 441.3, 0.05) << "a twentieth of a bin: a fifth of a cent";
    EXPECT_GT(middle.tonalness, 0.95);
    for (const TonalFrame& f : tonalFrames(gaussianNoise(44100, 0.2f, 7), {}))
        EXPECT_LT(f.tonalness, 0.1);
    EXPECT_EQ(tonalFrames(std::vector<float>(1000, 0.0f), {}).size(), 1u) << "padded";
    EXPECT_TRUE(tonalFrames(tone, [] { return true; }).empty()) << "cancelled";
}

TEST(TonalFrames, LongSignalsSpreadABoundedNumberOfFramesTheSameOnAnyNumberOfThreads) {
    // (samples - 8192) / 8192 + 1 frames, at most 800; the last ends within
    // the signal and reaches its end.
    const std::pair<size_t, size_t> counts[] = {{0, 1},
                                                {8192, 1},
                                                {8193, 1},
                                                {16384, 2},
                                                {22050 * 60, 161},
                                                {8192 + 799 * 8192, 800},
                                                {22050 * 600, 800}};
    for (const auto& [samples, frames] : counts) {
        EXPECT_EQ(keyFrameCount(samples), frames) << samples;
        const size_t lastEnd = keyFrameStart(frames - 1, samples) + kKeyFrameLength;
        EXPECT_LE(lastEnd, std::max(samples, kKeyFrameLength)) << samples;
        EXPECT_TRUE(frames == 1 || lastEnd + kKeyHopSamples > samples) << samples;
    }
    EXPECT_EQ(keyFrameStart(1, 22050 * 60), kKeyHopSamples);

    // Long enough for the frames to be spread out (more than 800 hops).
    std::vector<float> x = t::sine(330.0, 320.0, kKeyRateHz);
    const std::vector<float> noise = gaussianNoise(x.size() / 7 + 1, 0.05f, 3);
    for (size_t i = 0; i < x.size(); i += 7)
        x[i] += noise[i / 7];
    for (const size_t length : {size_t{1000}, size_t{100000}, x.size()}) {
        const std::span<const float> signal = std::span(x).first(length);
        const std::vector<TonalFrame> one = tonalFrames(signal, {});
        for (const int threads : {2, 3, 16}) {
            const std::vector<TonalFrame> more = tonalFrames(signal, {}, threads);
            ASSERT_EQ(more.size(), one.size()) << length << " on " << threads;
            for (size_t i = 0; i < one.size(); ++i) {
                ASSERT_EQ(more[i].energy, one[i].energy) << i;
                ASSERT_EQ(more[i].tonalness, one[i].tonalness) << i;
                ASSERT_EQ(more[i].peaks.size(), one[i].peaks.size()) << i;
                for (size_t p = 0; p < one[i].peaks.size(); ++p)
                    ASSERT_EQ(more[i].peaks[p].hz, one[i].peaks[p].hz) << i;
            }
        }
    }
    std::atomic<int> polls = 0;
    EXPECT_TRUE(tonalFrames(
                    x, [&] { return ++polls > 3; }, 2)
                    .empty())
        << "cancelled";
}

} // namespace
} // namespace quorlen::key
