// Tags written by the writer and read back by another program (ffprobe),
// with the decoded audio compared sample for sample, and the file handling
// under the writer.
#include "detection/audio_loader.h"
#include "support/folder_names.h"
#include "tags/descriptor_stream.h"
#include "tags/replacement_file.h"
#include "tags/tag_values.h"
#include "tags/tag_writer.h"
#include "tags/write_error.h"
#include "test_encoder.h"
#include "test_signals.h"
#include "text/failure_texts.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <string_view>
#include <sys/stat.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/flacpicture.h>
#include <taglib/id3v2framefactory.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <tuple>
#include <unistd.h>

namespace quorlen::tags {
namespace {

using quorlen::testing::namesIn;
namespace fs = std::filesystem;
namespace t = detection::testing;
using t::readBytes;
using t::TempDir;
using t::writeBytes;

// 2.5 MiB of bytes that differ from their neighbours, so a shift by any
// amount shows: the stream moves data in 1 MiB chunks.
std::string patterned(size_t size) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 7 + i / 251) % 251);
    return bytes;
}

TEST(DescriptorStream, InsertAndRemoveMatchAStringEdit) {
    const size_t size = (size_t{5} << 20) / 2;
    const size_t chunkAndAHalf = (size_t{3} << 20) / 2;
    // Start, bytes replaced, bytes inserted: a tag grows and shrinks at the
    // front, keeps its size in place, grows and shrinks by more than a chunk,
    // grows in the middle, is appended at the end, and the end is cut off.
    const std::tuple<unsigned long, unsigned long, size_t> cases[] = {
        {0, 10, 4096},           {0, 4096, 10},    {1000, 64, 64}, {0, 0, chunkAndAHalf},
        {100, chunkAndAHalf, 1}, {size / 2, 3, 5}, {size, 0, 300}, {size - 500, 500, 0}};
    const TempDir dir;
    for (const auto& [start, replace, inserted] : cases) {
        SCOPED_TRACE(std::to_string(start) + " " + std::to_string(replace) + " " +
                     std::to_string(inserted));
        std::string expected = patterned(size);
        writeBytes(dir.file("f"), expected);
        const std::string data(inserted, '#');
        expected.replace(start, replace, data);
        const int fd = ::open(dir.file("f").c_str(), O_RDWR);
        ASSERT_GE(fd, 0);
        DescriptorStream stream(fd, "f");
        if (inserted == 0)
            stream.removeBlock(start, replace);
        else
            stream.insert(TagLib::ByteVector(data.data(), unsigned(data.size())), start, replace);
        EXPECT_FALSE(stream.failure());
        EXPECT_EQ(stream.length(), long(expected.size()));
        ::close(fd);
        EXPECT_TRUE(readBytes(dir.file("f")) == expected);
    }
}

TEST(DescriptorStream, ReadsSeeksAndWritesLikeAFileAndRemembersTheFirstFailedWrite) {
    const TempDir dir;
    writeBytes(dir.file("f"), "0123456789");
    int fd = ::open(dir.file("f").c_str(), O_RDWR);
    DescriptorStream stream(fd, "f");
    stream.seek(-4, TagLib::IOStream::End);
    EXPECT_EQ(stream.readBlock(100), TagLib::ByteVector("6789"));
    EXPECT_EQ(stream.tell(), 10);
    EXPECT_TRUE(stream.readBlock(4).isEmpty());
    stream.seek(2);
    stream.seek(1, TagLib::IOStream::Current);
    stream.writeBlock("abc");
    stream.truncate(8);
    ::close(fd);
    EXPECT_FALSE(stream.failure());
    EXPECT_EQ(readBytes(dir.file("f")), "012abc67");

    fd = ::open(dir.file("f").c_str(), O_RDONLY);
    DescriptorStream readOnly(fd, "f");
    readOnly.insert("more", 0, 0);
    readOnly.writeBlock("x");
    ::close(fd);
    EXPECT_EQ(readOnly.failure(), EBADF);
    EXPECT_EQ(readBytes(dir.file("f")), "012abc67");
}

TEST(ReplacementFile, ReplacesWithTheCopyKeepingPermissions) {
    const TempDir dir;
    writeBytes(dir.file("song.mp3"), "old contents");
    fs::permissions(dir.file("song.mp3"), fs::perms(0640));
    {
        ReplacementFile copy(dir.file("song.mp3").string());
        ASSERT_EQ(::pwrite(copy.descriptor(), "new", 3, 0), 3);
        // Nothing is visible before the rename.
        EXPECT_EQ(namesIn(dir.path()), std::vector<std::string>{"song.mp3"});
        EXPECT_EQ(readBytes(dir.file("song.mp3")), "old contents");
        copy.replaceTarget();
    }
    EXPECT_EQ(readBytes(dir.file("song.mp3")), "new contents");
    EXPECT_EQ(fs::status(dir.file("song.mp3")).permissions(), fs::perms(0640));
    EXPECT_EQ(namesIn(dir.path()), std::vector<std::string>{"song.mp3"});
}

