#include "detection/audio_loader.h"
#include "detection/tempo_detector.h"
#include "test_encoder.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <limits>
#include <map>
#include <random>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace quorlen::detection {
namespace {

using testing::TempDir;
using testing::writeSound;

std::string failureMessage(const std::string& path) {
    try {
        analyzeFile(path, {});
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "(analysed)";
}

std::string validWavBytes(const TempDir& dir) {
    const auto path = dir.file("valid.wav");
    const std::vector<float> x = testing::sine(440, 0.5, 22050);
    EXPECT_TRUE(writeSound(path, x, 1, 22050, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    return testing::readBytes(path);
}

TEST(AudioLoader, BadFilesGiveOneClearMessage) {
    TempDir dir;
    const std::string wav = validWavBytes(dir);
    testing::writeBytes(dir.file("notes.wav"), "These are not the samples you are looking for.\n");
    testing::writeBytes(dir.file("empty.wav"), "");
    testing::writeBytes(dir.file("header-only.wav"), wav.substr(0, 36));
    std::filesystem::create_directory(dir.file("folder.wav"));
    ASSERT_TRUE(
        writeSound(dir.file("no-frames.wav"), {}, 1, 44100, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    ASSERT_TRUE(writeSound(dir.file("one-frame.wav"), std::vector<float>{0.5f}, 1, 44100,
                           SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    // 500 Hz would be upsampled 44-fold; such rates only come from damaged headers.
    ASSERT_TRUE(writeSound(dir.file("500hz.wav"), std::vector<float>(1000, 0.1f), 1, 500,
                           SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    struct Case {
        const char* name;
        const char* message;
    };
    // The reader's own messages, and the detector's.
    const std::vector<Case> cases = {
        {"missing.wav", "File not found"},
        {"notes.wav", "Not an audio file"},
        {"empty.wav", "Not an audio file"},
        {"header-only.wav", "Not an audio file"},
        {"folder.wav", "Not a regular file"},
        {"no-frames.wav", "File is too short to detect a tempo"},
        {"one-frame.wav", "File is too short to detect a tempo"},
        {"500hz.wav", "Unsupported sample rate"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(failureMessage(dir.file(c.name)), c.message) << c.name;
}

TEST(AudioLoader, MemoryAndFileGiveTheSameSignal) {
    TempDir dir;
    const std::string wav = validWavBytes(dir);
    const DecodedAudio fromFile = loadMono(dir.file("valid.wav"), {});
    const DecodedAudio fromMemory = loadMonoFromMemory(std::as_bytes(std::span(wav)), {});
    EXPECT_EQ(fromMemory.samples, fromFile.samples);
    EXPECT_EQ(fromMemory.sampleRate, 22050.0);
    const std::string cut = wav.substr(0, 36);
    EXPECT_THROW(loadMonoFromMemory(std::as_bytes(std::span(cut)), {}), Failure);
}

TEST(AudioLoader, ReadsEverySampleFormatToTheSameSignal) {
    TempDir dir;
    const std::vector<float> x = testing::sine(440, 0.25, 44100, 0.8f);
    struct Case {
        const char* name;
        int format;
        double tolerance; // one quantisation step, or the codec's error
    };
    const std::vector<Case> cases = {
        {"u8.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 1.0 / 128},
        {"s16.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1.0 / 32768},
        {"s24.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 1e-6},
        {"s32.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_32, 1e-7},
        {"f32.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 0.0},
        {"f64.wav", SF_FORMAT_WAV | SF_FORMAT_DOUBLE, 0.0},
        {"s16.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 1.0 / 32768},
        {"f32.caf", SF_FORMAT_CAF | SF_FORMAT_FLOAT, 0.0},
        {"s16.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 1.0 / 32768},
    };
    for (const Case& c : cases) {
        ASSERT_TRUE(writeSound(dir.file(c.name), x, 1, 44100, c.format)) << c.name;
        const DecodedAudio audio = loadMono(dir.file(c.name), {});
        EXPECT_EQ(audio.sampleRate, 44100.0) << c.name;
        ASSERT_EQ(audio.samples.size(), x.size()) << c.name;
        for (size_t i = 0; i < x.size(); i += 7)
            ASSERT_NEAR(audio.samples[i], x[i], c.tolerance) << c.name << " sample " << i;
    }
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

TEST(AudioLoader, OppositeChannelsMixToSilenceAndAreNotRhythm) {
    TempDir dir;
    const std::vector<float> clicks =
        testing::clickTrain({.bpm = 120, .seconds = 4, .rateHz = 44100});
    std::vector<float> frames;
    for (const float v : clicks) {
        frames.push_back(v);
        frames.push_back(-v);
    }
    ASSERT_TRUE(
        writeSound(dir.file("opposite.wav"), frames, 2, 44100, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
    EXPECT_EQ(failureMessage(dir.file("opposite.wav")), "No rhythmic content found in this file");
}

TEST(AudioLoader, AnalysesClicksFrom8To192KHz) {
    TempDir dir;
    for (const int rate : {8000, 11025, 22050, 44100, 96000, 192000}) {
        const auto path = dir.file("clicks" + std::to_string(rate) + ".wav");
        const std::vector<float> x =
            testing::clickTrain({.bpm = 120, .seconds = 8, .rateHz = double(rate)});
        ASSERT_TRUE(writeSound(path, x, 1, rate, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
        const Analysis analysis = analyzeFile(path, {}, {2});
        EXPECT_EQ(analysis.estimate.bpm, 120.0) << rate;
        EXPECT_EQ(analysis.estimate.snappedBars, 4) << rate;
        EXPECT_DOUBLE_EQ(analysis.estimate.durationSeconds, 8.0) << rate;
        EXPECT_EQ(analysis.waveform.size(), 1600u) << rate;
    }
}

TEST(AudioLoader, TruncatedDataKeepsWhatWasReadAndCancellationStopsReading) {
    TempDir dir;
    const std::vector<float> x = testing::clickTrain({.bpm = 120, .seconds = 8, .rateHz = 44100});
    ASSERT_TRUE(writeSound(dir.file("full.wav"), x, 1, 44100, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
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

// A 120 BPM loop of accented clicks with a kick, 4 bars.
std::vector<float> stereoLoop(double rateHz) {
    const std::vector<float> mono = testing::clickTrain(
        {.bpm = 120, .seconds = 8, .rateHz = rateHz, .accentEvery = 4, .kickHz = 60});
    std::vector<float> stereo;
    for (const float v : mono)
        stereo.insert(stereo.end(), {v, 0.8f * v});
    return stereo;
}

TEST(AudioLoader, CompressedLoopsGiveTheirTempo) {
    TempDir dir;
    struct Case {
        const char* name;
        testing::Encoding encoding;
        int rateHz;
    };
    const std::vector<Case> cases = {
        {"loop.mp3", {.encoder = "libmp3lame", .bitRate = 192000}, 44100},
        {"loop.m4a", {.encoder = "aac", .bitRate = 192000}, 44100},
        {"alac.m4a", {.encoder = "alac"}, 44100},
        {"loop.opus", {.encoder = "libopus", .bitRate = 96000}, 48000},
        {"loop.ogg", {.encoder = "libvorbis"}, 44100},
        {"loop.wma", {.encoder = "wmav2", .bitRate = 128000}, 44100},
        {"video.mp4", {.encoder = "aac", .bitRate = 128000, .withVideo = true}, 44100},
    };
    for (const Case& c : cases) {
        const auto path = dir.file(c.name);
        ASSERT_TRUE(testing::encodeSound(path, stereoLoop(c.rateHz), 2, c.rateHz, c.encoding))
            << c.name;
        const Analysis analysis = analyzeFile(path, {}, {2});
        // Where the container records no end padding (AAC and WMA as FFmpeg
        // writes them) the loop is up to one codec frame long, and snapping
        // to that length moves the tempo by up to 0.2 %.
        EXPECT_NEAR(analysis.estimate.bpm, 120.0, 0.25) << c.name;
        EXPECT_FALSE(analysis.damaged) << c.name;
    }
    // Lossless and gapless: exactly 8 s, so the loop snaps to its 4 bars.
    const Analysis alac = analyzeFile(dir.file("alac.m4a"), {}, {2});
    EXPECT_EQ(alac.estimate.bpm, 120.0);
    EXPECT_EQ(alac.estimate.snappedBars, 4);
    EXPECT_DOUBLE_EQ(alac.estimate.durationSeconds, 8.0);
}

// A 20 s MP3 with a few kilobytes of noise written over it at about 2.4 s.
std::string damagedMp3(const TempDir& dir) {
    const auto path = dir.file("clean.mp3");
    const std::vector<float> x = testing::clickTrain({.bpm = 120, .seconds = 20, .rateHz = 44100});
    EXPECT_TRUE(
        testing::encodeSound(path, x, 1, 44100, {.encoder = "libmp3lame", .bitRate = 128000}));
    std::string bytes = testing::readBytes(path);
    std::mt19937 random(5);
    const size_t at = bytes.size() * 24 / 200;
    for (size_t i = at; i < at + 3000 && i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(random());
    testing::writeBytes(dir.file("damaged.mp3"), bytes);
    return dir.file("damaged.mp3");
}

TEST(AudioLoader, DamagedMp3IsReadPastTheDamageAndSaysSo) {
    TempDir dir;
    const std::string damaged = damagedMp3(dir);
    const DecodedAudio clean = loadMono(dir.file("clean.mp3"), {});
    EXPECT_FALSE(clean.damaged);
    EXPECT_NEAR(clean.durationSeconds(), 20.0, 1e-9);
    const Analysis analysis = analyzeFile(damaged, {}, {2});
    EXPECT_TRUE(analysis.damaged);
    EXPECT_GT(analysis.estimate.durationSeconds, 19.5);
    EXPECT_EQ(analysis.estimate.bpm, 120.0);
}

// Failing files analysed side by side must each keep their own message.
TEST(AudioLoader, MessagesStayTheSameUnderManyThreads) {
    TempDir dir;
    testing::writeBytes(dir.file("notes.wav"), "not audio\n");
    testing::writeBytes(dir.file("noise.mp3"), std::string(5000, '\x5a'));
    std::filesystem::create_directory(dir.file("folder.m4a"));
    ASSERT_TRUE(testing::writeSound(dir.file("short.wav"), testing::sine(440, 0.5, 44100), 1, 44100,
                                    SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    const std::vector<std::string> files = {dir.file("missing.wav"), dir.file("notes.wav"),
                                            dir.file("noise.mp3"), dir.file("folder.m4a"),
                                            dir.file("short.wav")};
    std::map<std::string, std::string> alone;
    for (const std::string& file : files)
        alone[file] = failureMessage(file);
    EXPECT_EQ(alone[files[0]], "File not found");
    EXPECT_EQ(alone[files[4]], "File is too short to detect a tempo");
    for (int round = 0; round < 20; ++round) {
        std::vector<std::string> seen(8 * files.size());
        std::vector<std::jthread> threads;
        for (size_t t = 0; t < 8; ++t)
            threads.emplace_back([&, t] {
                for (size_t f = 0; f < files.size(); ++f)
                    seen[t * files.size() + f] = failureMessage(files[(f + t) % files.size()]);
            });
        threads.clear();
        for (size_t t = 0; t < 8; ++t)
            for (size_t f = 0; f < files.size(); ++f)
                ASSERT_EQ(seen[t * files.size() + f], alone[files[(f + t) % files.size()]])
                    << files[(f + t) % files.size()] << " in round " << round;
    }
}

// Everything the decoders would say goes to our quiet handler.
TEST(AudioLoader, LibrariesPrintNothingOnStderr) {
    TempDir dir;
    const std::string damaged = damagedMp3(dir);
    testing::writeBytes(dir.file("noise.mp3"), std::string(3000, '\xff'));
    std::fflush(stderr);
    const int saved = dup(STDERR_FILENO);
    const int capture = open(dir.file("stderr.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(capture, STDERR_FILENO);
    (void)failureMessage(damaged);
    (void)failureMessage(dir.file("noise.mp3"));
    std::fflush(stderr);
    dup2(saved, STDERR_FILENO);
    close(capture);
    close(saved);
    EXPECT_EQ(testing::readBytes(dir.file("stderr.txt")), "");
}

// A WAV header for 16-bit PCM claiming `dataBytes` of data.
std::string wavHeader(int channels, int rateHz, uint32_t dataBytes) {
    std::string h = "RIFF....WAVEfmt ";
    auto put = [&h](uint32_t v, int bytes) {
        for (int i = 0; i < bytes; ++i)
            h += static_cast<char>((v >> (8 * i)) & 0xff);
    };
    put(16, 4);
    put(1, 2);
    put(uint32_t(channels), 2);
    put(uint32_t(rateHz), 4);
    put(uint32_t(rateHz * channels * 2), 4);
    put(uint32_t(channels * 2), 2);
    put(16, 2);
    h += "data";
    put(dataBytes, 4);
    std::memcpy(h.data() + 4, "\xff\xff\xff\xff", 4);
    return h;
}

// Runs `body` in a child process whose address space may grow by at most
// `megabytes`; returns the child's exit status (-1 when it did not exit).
template <typename Body> int withMemoryLimit(size_t megabytes, Body body) {
    const pid_t child = fork();
    if (child == 0) {
        long pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlim_t limit =
            rlim_t(pages) * rlim_t(sysconf(_SC_PAGESIZE)) + megabytes * 1024 * 1024;
        const rlimit bound{limit, limit};
        setrlimit(RLIMIT_AS, &bound);
        _exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(AudioLoader, AHeaderClaimingAThousandChannelsNeedsNoMoreMemory) {
    TempDir dir;
    testing::writeBytes(dir.file("wide.wav"),
                        wavHeader(1024, 44100, 8192) + std::string(8192, '\x10'));
    const std::string path = dir.file("wide.wav");
    const int status = withMemoryLimit(200, [&] {
        const std::string message = failureMessage(path);
        // Refused or read, but never for want of memory.
        return message.find("memory") == std::string::npos &&
                       message.find("allocate") == std::string::npos
                   ? 0
                   : 1;
    });
    EXPECT_EQ(status, 0);
}

TEST(AudioLoader, StopsReadingAtThreeHours) {
    TempDir dir;
    // 1000 Hz mono: 3 hours are 21.6 MB of 16-bit data; the file is a
    // sparse 24 MB of silence whose header claims more still.
    const std::string path = dir.file("endless.wav");
    testing::writeBytes(path, wavHeader(1, 1000, 0xffffffffu));
    std::filesystem::resize_file(path, 24u * 1024 * 1024);
    EXPECT_EQ(failureMessage(path), "File is longer than 3 hours");
}

} // namespace
} // namespace quorlen::detection
