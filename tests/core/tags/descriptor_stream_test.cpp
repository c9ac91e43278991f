#include "support/folder_names.h"
#include "tags/descriptor_stream.h"
#include "tags/replacement_file.h"
#include "tags/write_error.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace quorlen::tags {
namespace {

using quorlen::testing::namesIn;

using detection::testing::readBytes;
using detection::testing::TempDir;
using detection::testing::writeBytes;
namespace fs = std::filesystem;

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
    struct Case {
        const char* name;
        unsigned long start;
        unsigned long replace;
        size_t inserted;
    };
    const Case cases[] = {
        {"a tag grows at the front", 0, 10, 4096},
        {"a tag shrinks at the front", 0, 4096, 10},
        {"same size in place", 1000, 64, 64},
        {"grows by more than a chunk", 0, 0, (size_t{3} << 20) / 2},
        {"shrinks by more than a chunk", 100, (size_t{3} << 20) / 2, 1},
        {"grows in the middle", size / 2, 3, 5},
        {"appended at the end", size, 0, 300},
        {"the end cut off", size - 500, 500, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const TempDir dir;
        const std::string original = patterned(size);
        writeBytes(dir.file("f"), original);
        const std::string data(c.inserted, '#');
        std::string expected = original;
        expected.replace(c.start, c.replace, data);

        const int fd = ::open(dir.file("f").c_str(), O_RDWR);
        ASSERT_GE(fd, 0);
        DescriptorStream stream(fd, "f");
        if (c.inserted == 0)
            stream.removeBlock(c.start, c.replace);
        else
            stream.insert(TagLib::ByteVector(data.data(), unsigned(data.size())), c.start,
                          c.replace);
        EXPECT_FALSE(stream.failure());
        EXPECT_EQ(stream.length(), long(expected.size()));
        ::close(fd);
        const std::string written = readBytes(dir.file("f"));
        ASSERT_EQ(written.size(), expected.size());
        EXPECT_TRUE(written == expected);
    }
}

TEST(DescriptorStream, ReadsSeeksAndWritesLikeAFile) {
    const TempDir dir;
    writeBytes(dir.file("f"), "0123456789");
    const int fd = ::open(dir.file("f").c_str(), O_RDWR);
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
}

TEST(DescriptorStream, RemembersTheFirstFailedWrite) {
    const TempDir dir;
    writeBytes(dir.file("f"), "0123456789");
    const int fd = ::open(dir.file("f").c_str(), O_RDONLY);
    DescriptorStream stream(fd, "f");
    stream.insert("more", 0, 0);
    stream.writeBlock("x");
    ::close(fd);
    EXPECT_EQ(stream.failure(), EBADF);
    EXPECT_EQ(readBytes(dir.file("f")), "0123456789");
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

TEST(ReplacementFile, LeavesTheTargetAndNoCopyWhenAbandonedOrOvertaken) {
    const TempDir dir;
    writeBytes(dir.file("a.wav"), "original");
    {
        ReplacementFile copy(dir.file("a.wav").string());
        ASSERT_EQ(::pwrite(copy.descriptor(), "X", 1, 0), 1);
    } // never replaced
    EXPECT_EQ(readBytes(dir.file("a.wav")), "original");

    std::string reason;
    try {
        ReplacementFile copy(dir.file("a.wav").string());
        ASSERT_EQ(::pwrite(copy.descriptor(), "X", 1, 0), 1);
        writeBytes(dir.file("a.wav"), "original, and then some"); // another program wrote it
        copy.replaceTarget();
    } catch (const WriteError& error) {
        reason = error.what();
    }
    EXPECT_EQ(reason, "the file changed while its tags were written");
    EXPECT_EQ(readBytes(dir.file("a.wav")), "original, and then some");
    EXPECT_EQ(namesIn(dir.path()), std::vector<std::string>{"a.wav"});
}

TEST(ReplacementFile, RefusesWhatIsNoRegularFile) {
    const TempDir dir;
    fs::create_directory(dir.file("folder.wav"));
    for (const char* name : {"folder.wav", "missing.wav"}) {
        SCOPED_TRACE(name);
        EXPECT_THROW(ReplacementFile(dir.file(name).string()), WriteError);
    }
    EXPECT_EQ(namesIn(dir.path()), std::vector<std::string>{"folder.wav"});
}

} // namespace
} // namespace quorlen::tags