TEST(ReplacementFile, LeavesTheTargetAndNoCopyWhenAbandonedOvertakenOrNoRegularFile) {
    const TempDir dir;
    writeBytes(dir.file("a.wav"), "original");
    {
        ReplacementFile copy(dir.file("a.wav").string());
        ASSERT_EQ(::pwrite(copy.descriptor(), "X", 1, 0), 1);
    } // never replaced
    EXPECT_EQ(readBytes(dir.file("a.wav")), "original");
    try {
        ReplacementFile copy(dir.file("a.wav").string());
        ASSERT_EQ(::pwrite(copy.descriptor(), "X", 1, 0), 1);
        writeBytes(dir.file("a.wav"), "original, and then some"); // another program wrote it
        copy.replaceTarget();
        ADD_FAILURE() << "replaced";
    } catch (const WriteError& error) {
        EXPECT_STREQ(error.what(), "the file changed while its tags were written");
    }
    EXPECT_EQ(readBytes(dir.file("a.wav")), "original, and then some");
    fs::create_directory(dir.file("folder.wav"));
    EXPECT_THROW(ReplacementFile(dir.file("folder.wav").string()), WriteError);
    EXPECT_THROW(ReplacementFile(dir.file("missing.wav").string()), WriteError);
    EXPECT_EQ(namesIn(dir.path()), (std::vector<std::string>{"a.wav", "folder.wav"}));
}

TEST(TagValues, TempoTextPerTagFamilyAndBack) {
    // TBPM and tmpo hold whole numbers, halves away from zero; Vorbis BPM
    // two decimals, trailing zeros dropped.
    const std::tuple<double, int, const char*> written[] = {
        {120.0, 120, "120"},     {127.934, 128, "127.93"}, {127.5, 128, "127.5"},
        {127.49, 127, "127.49"}, {99.999, 100, "100"},     {63.96, 64, "63.96"},
        {60.1, 60, "60.1"},      {0.004, 0, "0"},          {250.0, 250, "250"},
        {89.999999, 90, "90"},
    };
    for (const auto& [bpm, whole, decimal] : written) {
        EXPECT_EQ(wholeBpm(bpm), whole) << bpm;
        EXPECT_EQ(decimalBpmText(bpm), decimal) << bpm;
    }
    const std::pair<const char*, double> read[] = {
        {"120", 120}, {" 127.5 ", 127.5}, {"120,5", 120.5}, {"1e2", 100}, {"\t98\t", 98}};
    for (const auto& [text, bpm] : read)
        EXPECT_EQ(bpmFromTagText(text), bpm) << text;
    for (const char* text : {"0", "-120", "", "  ", "fast", "120 BPM", "inf"})
        EXPECT_FALSE(bpmFromTagText(text)) << text;
}

TEST(TagValues, KeySpellingsOfTheHarmonyTool) {
    for (const char* key : {"C", "Am", "F#m", "Db", "Bbm", "G#", "Ebm", "B"})
        EXPECT_TRUE(isKeySpelling(key)) << key;
    // Lower-case letters, Unicode accidentals, a second accidental, long
    // names and trailing text are not what the key tags hold.
    for (const char* key :
         {"", "H", "c", "F##", "F#M", "Dbmm", "C major", "F\u266f", "#", "m", "Am ", "Bb7"})
        EXPECT_FALSE(isKeySpelling(key)) << key;
}

// Every tag ffprobe finds in the container and its streams, names in lower
// case (Vorbis comment names have no fixed case).
std::map<std::string, std::string> probeTags(const fs::path& path) {
    const std::string command = "ffprobe -v quiet -show_entries format_tags:stream_tags "
                                "-of default=noprint_wrappers=1 '" +
                                path.string() + "'";
    std::map<std::string, std::string> tags;
    FILE* pipe = ::popen(command.c_str(), "r");
    char line[4096];
    while (pipe && std::fgets(line, sizeof line, pipe)) {
        std::string text(line);
        const auto equals = text.find('=');
        if (text.rfind("TAG:", 0) != 0 || equals == std::string::npos)
            continue;
        std::string name = text.substr(4, equals - 4);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        tags[name] = text.substr(equals + 1, text.find_last_not_of('\n') - equals);
    }
    if (pipe)
        ::pclose(pipe);
    return tags;
}

std::vector<float> decoded(const fs::path& path) {
    return detection::loadMono(path.string(), [] { return false; }).samples;
}

