// The streamed analysis against the whole-file versions it replaces: every
// piece must give the same samples, start and peaks whatever the chunking.
#include "detection/audio_loader.h"
#include "detection/downbeat.h"
#include "detection/loudest_window.h"
#include "detection/resample.h"
#include "detection/tempo_detector.h"
#include "detection/waveform_peaks.h"
#include "key/key_detector.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <random>

namespace quorlen::detection {
namespace {

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

std::vector<float> streamResample(std::span<const float> x, double fromHz, size_t chunk) {
    StreamingResampler resampler(fromHz, kAnalysisRateHz);
    std::vector<float> out;
    for (size_t at = 0; at < x.size(); at += chunk)
        EXPECT_TRUE(resampler.push(x.subspan(at, std::min(chunk, x.size() - at)), out, {}));
    EXPECT_TRUE(resampler.finish(out, {}));
    return out;
}

TEST(StreamingResampler, MatchesTheWholeSignalVersionAtEveryRateAndChunking) {
    // Rates that decimate with a box (44.1 kHz and up), interpolate (24 and
    // 32 kHz), upsample (8 kHz) and pass through (22050.9 Hz).
    for (const double rate :
         {8000.0, 22050.9, 24000.0, 32000.0, 44100.0, 48000.0, 96000.0, 192000.0, 384000.0}) {
        const std::vector<float> x =
            shapedNoise(size_t(0.7 * rate) + 3, rate, [](size_t) { return 0.5f; });
        const std::vector<float> whole = resample(x, rate, kAnalysisRateHz, {});
        for (const size_t chunk : {size_t{1}, size_t{7}, size_t{4096}, x.size()})
            EXPECT_EQ(streamResample(x, rate, chunk), whole) << rate << " Hz in " << chunk;
    }
}

TEST(StreamingResampler, InputShorterThanOneOutputGivesNothingAndCancellationStops) {
    EXPECT_TRUE(streamResample(std::vector<float>{0.5f}, 44100.0, 1).empty());
    StreamingResampler resampler(44100.0, kAnalysisRateHz);
    std::vector<float> out;
    const std::vector<float> x(10000, 0.25f);
    EXPECT_FALSE(resampler.push(x, out, [] { return true; })); // output 0 polls
}

struct WindowCase {
    const char* name;
    size_t samples;
    float (*gain)(size_t second);
};

TEST(LoudestWindow, CropsAsLoudestWindowStartDoesWhateverTheChunking) {
    constexpr size_t kWindowSeconds = 4;
    const WindowCase cases[] = {
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
    for (const WindowCase& c : cases) {
        const std::vector<float> x = shapedNoise(c.samples, double(kSecond), c.gain);
        const size_t window = kWindowSeconds * kSecond;
        const size_t start = x.size() <= window ? 0 : loudestWindowStart(x, window);
        const std::vector<float> expected(x.begin() + long(start),
                                          x.begin() + long(std::min(start + window, x.size())));
        for (const size_t chunk : {size_t{1000}, size_t{22050}, size_t{50000}}) {
            LoudestWindow keeper(kWindowSeconds, chunk == 1000 ? 0 : x.size());
            for (size_t at = 0; at < x.size(); at += chunk)
                keeper.push(std::span(x).subspan(at, std::min(chunk, x.size() - at)));
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
            for (size_t at = 0; at < n; at += chunk) {
                known.push(std::span(x).subspan(at, std::min(chunk, n - at)));
                unknown.push(std::span(x).subspan(at, std::min(chunk, n - at)));
            }
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

// The streamed file analysis against the whole-file steps it replaces, on
// a file longer than the 300 s window whose loudest part is not its start.
TEST(AnalysisSignal, FileAnalysisEqualsTheWholeFileSteps) {
    testing::TempDir dir;
    constexpr int kRateHz = 8000;
    std::vector<float> x = testing::clickTrain({.bpm = 125, .seconds = 306, .rateHz = kRateHz});
    for (size_t i = 0; i < x.size(); ++i)
        x[i] *= i < size_t(200 * kRateHz) ? 0.4f : 1.0f;
    const auto path = dir.file("long.wav");
    ASSERT_TRUE(testing::writeSound(path, x, 1, kRateHz, SF_FORMAT_WAV | SF_FORMAT_FLOAT));

    const Analysis streamed = analyzeFile(path.string(), {}, {2, true});
    const DecodedAudio audio = loadMono(path.string(), {});
    std::vector<float> resampled = resample(audio.samples, kRateHz, kAnalysisRateHz, {});
    const size_t start = loudestWindowStart(resampled, 300 * kSecond);
    EXPECT_GT(start, 0u);
    const key::KeyEstimate key =
        key::estimateKey(std::span(resampled).subspan(start, 300 * kSecond), {});
    const Estimate estimate =
        analyze(std::move(resampled), kAnalysisRateHz, audio.durationSeconds(), {}, {2});
    EXPECT_EQ(streamed.estimate, estimate);
    EXPECT_EQ(streamed.key, key);
    EXPECT_EQ(*streamed.waveform, peakEnvelope(audio.samples, kWaveformColumns));
}

} // namespace
} // namespace quorlen::detection
