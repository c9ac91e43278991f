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
#include <sys/stat.h>

namespace quorlen::testing {
namespace {

namespace fs = std::filesystem;
namespace t = detection::testing;
using t::TempDir;

constexpr size_t kLoops = 6;

// What a file that memory did not suffice for reads: the reader's messages
// (for its buffer, for the decoded signal) or the analysis's.
bool saysOutOfMemory(const std::string& line) {
    return line.ends_with(".wav: Could not allocate an audio buffer") ||
           line.ends_with(".wav: Not enough memory to read this file") ||
           line.ends_with(".wav: Not enough memory to analyse this file");
}

// Nothing here needs more than a few hundred MB; a runaway allocation
// fails instead of taking the machine.
ChildRun quorlen(std::vector<std::string> args, unsigned long long bytes = 2ull << 30) {
    ChildRun run;
    run.argv = {QUORLEN_CLI_PATH};
    run.argv.insert(run.argv.end(), args.begin(), args.end());
    run.addressSpaceBytes = bytes;
    return run;
}

void expectCleanEnd(const ChildResult& result, std::initializer_list<int> statuses,
                    double seconds = 20) {
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.signal, 0) << result.err;
    EXPECT_LT(result.seconds, seconds);
    EXPECT_NE(std::ranges::find(statuses, result.status), statuses.end())
        << "status " << result.status << ": " << result.err;
}

// Six 8-second loops at 120 BPM (four bars, so the tempo snaps to 120), and
// the command line run on them.
class CliFaults : public ::testing::Test {
protected:
    CliFaults() {
        const auto loop = t::clickTrain({.bpm = 120, .seconds = 8, .rateHz = 44100});
        for (size_t i = 0; i < kLoops; ++i)
            EXPECT_TRUE(t::writeSound(file("loop" + std::to_string(i) + ".wav"), loop, 1, 44100,
                                      SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    }
    std::string file(const std::string& name) const { return dir.file(name).string(); }
    // The program with the fault shim preloaded and `variable` set.
    static ChildResult withShim(std::vector<std::string> args, const std::string& variable,
                                const std::string& value) {
        ChildRun run = quorlen(std::move(args));
        run.environment = {{"LD_PRELOAD", QUORLEN_FAULT_SHIM_PATH}, {variable, value}};
        return runChild(run);
    }
    static ChildResult obeyingPermissions(std::vector<std::string> args) {
        ChildRun run = quorlen(std::move(args));
        run.obeyFilePermissions = true;
        return runChild(run);
    }

    TempDir dir;
    const std::string all = dir.path().string();
};

TEST_F(CliFaults, RefusedThreadsAndAllocationsLeaveFewerWorkersOrOneLinePerFile) {
    QUORLEN_SKIP_UNDER_SANITIZER();
    const ChildResult normal = runChild(quorlen({"detect", "-j", "19", all}));
    ASSERT_EQ(normal.status, 0) << normal.err;
    ASSERT_EQ(lines(normal.out).size(), kLoops);
    const struct {
        const char* variable;
        const char* value;
        int status;
    } cases[] = {
        // None at all (the calling thread does everything), or one worker
        // whose analyses may start no threads of their own.
        {"QUORLEN_FAULT_THREADS", "0", 0},
        {"QUORLEN_FAULT_THREADS", "1", 0},
        {"QUORLEN_FAULT_THREADS", "3", 0},
        // Half a megabyte refuses the read buffer; 1.2 MB lets reading start
        // but refuses the decoded file (8 s, 1.4 MB as floats) and the FFT
        // set-up.
        {"QUORLEN_FAULT_ALLOC_ABOVE", "524288", 1},
        {"QUORLEN_FAULT_ALLOC_ABOVE", "1200000", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.variable) + "=" + c.value);
        const ChildResult result = withShim({"detect", "-j", "19", all}, c.variable, c.value);
        expectCleanEnd(result, {c.status});
        EXPECT_EQ(result.out, c.status == 0 ? normal.out : "") << "failures go to stderr";
        const auto failures = lines(result.err);
        EXPECT_EQ(failures.size(), c.status == 0 ? 0 : kLoops) << result.err;
        EXPECT_TRUE(std::ranges::all_of(failures, saysOutOfMemory)) << result.err;
    }
    // A thousand threads would need gigabytes of stack address space.
    const ChildResult huge = runChild(quorlen({"detect", "-j", "100000", all}, 1ull << 30));
    expectCleanEnd(huge, {0});
    EXPECT_EQ(huge.out, normal.out);
}

TEST_F(CliFaults, ATightAddressSpaceGivesAnswersOrMessagesNeverAnAbort) {
    QUORLEN_SKIP_UNDER_SANITIZER();
    // Where memory runs out depends on the machine (thread stacks, malloc
    // arenas); whatever fails must fail as a line of its own.
    for (const unsigned long long megabytes : {32ull, 40ull, 48ull, 64ull, 96ull}) {
        SCOPED_TRACE(megabytes);
        const ChildResult result = runChild(quorlen({"detect", "-j", "16", all}, megabytes << 20));
        expectCleanEnd(result, {0, 1});
        // Results on stdout, failed files on stderr: one line per file in all.
        const auto printed = lines(result.out + result.err);
        if (result.status == 1 && lines(result.out).empty() && printed.size() < kLoops)
            continue; // too little even to start: refused as a whole, not aborted
        EXPECT_EQ(printed.size(), kLoops) << result.out << result.err;
        for (const std::string& line : printed)
            EXPECT_TRUE(line.find(": 120 BPM") != std::string::npos || saysOutOfMemory(line))
                << line;
    }
}

TEST_F(CliFaults, EveryCommandReportsOutputThatCannotBeWritten) {
    std::vector<std::vector<std::string>> commands = {{"detect", file("loop0.wav")}};
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

TEST_F(CliFaults, AHeaderClaimingAThousandChannelsStaysInBoundedMemory) {
    QUORLEN_SKIP_UNDER_SANITIZER();
    const TempDir wide;
    for (int i = 0; i < 4; ++i)
        t::writeBytes(wide.file("wide" + std::to_string(i) + ".wav"),
                      t::pcm16WavHeader(1024, 44100, 8192) + std::string(8192, '\0'));
    // A read buffer sized in frames would want 1 GB for each of the files.
    const ChildResult result =
        runChild(quorlen({"detect", "-j", "4", wide.path().string()}, 512ull << 20));
    expectCleanEnd(result, {0, 1}, 10);
    const auto printed = lines(result.out + result.err);
    ASSERT_EQ(printed.size(), 4u) << result.out << result.err;
    EXPECT_TRUE(std::ranges::none_of(printed, saysOutOfMemory)) << result.out << result.err;
}

// Whatever step of a tag write fails, the file stays byte for byte as it
// was, nothing is left beside it, and the reason is one line on stderr.
TEST_F(CliFaults, ATagWriteThatFailsLeavesTheOriginalAndNoCopy) {
    const std::string song = file("loop0.wav");
    const std::string before = t::readBytes(song);
    const auto namesBefore = namesIn(dir.path());
    const std::tuple<const char*, std::string, const char*> cases[] = {
        // The disk fills up during the copy, then just after it (as the tag goes in).
        {"QUORLEN_FAULT_WRITE_ABOVE", "4096", "cannot copy the file: No space left on device"},
        {"QUORLEN_FAULT_WRITE_ABOVE", std::to_string(before.size()),
         "cannot write the tags: No space left on device"},
        {"QUORLEN_FAULT_FSYNC", "1", "cannot write the file to the disk: Input/output error"},
        {"QUORLEN_FAULT_RENAME", "1", "cannot replace the file: Input/output error"},
    };
    for (const auto& [variable, value, reason] : cases) {
        SCOPED_TRACE(std::string(variable) + "=" + value);
        const ChildResult result = withShim({"detect", "--write-tags", song}, variable, value);
        expectCleanEnd(result, {1});
        EXPECT_TRUE(result.out.ends_with(" · tags not written\n")) << result.out;
        EXPECT_EQ(result.err, song + ": could not write tags: " + reason + "\n");
        EXPECT_TRUE(t::readBytes(song) == before);
        EXPECT_EQ(namesIn(dir.path()), namesBefore);
    }
    // And without a fault the same run tags the file.
    const ChildResult tagged = runChild(quorlen({"detect", "--write-tags", song}));
    expectCleanEnd(tagged, {0});
    EXPECT_TRUE(tagged.out.ends_with(" · tags written\n")) << tagged.out;
    EXPECT_EQ(namesIn(dir.path()), namesBefore);
}

// Held to file permissions even as root: a folder that cannot be read is
// reported, and read-only files and folders are not tagged.
TEST_F(CliFaults, PermissionsAreReportedNotOverridden) {
    const std::string unreadable = file("unreadable"), inLocked = file("locked/loop.wav"),
                      readOnly = file("loop1.wav"), before = t::readBytes(readOnly);
    fs::create_directory(unreadable);
    fs::create_directory(file("locked"));
    fs::copy_file(file("loop0.wav"), inLocked);
    fs::permissions(unreadable, fs::perms::none);
    fs::permissions(file("locked"), fs::perms(0555));
    fs::permissions(readOnly, fs::perms(0444));
    const ChildResult tree = obeyingPermissions({"detect", all});
    const ChildResult alone = obeyingPermissions({"detect", unreadable});
    const ChildResult tagged = obeyingPermissions({"detect", "--write-tags", inLocked, readOnly});
    fs::permissions(unreadable, fs::perms::owner_all);
    fs::permissions(file("locked"), fs::perms(0755));
    if (tree.unsupported)
        GTEST_SKIP() << "cannot give up the permission override here";
    expectCleanEnd(tree, {1});
    EXPECT_EQ(lines(tree.out).size(), kLoops + 1) << tree.out;
    EXPECT_EQ(tree.err, unreadable + ": Permission denied\n");
    EXPECT_EQ(alone.status, 1);
    EXPECT_EQ(alone.out, "");
    EXPECT_EQ(alone.err, unreadable + ": Permission denied\n");
    expectCleanEnd(tagged, {1});
    EXPECT_EQ(lines(tagged.out).size(), 2u) << tagged.out;
    EXPECT_EQ(tagged.err, inLocked +
                              ": could not write tags: cannot create a file beside it: Permission "
                              "denied\n" +
                              readOnly +
                              ": could not write tags: cannot write the file: Permission denied\n");
    EXPECT_TRUE(t::readBytes(readOnly) == before);
    EXPECT_EQ(namesIn(file("locked")), std::vector<std::string>{"loop.wav"});
}

// Hostile names, files and arguments, some of which reached past the
// reader's and the octave modes' checks before: each ends with its own line
// and status, and no output reaches the terminal raw.
TEST_F(CliFaults, HostileNamesFilesAndRangesEndWithTheirOwnLine) {
    // A name that clears the screen and moves the cursor home, and one in
    // Latin-1 (no UTF-8).
    fs::rename(file("loop0.wav"), file("\x1b[2J\x1b[H.wav"));
    fs::rename(file("loop1.wav"), file("caf\xe9.wav"));
    const auto clicks = t::clickTrain({.bpm = 120, .seconds = 20, .rateHz = 44100});
    ASSERT_TRUE(
        t::writeSound(file("clean.flac"), clicks, 1, 44100, SF_FORMAT_FLAC | SF_FORMAT_PCM_16));
    std::string flac = t::readBytes(file("clean.flac"));
    flac[flac.size() / 2] = static_cast<char>(flac[flac.size() / 2] ^ 0xff);
    t::writeBytes(file("flipped.flac"), flac);
    // Noise at -90 dBFS: inaudible, and long enough to offer a tempo.
    std::vector<float> noise(60 * 22050);
    std::mt19937 random(90);
    std::normal_distribution<float> gaussian(0.0f, 3.2e-5f);
    std::ranges::generate(noise, [&] { return gaussian(random); });
    ASSERT_TRUE(t::writeSound(file("noise.wav"), noise, 1, 22050, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
    std::string huge = t::pcm16WavHeader(1, 44100, 2000) + std::string(2000, '\0');
    huge[27] = '\x80'; // 2^31 Hz
    t::writeBytes(file("2^31hz.wav"), huge);
    ASSERT_TRUE(t::writeSound(file("short.wav"),
                              t::clickTrain({.bpm = 120, .seconds = 1.21, .rateHz = 44100}), 1,
                              44100, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    const std::string fifo = file("stream.wav");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const struct {
        std::vector<std::string> args;
        int status;
        std::string out, err; // what each holds
    } cases[] = {
        {{"--json", all}, 1, R"("error":"Unsupported sample rate")", ""},
        {{file("\x1b[2J\x1b[H.wav"), file("caf\xe9.wav")}, 0, "\\x1b[2J\\x1b[H.wav: 120 BPM", ""},
        {{file("caf\xe9.wav")}, 0, "caf\\xe9.wav: 120 BPM", ""},
        // A FIFO is refused at once and holds up no other file.
        {{fifo, file("loop2.wav")}, 1, "loop2.wav: 120 BPM", fifo + ": Not a regular file\n"},
        {{"--json", file("flipped.flac")}, 0, R"("bpm":120,"beatOffset":0.)", ""},
        {{"--json", file("flipped.flac")}, 0, R"("duration":20,"damaged":true})", ""},
        {{file("noise.wav")}, 1, "", ": No rhythmic content found in this file"},
        {{file("2^31hz.wav")}, 1, "", ": Unsupported sample rate"},
        {{"--octave", "100000000000-200000000000", file("short.wav")}, 2, "", "is not an octave"},
        {{"--octave", "0.0000000001-1", file("short.wav")}, 2, "", "is not an octave"},
        {{"--json", "--octave", "45.5-91", file("short.wav")}, 0, R"("octave":"45.5-91")", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.back() + " " + c.out + c.err);
        std::vector<std::string> command = {"detect"};
        command.insert(command.end(), c.args.begin(), c.args.end());
        const ChildResult result = runChild(quorlen(command));
        expectCleanEnd(result, {c.status}, 10);
        EXPECT_NE(result.out.find(c.out), std::string::npos) << result.out;
        EXPECT_NE(result.err.find(c.err), std::string::npos) << result.err;
        EXPECT_TRUE(std::ranges::none_of(result.out, [](char ch) {
            return (static_cast<unsigned char>(ch) < 0x20 && ch != '\n') || ch == '\x7f';
        })) << result.out;
        for (const std::string& record : lines(c.args[0] == "--json" ? result.out : "")) {
            const auto json = readJson(record);
            ASSERT_TRUE(json) << record;
            // The alternatives name each tempo once.
            std::vector<double> alternatives;
            for (const auto& value : (*json)[QStringLiteral("alternatives")].toArray())
                alternatives.push_back(value.toDouble());
            std::ranges::sort(alternatives);
            EXPECT_EQ(std::ranges::adjacent_find(alternatives), alternatives.end()) << record;
        }
    }
}

} // namespace
} // namespace quorlen::testing
