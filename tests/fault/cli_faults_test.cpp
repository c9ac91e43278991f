// The command line run as a separate process under conditions a user or the
// system can impose: refused threads and allocations, a bounded address
// space, unreadable folders, output that cannot be written, hostile file
// names. Each case must end in bounded time with the right status and a
// clear line, never a crash.
#include "child_process.h"
#include "support/folder_names.h"
#include "support/json.h"
#include "support/lines.h"
#include "test_signals.h"

#include <QJsonArray>

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <sstream>
#include <sys/stat.h>

namespace quorlen::testing {
namespace {

namespace fs = std::filesystem;
namespace t = detection::testing;
using t::TempDir;

ChildRun quorlen(std::vector<std::string> args) {
    ChildRun run;
    run.argv = {QUORLEN_CLI_PATH};
    run.argv.insert(run.argv.end(), args.begin(), args.end());
    // Nothing here needs more than a few hundred MB; a runaway allocation
    // fails instead of taking the machine.
    run.addressSpaceBytes = 2ull << 30;
    return run;
}

ChildRun withShim(ChildRun run, const std::string& variable, const std::string& value) {
    run.environment.push_back({"LD_PRELOAD", QUORLEN_FAULT_SHIM_PATH});
    run.environment.push_back({variable, value});
    return run;
}

// Six 8-second loops at 120 BPM (four bars, so the tempo snaps to 120).
struct Loops {
    static constexpr int kCount = 6;
    TempDir dir;
    Loops() {
        const auto loop = t::clickTrain({.bpm = 120, .seconds = 8, .rateHz = 44100});
        for (int i = 0; i < kCount; ++i)
            EXPECT_TRUE(t::writeSound(dir.file("loop" + std::to_string(i) + ".wav"), loop, 1, 44100,
                                      SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    }
    std::string path() const { return dir.path().string(); }
};

// What a file that memory did not suffice for reads: the reader's messages
// (for its buffer, for the decoded signal) or the analysis's.
bool saysOutOfMemory(const std::string& line) {
    return line.ends_with(".wav: Could not allocate an audio buffer") ||
           line.ends_with(".wav: Not enough memory to read this file") ||
           line.ends_with(".wav: Not enough memory to analyse this file");
}

void expectCleanEnd(const ChildResult& result, std::initializer_list<int> statuses,
                    double seconds = 20) {
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.signal, 0) << result.err;
    EXPECT_LT(result.seconds, seconds);
    EXPECT_NE(std::ranges::find(statuses, result.status), statuses.end())
        << "status " << result.status << ": " << result.err;
}

TEST(CliFaults, RefusedThreadsLeaveFewerWorkersNotACrash) {
    QUORLEN_SKIP_UNDER_SANITIZER();
    const Loops loops;
    const ChildResult normal = runChild(quorlen({"detect", "-j", "19", loops.path()}));
    ASSERT_EQ(normal.status, 0) << normal.err;
    ASSERT_EQ(lines(normal.out).size(), size_t(Loops::kCount));
    // None at all (the calling thread does everything), or one worker whose
    // analyses may start no threads of their own.
    for (const char* allowed : {"0", "1", "3"}) {
        SCOPED_TRACE(allowed);
        const ChildResult result = runChild(withShim(quorlen({"detect", "-j", "19", loops.path()}),
                                                     "QUORLEN_FAULT_THREADS", allowed));
        expectCleanEnd(result, {0});
        EXPECT_EQ(result.out, normal.out);
        EXPECT_EQ(result.err, "");
    }
}

TEST(CliFaults, RefusedAllocationsFailEachFileWithOneLine) {
    QUORLEN_SKIP_UNDER_SANITIZER();
    const Loops loops;
    // Half a megabyte refuses the read buffer; 1.2 MB lets reading start but
    // refuses the decoded file (8 s, 1.4 MB as floats) and the FFT set-up.
    for (const char* bytes : {"524288", "1200000"}) {
        SCOPED_TRACE(bytes);
        const ChildResult result = runChild(withShim(quorlen({"detect", "-j", "16", loops.path()}),
                                                     "QUORLEN_FAULT_ALLOC_ABOVE", bytes));
        expectCleanEnd(result, {1});
        EXPECT_EQ(result.out, "") << "failures go to stderr";
        const auto printed = lines(result.err);
        ASSERT_EQ(printed.size(), size_t(Loops::kCount)) << result.out << result.err;
        for (const std::string& line : printed)
            EXPECT_TRUE(saysOutOfMemory(line)) << line;
    }
}

TEST(CliFaults, ATightAddressSpaceGivesAnswersOrMessagesNeverAnAbort) {
    QUORLEN_SKIP_UNDER_SANITIZER();
    const Loops loops;
    // Where memory runs out depends on the machine (thread stacks, malloc
    // arenas); whatever fails must fail as a line of its own.
    for (const unsigned long long megabytes : {32ull, 40ull, 48ull, 64ull, 96ull}) {
        SCOPED_TRACE(megabytes);
        ChildRun run = quorlen({"detect", "-j", "16", loops.path()});
        run.addressSpaceBytes = megabytes << 20;
        const ChildResult result = runChild(run);
        expectCleanEnd(result, {0, 1});
        // Results on stdout, failed files on stderr: one line per file in all.
        const auto printed = lines(result.out + result.err);
        if (result.status == 1 && lines(result.out).empty() && printed.size() < Loops::kCount)
            continue; // too little even to start: refused as a whole, not aborted
        EXPECT_EQ(printed.size(), size_t(Loops::kCount)) << result.out << result.err;
        for (const std::string& line : printed)
            EXPECT_TRUE(line.find(": 120 BPM") != std::string::npos || saysOutOfMemory(line))
                << line;
    }
}

TEST(CliFaults, AHugeThreadCountIsCappedByTheWork) {
    QUORLEN_SKIP_UNDER_SANITIZER();
    const Loops loops;
    ChildRun run = quorlen({"detect", "-j", "100000", loops.path()});
    // A thousand threads would need gigabytes of stack address space.
    run.addressSpaceBytes = 1ull << 30;
    const ChildResult result = runChild(run);
    expectCleanEnd(result, {0});
    EXPECT_EQ(lines(result.out).size(), size_t(Loops::kCount));
}

TEST(CliFaults, UnreadableFoldersAreReportedWithStatusOne) {
    const Loops loops;
    fs::create_directory(loops.dir.file("locked"));
    fs::permissions(loops.dir.file("locked"), fs::perms::none);
    ChildRun tree = quorlen({"detect", loops.path()});
    tree.obeyFilePermissions = true;
    ChildRun alone = quorlen({"detect", loops.dir.file("locked").string()});
    alone.obeyFilePermissions = true;
    const ChildResult treeResult = runChild(tree);
    const ChildResult aloneResult = runChild(alone);
    fs::permissions(loops.dir.file("locked"), fs::perms::owner_all);
    if (treeResult.unsupported)
        GTEST_SKIP() << "cannot give up the permission override here";

    expectCleanEnd(treeResult, {1});
    ASSERT_EQ(lines(treeResult.out).size(), size_t(Loops::kCount)) << treeResult.out;
    EXPECT_EQ(treeResult.err, loops.dir.file("locked").string() + ": Permission denied\n");
    EXPECT_EQ(aloneResult.status, 1);
    EXPECT_EQ(aloneResult.out, "");
    EXPECT_EQ(aloneResult.err, loops.dir.file("locked").string() + ": Permission denied\n");
}

TEST(CliFaults, EveryCommandReportsOutputThatCannotBeWritten) {
    const Loops loops;
    std::vector<std::vector<std::string>> commands = {
        {"detect", loops.dir.file("loop0.wav").string()}};
    for (const char* line :
         {"tempo", "space", "notes", "tet 12", "harmonics", "key C", "euclid 3 8", "--help"})
        commands.push_back(words(line));
    const std::pair<ChildRun::Output, std::string> outputs[] = {
        {ChildRun::Output::full, "No space left on device"},
        {ChildRun::Output::closed, "Bad file descriptor"}};
    for (const auto& command : commands) {
        for (const auto& [output, reason] : outputs) {
            SCOPED_TRACE(command.front() + " / " + reason);
            ChildRun run = quorlen(command);
            run.output = output;
            const ChildResult result = runChild(run);
            expectCleanEnd(result, {1});
            EXPECT_EQ(result.err, "quorlen: cannot write the output: " + reason + "\n");
        }
    }
}

TEST(CliFaults, HostileFileNamesKeepJsonValidAndTheTerminalSafe) {
    const Loops loops;
    // A name that clears the screen and moves the cursor home, and one in
    // Latin-1 (no UTF-8).
    fs::rename(loops.dir.file("loop0.wav"), loops.dir.file("\x1b[2J\x1b[H.wav"));
    fs::rename(loops.dir.file("loop1.wav"), loops.dir.file("caf\xe9.wav"));

    const ChildResult json = runChild(quorlen({"detect", "--json", loops.path()}));
    expectCleanEnd(json, {0});
    const auto records = lines(json.out);
    ASSERT_EQ(records.size(), size_t(Loops::kCount));
    for (const std::string& record : records)
        EXPECT_TRUE(readJson(record)) << record;

    const ChildResult text = runChild(quorlen({"detect", loops.path()}));
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_TRUE(std::none_of(text.out.begin(), text.out.end(), [](char c) {
        return (static_cast<unsigned char>(c) < 0x20 && c != '\n') || c == '\x7f';
    })) << text.out;
    EXPECT_NE(text.out.find("\\x1b[2J\\x1b[H.wav: 120 BPM"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("caf\\xe9.wav: 120 BPM"), std::string::npos) << text.out;
}

TEST(CliFaults, AFifoIsRefusedAtOnceAndHoldsUpNoOtherFile) {
    const Loops loops;
    const fs::path fifo = loops.dir.file("stream.wav");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const ChildResult result =
        runChild(quorlen({"detect", fifo.string(), loops.dir.file("loop0.wav").string()}));
    expectCleanEnd(result, {1}, 10);
    const auto printed = lines(result.out);
    ASSERT_EQ(printed.size(), 1u) << result.out;
    EXPECT_EQ(result.err, fifo.string() + ": Not a regular file\n");
    EXPECT_NE(printed[0].find("loop0.wav: 120 BPM"), std::string::npos) << printed[0];
}

TEST(CliFaults, AHeaderClaimingAThousandChannelsStaysInBoundedMemory) {
    QUORLEN_SKIP_UNDER_SANITIZER();
    const TempDir dir;
    for (int i = 0; i < 4; ++i)
        t::writeBytes(dir.file("wide" + std::to_string(i) + ".wav"),
                      t::pcm16WavHeader(1024, 44100, 8192) + std::string(8192, '\0'));
    ChildRun run = quorlen({"detect", "-j", "4", dir.path().string()});
    // A read buffer sized in frames would want 1 GB for each of the files.
    run.addressSpaceBytes = 512ull << 20;
    const ChildResult result = runChild(run);
    expectCleanEnd(result, {0, 1}, 10);
    const auto printed = lines(result.out + result.err);
    ASSERT_EQ(printed.size(), 4u) << result.out << result.err;
    for (const std::string& line : printed)
        EXPECT_FALSE(saysOutOfMemory(line)) << line;
}

// Whatever step of a tag write fails, the file stays byte for byte as it
// was, nothing is left beside it, and the reason is one line on stderr.
TEST(CliFaults, ATagWriteThatFailsLeavesTheOriginalAndNoCopy) {
    const Loops loops;
    const fs::path song = loops.dir.file("loop0.wav");
    const std::string before = t::readBytes(song);
    const auto namesBefore = namesIn(loops.dir.path());
    struct Case {
        const char* variable;
        std::string value;
        const char* reason;
    };
    const Case cases[] = {
        // The disk fills up during the copy, then just after it (as the tag goes in).
        {"QUORLEN_FAULT_WRITE_ABOVE", "4096", "cannot copy the file: No space left on device"},
        {"QUORLEN_FAULT_WRITE_ABOVE", std::to_string(before.size()),
         "cannot write the tags: No space left on device"},
        {"QUORLEN_FAULT_FSYNC", "1", "cannot write the file to the disk: Input/output error"},
        {"QUORLEN_FAULT_RENAME", "1", "cannot replace the file: Input/output error"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.variable) + "=" + c.value);
        const ChildResult result = runChild(
            withShim(quorlen({"detect", "--write-tags", song.string()}), c.variable, c.value));
        expectCleanEnd(result, {1});
        EXPECT_TRUE(result.out.ends_with(" · tags not written\n")) << result.out;
        EXPECT_EQ(result.err, song.string() + ": could not write tags: " + c.reason + "\n");
        EXPECT_TRUE(t::readBytes(song) == before);
        EXPECT_EQ(namesIn(loops.dir.path()), namesBefore);
    }
    // And without a fault the same run tags the file.
    const ChildResult tagged = runChild(quorlen({"detect", "--write-tags", song.string()}));
    expectCleanEnd(tagged, {0});
    EXPECT_TRUE(tagged.out.ends_with(" · tags written\n")) << tagged.out;
    EXPECT_EQ(namesIn(loops.dir.path()), namesBefore);
}

TEST(CliFaults, ReadOnlyFilesAndFoldersAreNotTagged) {
    const Loops loops;
    fs::create_directory(loops.dir.file("locked"));
    fs::copy_file(loops.dir.file("loop0.wav"), loops.dir.file("locked/loop.wav"));
    const std::string before = t::readBytes(loops.dir.file("loop1.wav"));
    fs::permissions(loops.dir.file("locked"), fs::perms(0555));
    fs::permissions(loops.dir.file("loop1.wav"), fs::perms(0444));
    ChildRun run = quorlen({"detect", "--write-tags", loops.dir.file("locked/loop.wav").string(),
                            loops.dir.file("loop1.wav").string()});
    run.obeyFilePermissions = true;
    const ChildResult result = runChild(run);
    fs::permissions(loops.dir.file("locked"), fs::perms(0755));
    if (result.unsupported)
        GTEST_SKIP() << "cannot give up the permission override here";

    expectCleanEnd(result, {1});
    EXPECT_EQ(lines(result.out).size(), 2u) << result.out;
    EXPECT_EQ(result.err,
              loops.dir.file("locked/loop.wav").string() +
                  ": could not write tags: cannot create a file beside it: Permission denied\n" +
                  loops.dir.file("loop1.wav").string() +
                  ": could not write tags: cannot write the file: Permission denied\n");
    EXPECT_TRUE(t::readBytes(loops.dir.file("loop1.wav")) == before);
    EXPECT_EQ(namesIn(loops.dir.file("locked")), std::vector<std::string>{"loop.wav"});
}

// Files and arguments that reached past the reader's and the octave modes'
// checks before: each ends with its own line and status.
TEST(CliFaults, HostileFilesAndRangesEndWithTheirOwnLine) {
    const TempDir dir;
    const auto clicks = t::clickTrain({.bpm = 120, .seconds = 20, .rateHz = 44100});
    ASSERT_TRUE(
        t::writeSound(dir.file("clean.flac"), clicks, 1, 44100, SF_FORMAT_FLAC | SF_FORMAT_PCM_16));
    std::string flac = t::readBytes(dir.file("clean.flac"));
    flac[flac.size() / 2] = static_cast<char>(flac[flac.size() / 2] ^ 0xff);
    t::writeBytes(dir.file("flipped.flac"), flac);
    // Noise at -90 dBFS: inaudible, and long enough to offer a tempo.
    std::vector<float> noise(60 * 22050);
    std::mt19937 random(90);
    std::normal_distribution<float> gaussian(0.0f, 3.2e-5f);
    for (float& v : noise)
        v = gaussian(random);
    ASSERT_TRUE(
        t::writeSound(dir.file("noise.wav"), noise, 1, 22050, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
    std::string huge = t::pcm16WavHeader(1, 44100, 2000) + std::string(2000, '\0');
    huge[27] = '\x80'; // 2^31 Hz
    t::writeBytes(dir.file("2^31hz.wav"), huge);
    ASSERT_TRUE(t::writeSound(dir.file("short.wav"),
                              t::clickTrain({.bpm = 120, .seconds = 1.21, .rateHz = 44100}), 1,
                              44100, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    const std::string file = dir.path().string() + "/";

    struct Case {
        std::vector<std::string> args;
        int status;
        std::string out; // what the output holds (failures: stderr, in text)
    };
    const std::vector<Case> cases = {
        {{"detect", "--json", file + "flipped.flac"}, 0, R"("bpm":120,"beatOffset":0.)"},
        {{"detect", "--json", file + "flipped.flac"}, 0, R"("duration":20,"damaged":true})"},
        {{"detect", file + "noise.wav"}, 1, ": No rhythmic content found in this file"},
        {{"detect", file + "2^31hz.wav"}, 1, ": Unsupported sample rate"},
        {{"detect", "--octave", "100000000000-200000000000", file + "short.wav"}, 2, ""},
        {{"detect", "--octave", "0.0000000001-1", file + "short.wav"}, 2, ""},
        {{"detect", "--json", "--octave", "45.5-91", file + "short.wav"},
         0,
         R"("octave":"45.5-91")"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args.back() + " " + c.out);
        const ChildResult result = runChild(quorlen(c.args));
        expectCleanEnd(result, {c.status});
        const std::string& shown = c.status == 1 ? result.err : result.out;
        EXPECT_NE(shown.find(c.out), std::string::npos) << result.out << result.err;
        if (const auto json = readJson(result.out)) {
            const QJsonArray alternatives = (*json)[QStringLiteral("alternatives")].toArray();
            for (qsizetype i = 0; i < alternatives.size(); ++i)
                for (qsizetype j = 0; j < i; ++j)
                    EXPECT_NE(alternatives[i].toDouble(), alternatives[j].toDouble()) << result.out;
        }
    }
}

} // namespace
} // namespace quorlen::testing