// FFmpeg does not read an MP4 file's `tmpo`, so the test walks the boxes
// down to it: a 16-bit big-endian integer after 8 bytes of type and locale.
std::string mp4Tempo(const fs::path& song) {
    const std::string bytes = t::readBytes(song);
    const auto byte = [&](size_t i) { return size_t(static_cast<unsigned char>(bytes[i])); };
    const auto size = [&](size_t i) {
        return byte(i) << 24 | byte(i + 1) << 16 | byte(i + 2) << 8 | byte(i + 3);
    };
    size_t at = 0, end = bytes.size();
    for (const std::string_view name : {"moov", "udta", "meta", "ilst", "tmpo", "data"}) {
        while (at + 8 <= end && bytes.compare(at + 4, 4, name) != 0)
            at += std::max<size_t>(size(at), 8);
        if (at + 8 > end || size(at) < 8 || at + size(at) > end)
            return "(none)";
        end = at + size(at);
        at += name == "meta" ? 12 : 8; // "meta" has 4 bytes of version and flags
    }
    return end - at == 10 ? std::to_string(byte(at + 8) << 8 | byte(at + 9)) : "(none)";
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

TEST(TagWriter, AFileWithABpmTagIsKeptUnlessReplacingAndALinkStaysALink) {
    // One format of each tag family.
    for (const Format& format : {kFormats[0], kFormats[3], kFormats[6]}) {
        SCOPED_TRACE(format.name);
        const TempDir dir;
        const fs::path song = makeSong(dir, format);
        const fs::path link = dir.file("link" + song.extension().string());
        fs::create_symlink(song, link);
        ASSERT_EQ(writeTempoTags(link.string(), {100, "Am"}).result, TagResult::written);
        EXPECT_TRUE(fs::is_symlink(link));
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
    const char* mp3 = kFormats[0].file;
    const fs::path song = makeSong(dir, kFormats[0]);
    t::writeBytes(dir.file("notes.mp3"), "not audio\n");
    const auto clicks = t::clickTrain({.bpm = 120, .seconds = 2, .rateHz = 44100});
    // A WAV file by its bytes.
    ASSERT_TRUE(t::writeSound(dir.file("disguised.mp3"), clicks, 1, 44100,
                              SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    ASSERT_TRUE(
        t::writeSound(dir.file("loop.caf"), clicks, 1, 44100, SF_FORMAT_CAF | SF_FORMAT_PCM_16));
    const FileStamp analysed = *stampOf(song.string());
    const FileStamp grown{analysed.sizeBytes - 1, analysed.modifiedNs};
    const FileStamp touched{analysed.sizeBytes, analysed.modifiedNs - 1'000'000};
    const char* changed = "the file changed while it was analysed";
    const std::tuple<std::string, TagRequest, const char*> cases[] = {
        {"notes.mp3", {120}, "not a valid MP3 file"},
        {"disguised.mp3", {120}, "not a valid MP3 file"},
        {"loop.caf", {120}, text::failure::kUnsupportedContainer},
        {"missing.flac", {120}, "cannot find the file: No such file or directory"},
        {mp3, {120, "H"}, "'H' is not a key"},
        {mp3, {120, std::nullopt, false, grown}, changed},
        {mp3, {120, std::nullopt, false, touched}, changed},
    };
    const auto namesBefore = namesIn(dir.path());
    for (const auto& [name, request, reason] : cases) {
        SCOPED_TRACE(name);
        const bool exists = fs::exists(dir.file(name));
        const std::string before = exists ? t::readBytes(dir.file(name)) : "";
        const TagOutcome outcome = writeTempoTags(dir.file(name).string(), request);
        EXPECT_EQ(outcome.result, TagResult::failed);
        EXPECT_EQ(outcome.reason, reason);
        EXPECT_TRUE(!exists || t::readBytes(dir.file(name)) == before);
        EXPECT_EQ(namesIn(dir.path()), namesBefore);
    }
}

// ID3v2.3 stays 2.3: TBPM and TKEY mean the same there, and a 2.4 tag
// would lose the frames 2.4 dropped. Pictures stay in both tag families.
TEST(TagWriter, PicturesAndTheId3VersionStay) {
    const TempDir dir;
    const fs::path mp3 = makeSong(dir, kFormats[0]);
    const fs::path flac = makeSong(dir, kFormats[3]);
    const TagLib::ByteVector cover("\x89PNG pretend picture bytes", 26);
    {
        TagLib::MPEG::File file(mp3.c_str());
        auto* picture = new TagLib::ID3v2::AttachedPictureFrame;
        picture->setPicture(cover);
        file.ID3v2Tag(true)->addFrame(picture);
        ASSERT_TRUE(
            file.save(TagLib::MPEG::File::ID3v2, TagLib::File::StripNone, TagLib::ID3v2::v3));
        TagLib::FLAC::File flacFile(flac.c_str());
        auto* flacPicture = new TagLib::FLAC::Picture;
        flacPicture->setData(cover);
        flacFile.addPicture(flacPicture);
        ASSERT_TRUE(flacFile.save());
    }
    const std::string id3v23("ID3\x03", 4);
    ASSERT_EQ(t::readBytes(mp3).substr(0, 4), id3v23);
    for (const fs::path& song : {mp3, flac})
        EXPECT_EQ(writeTempoTags(song.string(), {127.934, "Db"}).result, TagResult::written);
    EXPECT_EQ(t::readBytes(mp3).substr(0, 4), id3v23);
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
