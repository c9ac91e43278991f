#include "detection/resample.h"
#include "key/key_detector.h"
#include "key/key_names.h"
#include "key_signals.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace quorlen::key {
namespace {

using testing::aMinorCadence;
using testing::chordSequence;
using testing::cMajorCadence;

KeyEstimate keyOf(const testing::Chords& chords) { return estimateKey(chordSequence(chords), {}); }

TEST(KeyDetector, CadencesNameTheirKeyNotItsRelative) {
    const KeyEstimate major = keyOf(cMajorCadence());
    ASSERT_TRUE(major.key);
    EXPECT_EQ(asciiKeyName(*major.key), "C");
    EXPECT_GT(major.confidence, 0.5);
    const KeyEstimate minor = keyOf(aMinorCadence());
    ASSERT_TRUE(minor.key);
    EXPECT_EQ(asciiKeyName(*minor.key), "Am") << "same notes as C but for G#, tonic A";
    EXPECT_GT(minor.confidence, 0.5);
}

TEST(KeyDetector, TransposedAndDetunedPiecesKeepTheirKeyAndReportTheTuning) {
    struct Case {
        int semitones; // transposition of the cadence
        bool minor;
        double cents;
        const char* key;
    };
    const Case cases[] = {
        {0, false, 25.0, "C"},   {6, false, -40.0, "F#"}, {3, true, 25.0, "Cm"},
        {-2, true, -12.5, "Gm"}, {1, false, 0.0, "Db"},   {4, true, 40.0, "C#m"},
    };
    for (const Case& c : cases) {
        testing::Chords chords = c.minor ? aMinorCadence() : cMajorCadence();
        for (auto& chord : chords.notes)
            for (int& note : chord)
                note += c.semitones;
        chords.cents = c.cents;
        const KeyEstimate estimate = keyOf(chords);
        ASSERT_TRUE(estimate.key) << c.key;
        EXPECT_EQ(asciiKeyName(*estimate.key), c.key);
        ASSERT_TRUE(estimate.tuningCents) << c.key;
        EXPECT_NEAR(*estimate.tuningCents, c.cents, 3.0) << c.key;
    }
}

TEST(KeyDetector, TheEstimateShowsItsEvidence) {
    const KeyEstimate estimate = keyOf(cMajorCadence());
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
}

TEST(KeyDetector, DrumsNoiseAndSilenceHaveNoKey) {
    namespace t = detection::testing;
    const auto at22050 = [](const std::vector<float>& samples) {
        return detection::resample(samples, 44100.0, kKeyRateHz, {});
    };
    std::mt19937 random(3);
    std::normal_distribution<float> gauss(0.0f, 0.3f);
    std::vector<float> noise(22050 * 8);
    for (float& v : noise)
        v = gauss(random);
    const std::vector<std::pair<const char*, std::vector<float>>> signals = {
        {"drums", at22050(t::drumGroove({.bpm = 110,
                                         .seconds = 10,
                                         .steps = {"kh", "h", "h", "h", "sh", "h", "kh", "h", "kh",
                                                   "h", "h", "h", "sh", "h", "h", "h"}}))},
        {"clicks", at22050(t::clickTrain({.bpm = 128, .seconds = 8, .kickHz = 55}))},
        {"noise", noise},
        {"silence", std::vector<float>(22050 * 4, 0.0f)},
        {"nothing", {}},
    };
    for (const auto& [what, samples] : signals) {
        const KeyEstimate estimate = estimateKey(samples, {});
        EXPECT_EQ(estimate.key, std::nullopt) << what;
        EXPECT_EQ(estimate, KeyEstimate{}) << what << ": no tuning, confidence or evidence";
    }
}

TEST(KeyDetector, DrumsOverChordsLeaveTheKey) {
    namespace t = detection::testing;
    testing::Chords chords = aMinorCadence();
    chords.rateHz = 44100.0;
    std::vector<float> mix = chordSequence(chords);
    const std::vector<float> drums = t::drumGroove(
        {.bpm = 120, .seconds = double(mix.size()) / 44100.0, .steps = {"k", "h", "sh", "h"}});
    for (size_t i = 0; i < std::min(mix.size(), drums.size()); ++i)
        mix[i] = 0.5f * mix[i] + 0.5f * drums[i];
    const KeyEstimate estimate = estimateKey(detection::resample(mix, 44100.0, kKeyRateHz, {}), {});
    ASSERT_TRUE(estimate.key);
    EXPECT_EQ(asciiKeyName(*estimate.key), "Am");
}

TEST(KeyDetector, ACancelledAnalysisThrows) {
    const std::vector<float> samples = chordSequence(cMajorCadence());
    try {
        estimateKey(samples, [] { return true; });
        FAIL() << "no exception";
    } catch (const detection::Failure& failure) {
        EXPECT_EQ(failure.kind(), detection::FailureKind::cancelled);
    }
}

} // namespace
} // namespace quorlen::key
