// Proves that sound leaves the app: a PulseAudio server of the test's own
// with a null sink, the real ChordPlayer over the real RtAudio backend, and
// parecord on the sink's monitor. The recording's strongest frequencies
// must be those of the click and of the triad that were played.
#include "audio/chord_player.h"
#include "audio/engine/rtaudio_backend.h"
#include "audio/tone_power.h"
#include "cli/command_line.h"
#include "support/private_sound_server.h"
#include "support/wait.h"

#include <gtest/gtest.h>

#include <sstream>
#include <thread>

namespace quorlen {
namespace {

using testing::powerAt;
constexpr int kSecond = 44100;

// The `count` strongest local maxima of the spectrum between `fromHz` and
// `toHz`, scanned every `stepHz`, in ascending frequency.
std::vector<double> strongestPeaks(std::span<const float> samples, double fromHz, double toHz,
                                   double stepHz, size_t count) {
    std::vector<std::pair<double, double>> spectrum; // (Hz, power)
    for (double hz = fromHz; hz <= toHz; hz += stepHz)
        spectrum.emplace_back(hz, powerAt(samples, hz));
    std::vector<std::pair<double, double>> peaks; // (power, Hz)
    for (size_t i = 1; i + 1 < spectrum.size(); ++i) {
        if (spectrum[i].second > spectrum[i - 1].second &&
            spectrum[i].second >= spectrum[i + 1].second)
            peaks.emplace_back(spectrum[i].second, spectrum[i].first);
    }
    std::sort(peaks.rbegin(), peaks.rend());
    std::vector<double> result;
    for (size_t i = 0; i < std::min(count, peaks.size()); ++i)
        result.push_back(peaks[i].second);
    std::sort(result.begin(), result.end());
    return result;
}

TEST(SoundOutput, AClickAndATriadReachTheSoundServer) {
    testing::PrivateSoundServer server;
    if (const QString reason = server.start(); !reason.isEmpty())
        GTEST_SKIP() << reason.toStdString();
    ASSERT_TRUE(server.waitForFrames(kSecond / 10, 10000)) << "parecord records nothing";

    qputenv("PULSE_SERVER", server.address().toLocal8Bit());
    ChordPlayer player(std::make_unique<RtAudioBackend>());

    // The click of a hit: 1760 Hz, with 0.35 of its octave.
    int start = server.frameCount();
    player.playTick(1760, 0.55f);
    const auto click = server.waitForSound(start, 5000);
    ASSERT_TRUE(click) << "the click never reached the sink";
    ASSERT_TRUE(server.waitForFrames(*click + kSecond / 5, 5000));
    const auto clickSamples = server.left(*click, 3087);
    for (int frame = *click; frame < *click + 3087; ++frame)
        ASSERT_EQ(server.sample(frame, 0), server.sample(frame, 1)) << frame;
    // 0.55 × 0.9 of a waveform that peaks near 1.1 after its 1.5 ms attack.
    EXPECT_GT(testing::peak(clickSamples), 0.2f);
    EXPECT_LT(testing::peak(clickSamples), 0.8f);
    const auto clickPeaks = strongestPeaks(clickSamples, 300, 5000, 5, 1);
    ASSERT_EQ(clickPeaks.size(), 1u);
    EXPECT_NEAR(clickPeaks[0], 1760, 40); // a 70 ms window resolves about ±15 Hz

    // A major triad on A4: 440, 554.37 and 659.26 Hz, the notes 45 ms apart.
    start = *click + 3087 + kSecond / 10;
    player.playTriad(440, synth::TriadQuality::major);
    const auto triad = server.waitForSound(start, 5000);
    ASSERT_TRUE(triad) << "the triad never reached the sink";
    ASSERT_TRUE(server.waitForFrames(*triad + 55125, 8000));
    const auto notes = strongestPeaks(server.left(*triad, 55125), 300, 800, 0.5, 3);
    ASSERT_EQ(notes.size(), 3u);
    EXPECT_NEAR(notes[0], 440.00, 1.5);
    EXPECT_NEAR(notes[1], 554.37, 1.5);
    EXPECT_NEAR(notes[2], 659.26, 1.5);
}

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

    const int from = server.frameCount();
    int status = -1;
    std::ostringstream out;
    std::ostringstream err;
    std::thread player([&] {
        const std::string_view args[] = {"euclid", "8", "8", "--play", "--cycles", "2"};
        status = cli::runCommandLine(args, out, err);
    });
    ASSERT_TRUE(testing::waitUntil([&] { return onsets(server, from, 1000).size() >= 16; }, 10000))
        << err.str();
    player.join();
    EXPECT_EQ(status, cli::kExitOk) << err.str();

    const std::vector<int> heard = onsets(server, from, 1000);
    ASSERT_EQ(heard.size(), 16u);
    EXPECT_LE(testing::peak(server.left(from, server.frameCount() - from)), 1.0f);
    for (size_t k = 1; k < heard.size(); ++k)
        EXPECT_NEAR(heard[k] - heard[0], std::llround(static_cast<double>(k) * 5512.5), 1) << k;
}

} // namespace
} // namespace quorlen
