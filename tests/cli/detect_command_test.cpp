#include "cli/detect_command.h"
#include "cli_run.h"
#include "support/lines.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

namespace quorlen::cli {
namespace {

using detection::testing::TempDir;
using quorlen::testing::lines;

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

TEST(DetectCommand, RangesBeyondThePickersBoundsAreRefused) {
    // A range must start at 30 to 200 BPM and end by 400: beyond, the fold
    // gives tempos no music has, or ones too large for the loop's bars.
    for (const char* range : {"100000000000-200000000000", "0.0000000001-1", "20-40", "210-420"}) {
        SCOPED_TRACE(range);
        const Outcome result = detect({"--octave", range, "x.wav"});
        EXPECT_EQ(result.status, kExitUsage);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(lines(result.err).front(),
                  "quorlen detect: '" + std::string(range) +
                      "' is not an octave mode (classic, auto, or LO-HI with LO from 30 to 200 "
                      "and HI from 2 x LO to 400)");
    }
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
    // -j reads like every other count: 0 and below mean one thread.
    for (const char* threads : {"3", "0", "-1"}) {
        args[2] = threads;
        EXPECT_EQ(detect(args).out, one.out) << threads;
    }
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

TEST(DetectCommand, EmptyFolderSucceedsWithANote) {
    const TempDir dir;
    detection::testing::writeBytes(dir.file("readme.txt"), "no audio here\n");
    const Outcome result = detect({dir.path().string()});
    EXPECT_EQ(result.status, kExitOk);
    EXPECT_TRUE(result.out.empty());
    EXPECT_EQ(result.err, "quorlen detect: no audio files found\n");
}

TEST(DetectCommand, StopsOnUnwritableOutputOrAnInterrupt) {
    const Library library;
    std::ostringstream out, err;
    out.setstate(std::ios::badbit);
    const std::string drums = library.path("drums");
    const std::vector<std::string_view> args = {drums};
    EXPECT_EQ(runDetect(args, out, err, {nullptr, false, 2}), kExitFailed);

    const std::atomic<bool> interrupted{true};
    const Outcome result = detect({library.dir.path().string()}, &interrupted);
    EXPECT_EQ(result.status, kExitInterrupted);
    EXPECT_TRUE(result.out.empty());
}

} // namespace
} // namespace quorlen::cli
