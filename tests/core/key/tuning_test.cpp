#include "key/chroma.h"
#include "key/tonal_frames.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <random>

namespace quorlen::key {
namespace {

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
    struct Case {
        const char* what;
        std::vector<TonalFrame> frames;
        double expected;
    };
    const Case cases[] = {
        {"in tune", framesAt({{0.0, 24}}), 0.0},
        {"a quarter-tone region, both sides of the wrap", framesAt({{49.0, 12}, {-49.0, 12}}),
         50.0},
        {"fifth harmonics 14 cents flat do not drag the mode",
         framesAt({{10.0, 36}, {10.0 - 13.7, 12}}), 10.0},
        {"detuned down", framesAt({{-32.5, 24}}), -32.5},
    };
    for (const Case& c : cases) {
        const auto cents = estimateTuning(c.frames);
        ASSERT_TRUE(cents) << c.what;
        // Shortest distance on the 100-cent circle.
        const double error = std::remainder(*cents - c.expected, 100.0);
        EXPECT_NEAR(error, 0.0, 0.6) << c.what << ": " << *cents;
        EXPECT_GT(*cents, -50.0) << "the range is (-50, 50]";
        EXPECT_LE(*cents, 50.0);
    }
    EXPECT_EQ(estimateTuning({}), std::nullopt);
}

TEST(TonalFrames, ASineIsOnePreciseTonalPeakAndNoiseHasNone) {
    const std::vector<float> tone = detection::testing::sine(441.3, 2.0, kKeyRateHz);
    const std::vector<TonalFrame> frames = tonalFrames(tone, {});
    ASSERT_GE(frames.size(), 5u);
    const TonalFrame& middle = frames[frames.size() / 2];
    ASSERT_EQ(middle.peaks.size(), 1u);
    EXPECT_NEAR(middle.peaks[0].hz, 441.3, 0.05) << "a twentieth of a bin: a fifth of a cent";
    EXPECT_GT(middle.tonalness, 0.95);

    std::mt19937 random(7);
    std::normal_distribution<float> gauss(0.0f, 0.2f);
    std::vector<float> noise(44100);
    for (float& v : noise)
        v = gauss(random);
    for (const TonalFrame& f : tonalFrames(noise, {}))
        EXPECT_LT(f.tonalness, 0.1);

    EXPECT_EQ(tonalFrames(std::vector<float>(1000, 0.0f), {}).size(), 1u) << "padded";
    EXPECT_TRUE(tonalFrames(tone, [] { return true; }).empty()) << "cancelled";
}

TEST(TonalFrames, AreTheSameOnAnyNumberOfThreads) {
    // Long enough for the frames to be spread out (more than 800 hops).
    std::vector<float> x = detection::testing::sine(330.0, 320.0, kKeyRateHz);
    std::mt19937 random(3);
    std::uniform_real_distribution<float> noise(-0.1f, 0.1f);
    for (size_t i = 0; i < x.size(); i += 7)
        x[i] += noise(random);
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

TEST(Chroma, PeaksFoldOntoTheTunedGrid) {
    // A and E a quarter of a semitone sharp: on the 440 grid they sit near
    // the border, on the tuned grid in the middle of their classes.
    const auto frames = framesAt({{25.0, 1}});
    const Chroma tuned = foldChroma(frames, 25.0);
    // Peak frequencies are floats: 1e-5 of a semitone.
    EXPECT_NEAR(tuned.all[9], 1.0, 1e-5) << "220 Hz + 25 cents is A on its own grid";
    EXPECT_NEAR(tuned.bass[9], 1.0, 1e-5) << "below 250 Hz it is bass too";
    const Chroma untuned = foldChroma(frames, 0.0);
    EXPECT_NEAR(untuned.all[9], 0.5, 1e-5) << "cos²(π/4)";
    EXPECT_EQ(untuned.all[8], 0.0) << "only the nearest semitone";
}

} // namespace
} // namespace quorlen::key

namespace quorlen::key {
namespace {

TEST(TonalFrames, LongSignalsSpreadABoundedNumberOfFrames) {
    struct Case {
        size_t samples;
        size_t frames;
    };
    // (samples - 8192) / 8192 + 1 frames, at most 800.
    const Case cases[] = {{0, 1},
                          {8192, 1},
                          {8193, 1},
                          {16384, 2},
                          {22050 * 60, 161},
                          {8192 + 799 * 8192, 800},
                          {22050 * 600, 800}};
    for (const Case& c : cases) {
        EXPECT_EQ(keyFrameCount(c.samples), c.frames) << c.samples;
        const size_t last = c.frames - 1;
        EXPECT_LE(keyFrameStart(last, c.samples) + kKeyFrameLength,
                  std::max(c.samples, kKeyFrameLength))
            << "the last frame ends within the signal: " << c.samples;
        if (c.frames > 1) {
            EXPECT_GT(keyFrameStart(last, c.samples) + kKeyFrameLength + kKeyHopSamples, c.samples)
                << "and reaches its end: " << c.samples;
        }
    }
    EXPECT_EQ(keyFrameStart(1, 22050 * 60), kKeyHopSamples);
}

} // namespace
} // namespace quorlen::key
