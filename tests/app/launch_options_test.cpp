#include "app/launch_options.h"

#include <gtest/gtest.h>

namespace quorlen {
namespace {

// The arguments as typed, split at spaces.
std::variant<LaunchOptions, LaunchError> parse(const char* line) {
    return parseLaunchOptions(QString::fromLatin1(line).split(u' ', Qt::SkipEmptyParts));
}

TEST(LaunchOptions, ScreenshotDetectAndOpenTakeTheirArguments) {
    const auto parsed = parse("--screenshot out.png --tool harmony --scheme dark --size 1200x800");
    const auto* options = std::get_if<LaunchOptions>(&parsed);
    ASSERT_NE(options, nullptr);
    EXPECT_EQ(options->screenshotPath, QStringLiteral("out.png"));
    EXPECT_EQ(options->tool, QStringLiteral("harmony"));
    EXPECT_EQ(options->scheme, ColorScheme::Dark);
    EXPECT_EQ(options->size, QSize(1200, 800));

    // The largest size, and an extension in capitals.
    const auto detect = parse("--screenshot SHOT.PNG --size 8192x8192 --detect loop.wav");
    ASSERT_TRUE(std::holds_alternative<LaunchOptions>(detect));
    EXPECT_EQ(std::get<LaunchOptions>(detect).detectPath, QStringLiteral("loop.wav"));
    EXPECT_EQ(std::get<LaunchOptions>(detect).tool, QStringLiteral("bpm"));
    EXPECT_TRUE(std::holds_alternative<LaunchOptions>(parse("")));

    // One audio file opens the tempo tool on it, without a screenshot.
    const auto open = parse("song.wav");
    ASSERT_TRUE(std::holds_alternative<LaunchOptions>(open));
    EXPECT_EQ(std::get<LaunchOptions>(open).openPath, QStringLiteral("song.wav"));
    EXPECT_FALSE(std::get<LaunchOptions>(open).screenshotPath);
}

TEST(LaunchOptions, RefusesWhatItCannotDo) {
    // "--tool" goes only with "--screenshot". The last three: a picture too
    // big to render in reasonable time and memory, and file names that
    // promise a format other than the PNG written.
    const char* refused[] = {"--screenshot",
                             "--screenshot a.png --tool drums",
                             "--screenshot a.png --scheme sepia",
                             "--screenshot a.png --size big",
                             "--screenshot a.png --size 960x",
                             "--tool bpm",
                             "--detect a.wav",
                             "--screenshot a.png --detect",
                             "--screenshot a.png --tool harmony --detect a.wav",
                             "--frobnicate",
                             "a.wav b.wav",
                             "a.wav --screenshot x.png",
                             "--screenshot a.png --size 960x8193",
                             "--screenshot x.jpg",
                             "--screenshot png"};
    for (const char* line : refused) {
        const auto parsed = parse(line);
        ASSERT_TRUE(std::holds_alternative<LaunchError>(parsed)) << line;
        EXPECT_FALSE(std::get<LaunchError>(parsed).reason.isEmpty());
    }
}

} // namespace
} // namespace quorlen
