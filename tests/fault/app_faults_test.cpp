// The app run as a separate process (offscreen) under hostile conditions:
// a settings file that is no file, screenshot requests beyond sane bounds,
// memory refused during an analysis. Each ends in bounded time with the
// right status.
#include "child_process.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <filesystem>
#include <sys/stat.h>

namespace quorlen::testing {
namespace {

namespace fs = std::filesystem;
namespace t = detection::testing;

// The app with its settings in `home`, never the user's own.
ChildRun app(const t::TempDir& home, std::vector<std::string> args) {
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

// A picture too big to render in reasonable time and memory is refused
// before any rendering (the parser's other refusals are tested in-process).
TEST(AppFaults, AScreenshotBeyondSaneBoundsIsRefusedAtOnce) {
    const t::TempDir home;
    const ChildResult result = runChild(
        app(home, {"--screenshot", home.file("shot.png").string(), "--size", "40000x40000"}));
    EXPECT_EQ(result.status, 2);
    EXPECT_LT(result.seconds, 5);
    EXPECT_TRUE(result.err.starts_with("quorlen-calculator: --size goes up to 8192x8192\n"));
    EXPECT_TRUE(fs::is_empty(home.path()));
}

// Each case starts the app on a screenshot; it must end by itself, with the
// picture written. A FIFO never answers a read; a folder cannot be read as a
// file; a link to itself leads nowhere. Out of memory, the decoded file (30
// s, 5 MB as floats) is refused; the window itself (960 x 720 x 4 bytes)
// still fits.
TEST(AppFaults, WhatCannotBeReadDoesNotHoldTheWindow) {
    for (const std::string kind : {"settings fifo", "settings folder", "settings self link",
                                   "fifo to analyse", "analysis out of memory"}) {
        SCOPED_TRACE(kind);
        const bool settingsCase = kind.starts_with("settings"),
                   outOfMemory = kind.ends_with("memory");
        if (outOfMemory && kUnderSanitizer)
            continue;
        const t::TempDir home;
        const fs::path settings = home.file("config/quorlen/calculator.conf"),
                       loop = home.file("loop.wav"), png = home.file("shot.png");
        fs::create_directories(settings.parent_path());
        if (kind == "settings fifo" || kind == "fifo to analyse")
            ASSERT_EQ(mkfifo((settingsCase ? settings : loop).c_str(), 0600), 0);
        else if (kind == "settings folder")
            fs::create_directory(settings);
        else if (kind == "settings self link")
            fs::create_symlink(settings.filename(), settings);
        else
            ASSERT_TRUE(t::writeSound(loop, t::clickTrain({.bpm = 120, .seconds = 30}), 1, 44100,
                                      SF_FORMAT_WAV | SF_FORMAT_PCM_16));
        ChildRun run =
            app(home, {"--screenshot", png.string(), settingsCase ? "--tool" : "--detect",
                       settingsCase ? "rhythm" : loop.string()});
        if (outOfMemory)
            run.environment.insert(run.environment.end(),
                                   {{"LD_PRELOAD", QUORLEN_FAULT_SHIM_PATH},
                                    {"QUORLEN_FAULT_ALLOC_ABOVE", "4000000"}});
        const ChildResult result = runChild(run);
        EXPECT_FALSE(result.timedOut);
        EXPECT_EQ(result.signal, 0) << result.err;
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_LT(result.seconds, 30);
        EXPECT_TRUE(fs::exists(png) && t::readBytes(png).starts_with("\x89PNG\r\n\x1a\n"));
        if (settingsCase) {
            EXPECT_EQ(result.err, "quorlen-calculator: " + settings.string() +
                                      " is not a regular file; settings are not kept\n");
        }
    }
}

} // namespace
} // namespace quorlen::testing
