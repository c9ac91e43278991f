// The app run as a separate process (offscreen) under hostile conditions:
// a settings file that is no file, screenshot requests beyond sane bounds,
// memory refused during an analysis. Each ends in bounded time with the
// right status.
#include "child_process.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <filesystem>
#include <string_view>
#include <sys/stat.h>

namespace quorlen::testing {
namespace {

namespace fs = std::filesystem;
using detection::testing::TempDir;

// The app with its settings in `home`, never the user's own.
ChildRun app(const TempDir& home, std::vector<std::string> args) {
    ChildRun run;
    run.argv = {QUORLEN_APP_PATH};
    run.argv.insert(run.argv.end(), args.begin(), args.end());
    run.environment = {{"QT_QPA_PLATFORM", "offscreen"},
                       {"XDG_CONFIG_HOME", home.file("config").string()},
                       {"HOME", home.path().string()}};
    run.addressSpaceBytes = 4ull << 30;
    run.timeout = std::chrono::seconds(60);
    return run;
}

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

bool isPng(const fs::path& path) {
    return fs::exists(path) &&
           detection::testing::readBytes(path).rfind("\x89PNG\r\n\x1a\n", 0) == 0;
}

TEST(AppFaults, ScreenshotsBeyondSaneBoundsAreRefusedAtOnce) {
    const TempDir home;
    const std::string png = home.file("shot.png").string();
    const struct {
        std::vector<std::string> args;
        const char* reason;
    } cases[] = {
        {{"--screenshot", png, "--size", "40000x40000"},
         "quorlen-calculator: --size goes up to 8192x8192"},
        {{"--screenshot", home.file("shot.bogus").string()},
         "quorlen-calculator: --screenshot writes PNG: the file name must end in .png"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reason);
        const ChildResult result = runChild(app(home, c.args));
        EXPECT_EQ(result.status, 2);
        EXPECT_LT(result.seconds, 5);
        EXPECT_EQ(firstLine(result.err), c.reason);
    }
    EXPECT_TRUE(fs::is_empty(home.path()));
}

TEST(AppFaults, ASettingsPathThatIsNoFileDoesNotHoldTheStartUp) {
    // A FIFO never answers a read; a folder cannot be read as a file; a
    // link to itself leads nowhere.
    for (const char* kind : {"fifo", "folder", "self link"}) {
        SCOPED_TRACE(kind);
        const TempDir home;
        fs::create_directories(home.file("config/quorlen"));
        const fs::path settings = home.file("config/quorlen/calculator.conf");
        if (kind == std::string_view("fifo"))
            ASSERT_EQ(mkfifo(settings.c_str(), 0600), 0);
        else if (kind == std::string_view("folder"))
            fs::create_directory(settings);
        else
            fs::create_symlink(settings.filename(), settings);
        const fs::path png = home.file("shot.png");
        const ChildResult result =
            runChild(app(home, {"--screenshot", png.string(), "--tool", "rhythm"}));
        EXPECT_FALSE(result.timedOut);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_LT(result.seconds, 30);
        EXPECT_TRUE(isPng(png));
        EXPECT_EQ(result.err, "quorlen-calculator: " + settings.string() +
                                  " is not a regular file; settings are not kept\n");
    }
}

TEST(AppFaults, AFifoToAnalyseDoesNotHoldTheWindow) {
    const TempDir home;
    const fs::path fifo = home.file("stream.wav");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const fs::path png = home.file("shot.png");
    const ChildResult result =
        runChild(app(home, {"--screenshot", png.string(), "--detect", fifo.string()}));
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_LT(result.seconds, 30);
    EXPECT_TRUE(isPng(png));
}

TEST(AppFaults, AnAnalysisOutOfMemoryShowsItsMessage) {
    QUORLEN_SKIP_UNDER_SANITIZER();
    const TempDir home;
    namespace t = detection::testing;
    const fs::path loop = home.file("loop.wav");
    ASSERT_TRUE(t::writeSound(loop, t::clickTrain({.bpm = 120, .seconds = 30, .rateHz = 44100}), 1,
                              44100, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    const fs::path png = home.file("shot.png");
    ChildRun run = app(home, {"--screenshot", png.string(), "--detect", loop.string()});
    // The decoded file (30 s, 5 MB as floats) is refused; the window itself
    // (960 x 720 x 4 bytes) still fits.
    run.environment.push_back({"LD_PRELOAD", QUORLEN_FAULT_SHIM_PATH});
    run.environment.push_back({"QUORLEN_FAULT_ALLOC_ABOVE", "4000000"});
    const ChildResult result = runChild(run);
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.signal, 0) << result.err;
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(isPng(png));
}

} // namespace
} // namespace quorlen::testing
