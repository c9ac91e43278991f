#include "decoding/audio_extensions.h"
#include "decoding/audio_file_reader.h"
#include "decoding/read_error.h"
#include "test_encoder.h"
#include "test_signals.h"
#include "text/failure_texts.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <chrono>
#include <cmath>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

namespace quorlen::decoding {
namespace {

using detection::testing::Encoding;
using detection::testing::TempDir;
namespace t = detection::testing;

std::vector<float> readAll(AudioFileReader& reader) {
    std::vector<float> all;
    std::vector<float> chunk(4096 * static_cast<size_t>(reader.channels()));
    for (long long n; (n = reader.read(chunk.data(), 4096)) > 0;)
        all.insert(all.end(), chunk.begin(), chunk.begin() + n * reader.channels());
    return all;
}

std::string openFailure(const std::filesystem::path& path) {
    try {
        AudioFileReader reader(path.string());
    } catch (const ReadError& error) {
        return error.what();
    }
    return "(opened)";
}

TEST(AudioFileReader, RefusesWhatItCannotReadWithOneShortMessage) {
    TempDir dir;
    t::writeBytes(dir.file("notes.wav"), "These are not the samples you are looking for.\n");
    t::writeBytes(dir.file("empty.mp3"), "");
    std::filesystem::create_directory(dir.file("folder.wav"));
    ASSERT_EQ(mkfifo(dir.file("pipe.wav").c_str(), 0600), 0);
    const std::vector<float> tone = t::sine(440, 1.0, 8000);
    ASSERT_TRUE(t::writeSound(dir.file("500hz.wav"), std::vector<float>(1000, 0.1f), 1, 500,
                              SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    ASSERT_TRUE(t::encodeSound(dir.file("silent-film.mp4"), tone, 1, 8000,
                               {.encoder = "aac", .videoOnly = true}));
    // Rates a 32-bit header field can state beyond any audio: libsndfile
    // takes 2^31 Hz and up, and 0, for no WAV at all.
    for (const std::uint32_t rateHz : {0u, 2147483647u, 2147483648u, 4294967295u}) {
        std::string wav = t::pcm16WavHeader(1, 44100, 2000) + std::string(2000, '\0');
        for (int i = 0; i < 4; ++i)
            wav[24 + size_t(i)] = static_cast<char>(rateHz >> (8 * i));
        t::writeBytes(dir.file("rate.wav"), wav);
        EXPECT_EQ(openFailure(dir.file("rate.wav")), text::failure::kUnsupportedRate) << rateHz;
    }
    // A pipe without a writer: opening must not wait for one.
    const std::pair<const char*, const char*> cases[] = {
        {"500hz.wav", text::failure::kUnsupportedRate}, {"missing.wav", text::failure::kNotFound},
        {"notes.wav", text::failure::kNotAudio},        {"empty.mp3", text::failure::kNotAudio},
        {"folder.wav", text::failure::kNotRegular},     {"pipe.wav", text::failure::kNotRegular},
        {"silent-film.mp4", text::failure::kNoAudio}};
    for (const auto& [name, message] : cases)
        EXPECT_EQ(openFailure(dir.file(name)), message) << name;
    t::writeBytes(dir.file("locked.wav"), "RIFF");
    ASSERT_EQ(chmod(dir.file("locked.wav").c_str(), 0), 0);
    if (geteuid() != 0) { // root reads it anyway
        EXPECT_EQ(openFailure(dir.file("locked.wav")), text::failure::kPermissionDenied);
    }
}

// Every compressed format decodes to the loop's length at its own rate; the
// encoders' priming and padding must not show as extra or missing audio.
TEST(AudioFileReader, DecodesCompressedFormatsToTheirLength) {
    TempDir dir;
    const std::vector<float> loop = t::clickTrain({.bpm = 120, .seconds = 4, .rateHz = 44100});
    std::vector<float> stereo;
    for (const float v : loop)
        stereo.insert(stereo.end(), {v, 0.5f * v});
    // FFmpeg's AAC-in-MP4 and WMA keep the last frame's padding.
    const std::tuple<const char*, Encoding, int, long long> cases[] = {
        {"lame.mp3", {.encoder = "libmp3lame", .bitRate = 192000}, 44100, 0},
        {"aac.m4a", {.encoder = "aac", .bitRate = 128000}, 44100, 1024},
        {"alac.m4a", {.encoder = "alac"}, 44100, 0},
        {"vorbis.ogg", {.encoder = "libvorbis"}, 44100, 0},
        {"opus.opus", {.encoder = "libopus", .bitRate = 96000}, 48000, 0},
        {"wma.wma", {.encoder = "wmav2", .bitRate = 128000}, 44100, 4096},
        {"film.mp4", {.encoder = "aac", .bitRate = 128000, .withVideo = true}, 44100, 1024},
    };
    for (const auto& [name, encoding, rateHz, toleranceFrames] : cases) {
        SCOPED_TRACE(name);
        const std::vector<float> source =
            rateHz == 44100 ? stereo : std::vector<float>(2 * 4 * size_t(rateHz), 0.1f);
        ASSERT_TRUE(t::encodeSound(dir.file(name), source, 2, rateHz, encoding));
        AudioFileReader reader(dir.file(name).string());
        EXPECT_EQ(reader.rateHz(), rateHz);
        EXPECT_EQ(reader.channels(), 2);
        EXPECT_NEAR(static_cast<long long>(readAll(reader).size() / 2), 4 * rateHz,
                    toleranceFrames);
        EXPECT_FALSE(reader.damaged());
    }
}

// A run of zeroed bytes in the middle, as a bad sector or a broken copy
// leaves: some demuxers skip to the end without refusing one packet, and
// only the length the container states tells that data went missing.
TEST(AudioFileReader, ZeroedBytesMidwayAreDamageInEveryCompressedFormat) {
    TempDir dir;
    const std::vector<float> loop = t::clickTrain({.bpm = 120, .seconds = 40, .rateHz = 44100});
    const std::pair<const char*, Encoding> cases[] = {
        {"vorbis.ogg", {.encoder = "libvorbis"}}, {"opus.opus", {.encoder = "libopus"}},
        {"aac.m4a", {.encoder = "aac"}},          {"alac.m4a", {.encoder = "alac"}},
        {"lame.mp3", {.encoder = "libmp3lame"}},  {"flac.flac", {.encoder = "flac"}}};
    for (const auto& [name, encoding] : cases) {
        SCOPED_TRACE(name);
        const int rateHz = std::string_view(name).ends_with(".opus") ? 48000 : 44100;
        const std::vector<float> source =
            rateHz == 44100 ? loop
                            : t::clickTrain({.bpm = 120, .seconds = 40, .rateHz = double(rateHz)});
        ASSERT_TRUE(t::encodeSound(dir.file(name), source, 1, rateHz, encoding));
        std::string bytes = t::readBytes(dir.file(name));
        {
            AudioFileReader clean(dir.file(name).string());
            readAll(clean);
            ASSERT_FALSE(clean.damaged());
        }
        const size_t run = std::min<size_t>(10240, bytes.size() / 8);
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), run, '\0');
        t::writeBytes(dir.file(name), bytes);
        AudioFileReader reader(dir.file(name).string());
        readAll(reader);
        EXPECT_TRUE(reader.damaged());
    }
}

// The preview starts anywhere: what a seek reaches is what reading from the
// start gives at that frame. Bytes in memory read as the file does.
TEST(AudioFileReader, SeekingLandsOnTheFrameReadingFromTheStartReaches) {
    TempDir dir;
    const std::vector<float> x = t::clickTrain({.bpm = 100, .seconds = 6, .rateHz = 44100});
    ASSERT_TRUE(t::writeSound(dir.file("pcm.wav"), x, 1, 44100, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    ASSERT_TRUE(
        t::writeSound(dir.file("pcm.flac"), x, 1, 44100, SF_FORMAT_FLAC | SF_FORMAT_PCM_16));
    ASSERT_TRUE(t::encodeSound(dir.file("lame.mp3"), x, 1, 44100, {.encoder = "libmp3lame"}));
    ASSERT_TRUE(t::encodeSound(dir.file("aac.m4a"), x, 1, 44100, {.encoder = "aac"}));
    for (const char* name : {"pcm.wav", "pcm.flac", "lame.mp3", "aac.m4a"}) {
        SCOPED_TRACE(name);
        AudioFileReader whole(dir.file(name).string());
        const std::vector<float> all = readAll(whole);
        const std::string bytes = t::readBytes(dir.file(name));
        AudioFileReader fromMemory(std::as_bytes(std::span(bytes)));
        EXPECT_EQ(readAll(fromMemory), all);
        for (const long long frame : {0LL, 1LL, 100000LL, 200001LL}) {
            AudioFileReader reader(dir.file(name).string());
            reader.seek(frame);
            std::vector<float> got(2000);
            ASSERT_EQ(reader.read(got.data(), 2000), 2000) << frame;
            for (size_t i = 0; i < got.size(); i += 50)
                ASSERT_NEAR(got[i], all[size_t(frame) + i], 1e-6) << frame;
        }
        AudioFileReader pastTheEnd(dir.file(name).string());
        pastTheEnd.seek(static_cast<long long>(all.size()) + 10);
        float one = 0;
        EXPECT_EQ(pastTheEnd.read(&one, 1), 0);
    }
}

TEST(AudioExtensions, KnowsTheReadersFormatsWhateverTheCase) {
    for (const char* name : {"a.wav", "B.M4A", "set.Opus", "clip.mp4", "x.y.flac", "mix.WMA"})
        EXPECT_TRUE(hasAudioExtension(name)) << name;
    for (const char* name : {"readme.txt", "wav", ".wav", "notes.wav.txt", "cover.jpg", "x."})
        EXPECT_FALSE(hasAudioExtension(name)) << name;
}

} // namespace
} // namespace quorlen::decoding
