#include "detection/audio_loader.h"
#include "detection/tempo_detector.h"
#include "test_encoder.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <fcntl.h>
#include <limits>
#include <random>
#include <thread>
#include <unistd.h>

namespace quorlen::detection {
namespace {

using testing::TempDir;
using testing::writeSound;
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
    const struct {
        const char* name;
        int format;
        double tolerance; // one quantisation step, or the codec's error
    } cases[] = {
        {"u8.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 1.0 / 128},
        {"s16.wav", kWav16, 1.0 / 32768},
        {"s24.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 1e-6},
        {"s32.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_32, 1e-7},
        {"f32.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 0.0},
        {"f64.wav", SF_FORMAT_WAV | SF_FORMAT_DOUBLE, 0.0},
        {"s16.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 1.0 / 32768},
        {"f32.caf", SF_FORMAT_CAF | SF_FORMAT_FLOAT, 0.0},
        {"s16.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 1.0 / 32768},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_TRUE(writeSound(dir.file(c.name), x, 1, 44100, c.format));
        const DecodedAudio audio = loadMono(dir.file(c.name), {});
        EXPECT_EQ(audio.sampleRate, 44100.0);
        ASSERT_EQ(audio.samples.size(), x.size());
        for (size_t i = 0; i < x.size(); i += 7)
            ASSERT_NEAR(audio.samples[i], x[i], c.tolerance) << "sample " << i;
        const std::string bytes = testing::readBytes(dir.file(c.name));
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

} // namespace
} // namespace quorlen::detection
