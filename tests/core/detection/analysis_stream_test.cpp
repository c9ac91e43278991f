// The streamed analysis against the whole-file versions it replaces: every
// piece must give the same samples, start and peaks whatever the chunking.
#include "detection/audio_loader.h"
#include "detection/downbeat.h"
#include "detection/loudest_window.h"
#include "detection/onset_envelope.h"
#include "detection/resample.h"
#include "detection/tempo_detector.h"
#include "detection/waveform_peaks.h"
#include "key/key_detector.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <random>
#include <tuple>

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
std::string clickFile(const testing::TempDir& dir, const std::string& name, double seconds,
                      size_t loudSecond, int rateHz = 44100) {
    std::vector<float> x =
        testing::clickTrain({.bpm = 132, .seconds = seconds, .rateHz = double(rateHz)});
    for (size_t i = 0; i < x.size(); ++i)
        x[i] *= i / size_t(rateHz) == loudSecond ? 1.0f : 0.3f;
    const auto path = dir.file(name);
    EXPECT_TRUE(testing::writeSound(path, x, 1, rateHz, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    return path.string();
}

TEST(AnalysisSignal, DecodingAheadGivesTheSameSignalAndTheEnvelopeOfAWindowAtTheStart) {
    testing::TempDir dir;
    // A 6 s window: the file fits it, or its loudest 6 s start at its start
    // or later. Only a read ahead measures the envelope of a file announced
    // longer than the window, since the crop may then not start at 0.
    const struct {
        const char* name;
        double seconds;
        size_t loudSecond;
        bool decodeAhead;
        bool envelope; // expected
    } cases[] = {
        {"fits", 5.5, 2, false, true},       {"fits", 5.5, 2, true, true},
        {"loud start", 11.0, 0, true, true}, {"loud start", 11.0, 0, false, false},
        {"loud end", 11.0, 9, true, false},  {"loud end", 11.0, 9, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.name) + (c.decodeAhead ? " ahead" : ""));
        const std::string path =
            clickFile(dir, std::string(c.name) + ".wav", c.seconds, c.loudSecond);
        const AnalysisRequest plain{.windowSeconds = 6, .waveformColumns = 64};
        AnalysisRequest request = plain;
        request.decodeAhead = c.decodeAhead;
        request.onsetEnvelope = true;
        const AnalysisSignal expected = loadAnalysisSignal(path, plain, {});
        const AnalysisSignal signal = loadAnalysisSignal(path, request, {});
        EXPECT_TRUE(signal.window == expected.window);
        EXPECT_EQ(signal.cropStartSamples, expected.cropStartSamples);
        EXPECT_EQ(signal.analysisSamples, expected.analysisSamples);
        EXPECT_EQ(signal.waveform, expected.waveform);
        EXPECT_EQ(signal.durationSeconds, expected.durationSeconds);
        EXPECT_FALSE(expected.envelope);
        ASSERT_EQ(signal.envelope.has_value(), c.envelope);
        if (signal.envelope) {
            const Envelope windowEnvelope = onsetEnvelope(signal.window, {});
            EXPECT_EQ(signal.envelope->full, windowEnvelope.full);
            EXPECT_EQ(signal.envelope->low, windowEnvelope.low);
        }
    }
}

TEST(AnalysisSignal, CancellingWhileDecodingAheadStopsAtTheNextChunk) {
    testing::TempDir dir;
    // Four chunks ahead of 1 MB each: 40 s of stereo cannot be all read ahead.
    std::vector<float> stereo;
    for (const float v : testing::clickTrain({.bpm = 120, .seconds = 40, .rateHz = 44100}))
        stereo.insert(stereo.end(), {v, v});
    const auto path = dir.file("long.wav");
    ASSERT_TRUE(testing::writeSound(path, stereo, 2, 44100, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
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
    EXPECT_EQ(streamed.key,
              key::estimateKey(std::span(resampled).subspan(start, 300 * kSecond), {}));
    EXPECT_EQ(streamed.estimate,
              analyze(std::move(resampled), kAnalysisRateHz, audio.durationSeconds(), {}, {2}));
    EXPECT_EQ(*streamed.waveform, peakEnvelope(audio.samples, kWaveformColumns));
}

// With a core to spare the file is decoded ahead, the envelope measured as
// it arrives and the key estimated beside the tempo: the same analysis.
TEST(AnalysisSignal, OneOrTwoThreadsGiveTheSameAnalysis) {
    testing::TempDir dir;
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
