// Proves that sound leaves the program on a real device: a PulseAudio
// server of the test's own with a null sink, the voice pool over the real
// RtAudio backend (the app's sounds take the same way), and parecord on the
// sink's monitor. What each sound holds is checked against the fake output
// in the other audio suites; here the clicks must arrive, on their grid.
#include "cli/command_line.h"
#include "support/private_sound_server.h"
#include "support/wait.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <thread>

namespace quorlen {
namespace {

// Onsets: the first frame above the silence level after at least `gap`
// silent frames.
std::vector<int> onsets(const testing::PrivateSoundServer& server, int from, int gap) {
    std::vector<int> found;
    int silent = gap;
    for (int frame = from; frame < server.frameCount(); ++frame) {
        const bool sounding = std::abs(server.sample(frame, 0)) > testing::kSilenceLevel;
        if (sounding && silent >= gap)
            found.push_back(frame);
        silent = sounding ? 0 : silent + 1;
    }
    return found;
}

TEST(SoundOutput, TheCommandLineClickTrackIsOnItsGridToTheSample) {
    // `quorlen euclid 8 8 --play --cycles 2`: sixteen equal clicks 125 ms
    // (5512.5 frames) apart at 120 BPM in sixteenths, so click k is heard
    // llround(k × 5512.5) frames after the first, within a frame for the
    // level at which the recording first rises above silence.
    testing::PrivateSoundServer server;
    if (const QString reason = server.start(); !reason.isEmpty())
        GTEST_SKIP() << reason.toStdString();
    qputenv("PULSE_SERVER", server.address().toLocal8Bit());
    // The recorder must be running before the first click sounds.
    ASSERT_TRUE(server.waitForFrames(server.frameCount() + 22050, 10000))
        << "parecord records nothing";

    const int from = server.frameCount();
    int status = -1;
    std::ostringstream out;
    std::ostringstream err;
    // Joined on every way out, a failed wait included.
    std::jthread player([&] {
        const std::string_view args[] = {"euclid", "8", "8", "--play", "--cycles", "2"};
        status = cli::runCommandLine(args, out, err);
    });
    // Two seconds of clicks; the rest is room for a machine under load.
    ASSERT_TRUE(testing::waitUntil([&] { return onsets(server, from, 1000).size() >= 16; }, 20000))
        << err.str() << "heard at " << ::testing::PrintToString(onsets(server, from, 1000));
    player.join();
    EXPECT_EQ(status, cli::kExitOk) << err.str();

    const std::vector<int> heard = onsets(server, from, 1000);
    ASSERT_EQ(heard.size(), 16u);
    for (int frame = from; frame < server.frameCount(); ++frame)
        ASSERT_LE(std::abs(server.sample(frame, 0)), 1.0f) << frame;
    for (size_t k = 1; k < heard.size(); ++k)
        EXPECT_NEAR(heard[k] - heard[0], std::llround(static_cast<double>(k) * 5512.5), 1) << k;
}

} // namespace
} // namespace quorlen
