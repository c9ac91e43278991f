#include "cli/command_line.h"
#include "cli/detect_command.h"
#include "support/lines.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <sstream>
#include <sys/stat.h>

namespace quorlen::cli {
namespace {

using detection::testing::TempDir;
using quorlen::testing::lines;

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

Outcome detect(std::vector<std::string> args, const std::atomic<bool>* interrupted = nullptr) {
    const std::vector<std::string_view> views(args.begin(), args.end());
    std::ostringstream out, err;
    const int status = runDetect(views, out, err, {interrupted, false, 2});
    return {status, out.str(), err.str()};
}

// A sample library: two loops, a text file posing as audio, a non-audio file.
struct Library {
    TempDir dir;
    Library() {
        namespace t = detection::testing;
        const auto loop = t::clickTrain({.bpm = 120, .seconds = 8, .rateHz = 44100});
        const auto slow = t::clickTrain({.bpm = 95, .seconds = 16 * 60 / 95.0, .rateHz = 48000});
        std::filesystem::create_directories(dir.file("drums"));
        EXPECT_TRUE(t::writeSound(dir.file("drums/loop.wav"), loop, 1, 44100,
                                  SF_FORMAT_WAV | SF_FORMAT_PCM_16));
        EXPECT_TRUE(t::writeSound(dir.file("drums/Slow.FLAC"), slow, 1, 48000,
                                  SF_FORMAT_FLAC | SF_FORMAT_PCM_16));
        t::writeBytes(dir.file("drums/notes.wav"), "not audio\n");
        t::writeBytes(dir.file("readme.txt"), "skipped: not an audio name\n");
    }
    std::string path(const std::string& name) const { return dir.file(name).string(); }
};

TEST(DetectCommand, RefusesBadArgumentsWithStatusTwo) {
    const std::vector<std::vector<std::string>> refused = {{},
                                                           {"--json"},
                                                           {"--frob", "x.wav"},
                                                           {"-j"},
                                                           {"-j", "two", "x.wav"},
                                                           {"-j", "1.5", "x.wav"},
                                                           {"-j", "2", "--jobs=3", "x.wav"},
                                                           {"--json", "x.wav", "--json"},
                                                           {""},
                                                           {"x.wav", ""},
                                                           {"--octave"},
                                                           {"--octave", "x.wav"},
                                                           {"--octave=80-120", "x.wav"},
                                                           {"--octave", "AUTO", "x.wav"}};
    for (const auto& args : refused) {
        const Outcome result = detect(args);
        EXPECT_EQ(result.status, kExitUsage) << (args.empty() ? "" : args[0]);
        EXPECT_TRUE(result.out.empty());
        EXPECT_EQ(result.err.rfind("quorlen detect: ", 0), 0u) << result.err;
        EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    }
}

TEST(DetectCommand, ThreadCountsAreClampedNotRefused) {
    // -j reads like every other count: 0 and below mean one thread, a huge
    // one is capped; only the answer's speed may differ.
    const Library library;
    const std::string loop = library.path("drums/loop.wav");
    const Outcome one = detect({"-j", "1", loop});
    ASSERT_EQ(one.status, kExitOk) << one.err;
    for (const char* threads : {"0", "-1", "100000"}) {
        SCOPED_TRACE(threads);
        const Outcome result = detect({"--jobs=" + std::string(threads), loop});
        EXPECT_EQ(result.status, kExitOk) << result.err;
        EXPECT_EQ(result.out, one.out);
    }
}

TEST(DetectCommand, AnOctaveModeChangesTheTempoAndIsNamedInTheJson) {
    const Library library;
    const std::string loop = library.path("drums/loop.wav"); // 16 beats in 8 s
    const auto run = [&](std::vector<std::string> options) {
        options.push_back(loop);
        const Outcome result = detect(options);
        EXPECT_EQ(result.status, kExitOk) << result.err;
        return result.out;
    };
    const std::string classic = run({"--json"});
    EXPECT_EQ(run({"--json", "--octave", "classic"}), classic) << "classic is the default";
    EXPECT_EQ(classic.find("\"octave\""), std::string::npos) << classic;
    EXPECT_NE(classic.find("\"bpm\":120,"), std::string::npos) << classic;

    // Folded into [40, 80): 60 BPM, and the 8 s still hold whole bars (2).
    const std::string folded = run({"--json", "--octave=40-80"});
    EXPECT_NE(folded.find("\"bpm\":60,"), std::string::npos) << folded;
    EXPECT_NE(folded.find("\"snappedBars\":2,"), std::string::npos) << folded;
    EXPECT_NE(folded.find(",\"octave\":\"40-80\"}"), std::string::npos) << folded;
    EXPECT_NE(run({"--json", "--octave", "auto"}).find(",\"octave\":\"auto\"}"), std::string::npos);
    // The text line has no field for the mode; it shows the folded tempo.
    EXPECT_NE(run({"--octave", "150-300"}).find(": 240 BPM · "), std::string::npos);
}

TEST(DetectCommand, PrintsOneLinePerFileInSortedOrderAndFailsOnBadOnes) {
    const Library library;
    const Outcome result = detect({library.dir.path().string()});
    EXPECT_EQ(result.status, kExitFailed);
    const auto printed = lines(result.out);
    ASSERT_EQ(printed.size(), 3u) << result.out;
    // Sorted by path: "Slow.FLAC" < "loop.wav" < "notes.wav" (upper case first).
    EXPECT_EQ(printed[0].rfind(library.path("drums/Slow.FLAC") + ": 95 BPM · ", 0), 0u)
        << printed[0];
    EXPECT_NE(printed[0].find(" · 4 bars · "), std::string::npos);
    EXPECT_NE(printed[0].find(" · 10.1 s"), std::string::npos);
    EXPECT_EQ(printed[1].rfind(library.path("drums/loop.wav") + ": 120 BPM · ", 0), 0u)
        << printed[1];
    EXPECT_NE(printed[1].find(" · 4 bars · "), std::string::npos);
    EXPECT_NE(printed[1].find(" · 8.0 s"), std::string::npos);
    EXPECT_EQ(printed[2], library.path("drums/notes.wav") + ": Not an audio file");
    EXPECT_TRUE(result.err.empty());
}

TEST(DetectCommand, JsonLinesInInputOrderWhateverTheThreadCount) {
    const Library library;
    const std::vector<std::string> inputs = {library.path("drums/loop.wav"),
                                             library.path("missing.mp3"), library.path("drums")};
    std::vector<std::string> args = {"--json", "-j", "1"};
    args.insert(args.end(), inputs.begin(), inputs.end());
    const Outcome one = detect(args);
    args[2] = "3";
    EXPECT_EQ(detect(args).out, one.out);
    EXPECT_EQ(one.status, kExitFailed);
    const auto printed = lines(one.out);
    ASSERT_EQ(printed.size(), 5u);
    EXPECT_EQ(printed[0].rfind("{\"file\":\"" + inputs[0] + "\",\"bpm\":120,\"beatOffset\":", 0),
              0u)
        << printed[0];
    EXPECT_NE(printed[0].find(",\"snappedBars\":4,\"alternatives\":["), std::string::npos);
    EXPECT_NE(printed[0].find(",\"duration\":8,\"damaged\":false}"), std::string::npos);
    EXPECT_EQ(printed[1], "{\"file\":\"" + inputs[1] + "\",\"error\":\"File not found\"}");
    EXPECT_EQ(printed[3], printed[0]); // the same loop again, found in the folder
}

// A FIFO without a writer would block an open() forever; it is refused at
// once and the files after it are analysed as usual.
TEST(DetectCommand, RefusesAFifoAtOnceAndGoesOn) {
    const Library library;
    ASSERT_EQ(mkfifo(library.path("pipe.wav").c_str(), 0600), 0);
    const Outcome result = detect({library.path("pipe.wav"), library.path("drums/loop.wav")});
    EXPECT_EQ(result.status, kExitFailed);
    const auto printed = lines(result.out);
    ASSERT_EQ(printed.size(), 2u) << result.out;
    EXPECT_EQ(printed[0], library.path("pipe.wav") + ": Not a regular file");
    EXPECT_EQ(printed[1].rfind(library.path("drums/loop.wav") + ": 120 BPM · ", 0), 0u);
}

TEST(DetectCommand, EmptyFolderSucceedsWithANote) {
    const TempDir dir;
    detection::testing::writeBytes(dir.file("readme.txt"), "no audio here\n");
    const Outcome result = detect({dir.path().string()});
    EXPECT_EQ(result.status, kExitOk);
    EXPECT_TRUE(result.out.empty());
    EXPECT_EQ(result.err, "quorlen detect: no audio files found\n");
}

// Whether this process is held to file permissions (root is not).
bool permissionsApply(const TempDir& dir) {
    const auto probe = dir.file("probe");
    std::filesystem::create_directory(probe);
    std::filesystem::permissions(probe, std::filesystem::perms::none);
    std::error_code error;
    std::filesystem::directory_iterator it(probe, error);
    std::filesystem::permissions(probe, std::filesystem::perms::owner_all);
    return static_cast<bool>(error);
}

TEST(DetectCommand, UnreadableFoldersAreReportedNotSkipped) {
    const Library library;
    if (!permissionsApply(library.dir))
        GTEST_SKIP() << "file permissions do not apply to this user";
    namespace fs = std::filesystem;
    fs::create_directories(library.dir.file("locked"));
    fs::permissions(library.dir.file("locked"), fs::perms::none);
    const Outcome tree = detect({library.dir.path().string()});
    const Outcome alone = detect({library.path("locked")});
    fs::permissions(library.dir.file("locked"), fs::perms::owner_all);

    EXPECT_EQ(tree.status, kExitFailed);
    const auto printed = lines(tree.out);
    ASSERT_EQ(printed.size(), 4u) << tree.out;
    // In path order with the files: drums/... < locked.
    EXPECT_EQ(printed[3], library.path("locked") + ": Permission denied");
    EXPECT_EQ(alone.status, kExitFailed);
    EXPECT_EQ(alone.out, library.path("locked") + ": Permission denied\n");
    EXPECT_TRUE(alone.err.empty());
}

TEST(DetectCommand, StopsWhenTheOutputCannotBeWritten) {
    const Library library;
    std::ostringstream out, err;
    out.setstate(std::ios::badbit);
    const std::vector<std::string_view> args = {library.path("drums")};
    EXPECT_EQ(runDetect(args, out, err, {nullptr, false, 2}), kExitFailed);
}

TEST(DetectCommand, InterruptedRunPrintsNothingAndSaysSo) {
    const Library library;
    const std::atomic<bool> interrupted{true};
    const Outcome result = detect({library.dir.path().string()}, &interrupted);
    EXPECT_EQ(result.status, kExitInterrupted);
    EXPECT_TRUE(result.out.empty());
}

TEST(DetectCommand, IsListedInTheCommandTable) {
    std::ostringstream out, err;
    const std::vector<std::string_view> help = {"--help"};
    EXPECT_EQ(runCommandLine(help, out, err), kExitOk);
    EXPECT_NE(out.str().find("detect [--json] [-j N] [--octave classic|auto|LO-HI] PATH..."),
              std::string::npos);
    const std::vector<std::string_view> detectHelp = {"detect", "--help"};
    std::ostringstream out2;
    EXPECT_EQ(runCommandLine(detectHelp, out2, err), kExitOk);
    EXPECT_EQ(out2.str(), "usage: quorlen detect [--json] [-j N] [--octave classic|auto|LO-HI] "
                          "PATH...\n"
                          "      Tempo, beat offset, downbeat and confidence of audio files, or "
                          "of folders of them.\n");
}

} // namespace
} // namespace quorlen::cli
