// Tags written by the writer and read back by another program (ffprobe),
// with the decoded audio compared sample for sample.
#include "detection/audio_loader.h"
#include "support/folder_names.h"
#include "tags/tag_writer.h"
#include "test_encoder.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <map>
#include <sys/stat.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/flacpicture.h>
#include <taglib/id3v2framefactory.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>

namespace quorlen::tags {
namespace {

using quorlen::testing::namesIn;

namespace fs = std::filesystem;
namespace t = detection::testing;
using t::TempDir;

// Every tag ffprobe finds in the container and its streams, names in lower
// case (Vorbis comment names have no fixed case).
std::map<std::string, std::string> probeTags(const fs::path& path) {
    const std::string command = "ffprobe -v quiet -show_entries format_tags:stream_tags "
                                "-of default=noprint_wrappers=1 '" +
                                path.string() + "'";
    std::map<std::string, std::string> tags;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe)
        return tags;
    char line[4096];
    while (std::fgets(line, sizeof line, pipe)) {
        std::string text(line);
        if (!text.empty() && text.back() == '\n')
            text.pop_back();
        const auto colon = text.find(':'), equals = text.find('=');
        if (text.rfind("TAG:", 0) != 0 || equals == std::string::npos)
            continue;
        std::string name = text.substr(colon + 1, equals - colon - 1);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        tags[name] = text.substr(equals + 1);
    }
    ::pclose(pipe);
    return tags;
}

std::vector<float> decoded(const fs::path& path) {
    return detection::loadMono(path.string(), [] { return false; }).samples;
}

// The box at the end of `path` (each name inside the one before) in an MP4
// file's bytes: FFmpeg does not read `tmpo`, so the test walks the boxes.
std::string mp4Box(const std::string& bytes, std::vector<std::string> path) {
    size_t at = 0, end = bytes.size();
    const auto u32 = [&](size_t i) {
        return size_t(static_cast<unsigned char>(bytes[i])) << 24 |
               size_t(static_cast<unsigned char>(bytes[i + 1])) << 16 |
               size_t(static_cast<unsigned char>(bytes[i + 2])) << 8 |
               size_t(static_cast<unsigned char>(bytes[i + 3]));
    };
    for (size_t level = 0; level < path.size();) {
        if (at + 8 > end)
            return "";
        const size_t size = u32(at);
        if (size < 8 || at + size > end)
            return "";
        if (bytes.compare(at + 4, 4, path[level]) != 0) {
            at += size;
            continue;
        }
        end = at + size;
        // "meta" has 4 bytes of version and flags before its children.
        at += path[level] == "meta" ? 12 : 8;
        if (++level == path.size())
            return bytes.substr(at, end - at);
    }
    return "";
}

// tmpo holds a 16-bit big-endian integer after 8 bytes of type and locale.
std::string mp4Tempo(const fs::path& song) {
    const std::string data =
        mp4Box(t::readBytes(song), {"moov", "udta", "meta", "ilst", "tmpo", "data"});
    if (data.size() != 10)
        return "(none)";
    return std::to_string(static_cast<unsigned char>(data[8]) << 8 |
                          static_cast<unsigned char>(data[9]));
}

struct Format {
    const char* name;
    const char* file;
    const char* encoder;
    const char* bpmTag; // as ffprobe names it, lower case; null: the MP4 tmpo box
    const char* keyTag;
    const char* bpmFor127934;
    // FFmpeg reads a WAV file's ID3 tag only when it has no INFO list.
    bool titled = true;
};

// 127.934 BPM: a whole number where the tag holds one, two decimals in
// Vorbis comments.
const Format kFormats[] = {
    {"MP3", "song.mp3", "libmp3lame", "tbpm", "tkey", "128"},
    {"WAV", "song.wav", "pcm_s16le", "tbpm", "tkey", "128", false},
    {"AIFF", "song.aiff", "pcm_s16be", "tbpm", "tkey", "128"},
    {"FLAC", "song.flac", "flac", "bpm", "initialkey", "127.93"},
    {"Ogg Vorbis", "song.ogg", "libvorbis", "bpm", "initialkey", "127.93"},
    {"Opus", "song.opus", "libopus", "bpm", "initialkey", "127.93"},
    {"AAC in M4A", "song.m4a", "aac", nullptr, "initialkey", "128"},
    {"ALAC in M4A", "song.m4a", "alac", nullptr, "initialkey", "128"},
};

fs::path makeSong(const TempDir& dir, const Format& format, bool titled = true) {
    const fs::path path = dir.file(format.file);
    const auto clicks = t::clickTrain({.bpm = 128, .seconds = 3, .rateHz = 48000});
    // FFmpeg names itself in an INFO list of every WAV file it writes.
    if (!titled && format.encoder == std::string("pcm_s16le"))
        EXPECT_TRUE(t::writeSound(path, clicks, 1, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    else
        EXPECT_TRUE(
            t::encodeSound(path, clicks, 1, 48000,
                           {.encoder = format.encoder, .title = titled ? "Night Drive" : nullptr}))
            << format.name;
    return path;
}

TEST(TagWriter, EveryFormatReadsBackWithItsOtherTagsAndAudioUnchanged) {
    for (const Format& format : kFormats) {
        SCOPED_TRACE(format.name);
        const TempDir dir;
        const fs::path song = makeSong(dir, format, format.titled);
        fs::permissions(song, fs::perms(0640));
        const auto tagsBefore = probeTags(song);
        ASSERT_EQ(tagsBefore.count("title"), format.titled ? 1u : 0u);
        const std::vector<float> audioBefore = decoded(song);

        const TagOutcome outcome =
            writeTempoTags(song.string(), {127.934, "F#m", false, stampOf(song.string())});
        EXPECT_EQ(outcome.result, TagResult::written) << outcome.reason;
        EXPECT_FALSE(outcome.taggedBpm);
        EXPECT_EQ(outcome.writtenBpm, format.bpmFor127934);
        EXPECT_EQ(outcome.writtenStamp, stampOf(song.string()));

        auto tagsAfter = probeTags(song);
        if (format.bpmTag) {
            EXPECT_EQ(tagsAfter[format.bpmTag], format.bpmFor127934);
            tagsAfter.erase(format.bpmTag);
        } else {
            EXPECT_EQ(mp4Tempo(song), format.bpmFor127934);
        }
        EXPECT_EQ(tagsAfter[format.keyTag], "F#m");
        tagsAfter.erase(format.keyTag);
        EXPECT_EQ(tagsAfter, tagsBefore);
        EXPECT_TRUE(decoded(song) == audioBefore);
        EXPECT_EQ(fs::status(song).permissions(), fs::perms(0640));
        EXPECT_EQ(namesIn(dir.path()), std::vector<std::string>{format.file});

        const TempoTags read = readTempoTags(song.string());
        EXPECT_EQ(read.bpm, format.bpmFor127934);
        EXPECT_EQ(read.key, "F#m");
    }
}

TEST(TagWriter, AFileWithABpmTagIsKeptUnlessReplacing) {
    // One format of each tag family.
    for (const Format& format : {kFormats[0], kFormats[3], kFormats[6]}) {
        SCOPED_TRACE(format.name);
        const TempDir dir;
        const fs::path song = makeSong(dir, format);
        ASSERT_EQ(writeTempoTags(song.string(), {100, "Am"}).result, TagResult::written);
        const std::string tagged = t::readBytes(song);

        const TagOutcome kept = writeTempoTags(song.string(), {127.934, "F#m"});
        EXPECT_EQ(kept.result, TagResult::kept);
        EXPECT_EQ(kept.taggedBpm, "100");
        EXPECT_TRUE(t::readBytes(song) == tagged) << "a kept file is not rewritten";

        const TagOutcome replaced = writeTempoTags(song.string(), {127.934, std::nullopt, true});
        EXPECT_EQ(replaced.result, TagResult::written) << replaced.reason;
        EXPECT_EQ(replaced.taggedBpm, "100");
        const auto read = readTempoTags(song.string());
        EXPECT_EQ(read.bpm, format.bpmFor127934);
        EXPECT_EQ(read.key, "Am") << "without a key, the key tag stays";
    }
}

TEST(TagWriter, RefusesAndLeavesTheFileAsItWas) {
    const TempDir dir;
    const Format& mp3 = kFormats[0];
    const fs::path song = makeSong(dir, mp3);
    t::writeBytes(dir.file("notes.mp3"), "not audio\n");
    const auto clicks = t::clickTrain({.bpm = 120, .seconds = 2, .rateHz = 44100});
    ASSERT_TRUE(t::writeSound(dir.file("disguised.mp3"), clicks, 1, 44100,
                              SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    ASSERT_TRUE(
        t::writeSound(dir.file("loop.caf"), clicks, 1, 44100, SF_FORMAT_CAF | SF_FORMAT_PCM_16));
    const FileStamp analysed = *stampOf(song.string());
    FileStamp grown = analysed;
    grown.sizeBytes -= 1;
    FileStamp touched = analysed;
    touched.modifiedNs -= 1'000'000;
    struct Case {
        std::string name;
        TagRequest request;
        const char* reason;
    };
    const Case cases[] = {
        {"notes.mp3", {120}, "not a valid MP3 file"},
        {"disguised.mp3", {120}, "not a valid MP3 file"}, // a WAV file by its bytes
        {"loop.caf", {120}, kUnsupportedReason},
        {"missing.flac", {120}, "cannot find the file: No such file or directory"},
        {mp3.file, {120, "H"}, "'H' is not a key"},
        {mp3.file, {120, std::nullopt, false, grown}, "the file changed while it was analysed"},
        {mp3.file, {120, std::nullopt, false, touched}, "the file changed while it was analysed"},
    };
    const auto namesBefore = namesIn(dir.path());
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const bool exists = fs::exists(dir.file(c.name));
        const std::string before = exists ? t::readBytes(dir.file(c.name)) : "";
        const TagOutcome outcome = writeTempoTags(dir.file(c.name).string(), c.request);
        EXPECT_EQ(outcome.result, TagResult::failed);
        EXPECT_EQ(outcome.reason, c.reason);
        if (exists) {
            EXPECT_TRUE(t::readBytes(dir.file(c.name)) == before);
        }
        EXPECT_EQ(namesIn(dir.path()), namesBefore);
    }
}

TEST(TagWriter, ALinkStaysALinkToTheTaggedFile) {
    const TempDir dir;
    const fs::path song = makeSong(dir, kFormats[3]);
    fs::create_symlink(song, dir.file("link.flac"));
    EXPECT_EQ(writeTempoTags(dir.file("link.flac").string(), {90}).result, TagResult::written);
    EXPECT_TRUE(fs::is_symlink(dir.file("link.flac")));
    EXPECT_EQ(readTempoTags(song.string()).bpm, "90");
}

TEST(TagWriter, PicturesAndTheId3VersionStay) {
    const TempDir dir;
    const fs::path mp3 = makeSong(dir, kFormats[0]);
    const fs::path flac = makeSong(dir, kFormats[3]);
    const TagLib::ByteVector cover("\x89PNG pretend picture bytes", 26);
    {
        TagLib::MPEG::File file(mp3.c_str());
        auto* picture = new TagLib::ID3v2::AttachedPictureFrame;
        picture->setMimeType("image/png");
        picture->setPicture(cover);
        file.ID3v2Tag(true)->addFrame(picture);
        ASSERT_TRUE(
            file.save(TagLib::MPEG::File::ID3v2, TagLib::File::StripNone, TagLib::ID3v2::v3));
        TagLib::FLAC::File flacFile(flac.c_str());
        auto* flacPicture = new TagLib::FLAC::Picture;
        flacPicture->setMimeType("image/png");
        flacPicture->setData(cover);
        flacFile.addPicture(flacPicture);
        ASSERT_TRUE(flacFile.save());
    }
    ASSERT_EQ(t::readBytes(mp3).substr(0, 4), std::string("ID3\x03", 4));
    for (const fs::path& song : {mp3, flac})
        EXPECT_EQ(writeTempoTags(song.string(), {127.934, "Db"}).result, TagResult::written);

    // ID3v2.3 stays 2.3: TBPM and TKEY mean the same there, and a 2.4 tag
    // would lose the frames 2.4 dropped.
    EXPECT_EQ(t::readBytes(mp3).substr(0, 4), std::string("ID3\x03", 4));
    TagLib::MPEG::File file(mp3.c_str());
    const auto pictures = file.ID3v2Tag()->frameListMap()["APIC"];
    ASSERT_EQ(pictures.size(), 1u);
    EXPECT_EQ(static_cast<TagLib::ID3v2::AttachedPictureFrame*>(pictures.front())->picture(),
              cover);
    TagLib::FLAC::File flacFile(flac.c_str());
    ASSERT_EQ(flacFile.pictureList().size(), 1u);
    EXPECT_EQ(flacFile.pictureList().front()->data(), cover);
    EXPECT_EQ(readTempoTags(mp3.string()).key, "Db");
}

TEST(TagWriter, AWavFilesInfoListStaysBesideTheNewTag) {
    const TempDir dir;
    const fs::path wav = makeSong(dir, kFormats[1]);
    ASSERT_EQ(probeTags(wav)["title"], "Night Drive");
    EXPECT_EQ(writeTempoTags(wav.string(), {98}).result, TagResult::written);
    EXPECT_EQ(probeTags(wav)["title"], "Night Drive");
    EXPECT_EQ(readTempoTags(wav.string()).bpm, "98");
}

} // namespace
} // namespace quorlen::tags
