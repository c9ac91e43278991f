// The preview heard on a sound server: a PulseAudio server of the test's
// own with a null sink, the real player over the real RtAudio backend, and
// parecord on the sink's monitor. A file whose every second holds another
// tone is previewed from its third second; the recording must start with
// that second's tone, faded in, and go on to the next one.
#include "audio/engine/rtaudio_backend.h"
#include "support/private_sound_server.h"
#include "support/wait.h"
#include "tempo_detection/tempo_preview_player.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

namespace quorlen {
namespace {

// Of 300, 500, 700 and 900 Hz, the one with the most power in a stretch of
// 44.1 kHz samples (Goertzel's recurrence).
double strongest(std::span<const float> samples) {
    const auto power = [&](double hz) {
        const double coefficient = 2 * std::cos(2 * std::numbers::pi * hz / 44100);
        double previous = 0, beforePrevious = 0;
        for (const float sample : samples)
            beforePrevious =
                std::exchange(previous, sample + coefficient * previous - beforePrevious);
        return previous * previous + beforePrevious * beforePrevious -
               coefficient * previous * beforePrevious;
    };
    const double tones[] = {300, 500, 700, 900};
    return *std::ranges::max_element(tones, {}, power);
}

float peak(std::span<const float> samples) {
    return std::abs(*std::ranges::max_element(samples, {}, [](float s) { return std::abs(s); }));
}

TEST(PreviewSound, APreviewFromTheThirdSecondIsHeardFadedIn) {
    testing::PrivateSoundServer server;
    if (const QString reason = server.start(); !reason.isEmpty())
        GTEST_SKIP() << reason.toStdString();
    // Second s of the file holds a 0.5 sine of 300 + 200 s Hz.
    detection::testing::TempDir dir;
    std::vector<float> tones;
    for (const double hz : {300.0, 500.0, 700.0, 900.0})
        std::ranges::copy(detection::testing::sine(hz, 1.0, 44100, 0.5f),
                          std::back_inserter(tones));
    const std::string path = dir.file("tones.wav").string();
    ASSERT_TRUE(
        detection::testing::writeSound(path, tones, 1, 44100, SF_FORMAT_WAV | SF_FORMAT_FLOAT));

    qputenv("PULSE_SERVER", server.address().toLocal8Bit());
    TempoPreviewPlayer player(std::make_unique<RtAudioBackend>());
    const int before = server.frameCount();
    std::optional<QString> error;
    player.start(
        QString::fromStdString(path), 2.0, [] {},
        [&](std::optional<QString> outcome) { error = outcome; });
    ASSERT_TRUE(testing::waitUntil([&] { return player.isPlaying() || error; }));
    ASSERT_FALSE(error) << error->toStdString();
    const auto onset = server.waitForSound(before, 5000);
    ASSERT_TRUE(onset) << "the preview never reached the sink";
    ASSERT_TRUE(server.waitForFrames(*onset + 66150, 8000)); // 1.5 s
    const auto heard = server.left(*onset, 66150);
    const std::span<const float> all(heard);

    // The third second's tone, not the first: the preview starts where asked.
    EXPECT_EQ(strongest(all.subspan(0, 22050)), 700);
    EXPECT_EQ(strongest(all.subspan(48510, 13230)), 900);
    // A 12 ms (529-frame) raised-cosine rise: quiet in its first 60 frames
    // (gain under 0.05), at full level (0.5) once it is over.
    EXPECT_LT(peak(all.subspan(0, 60)), 0.05f);
    EXPECT_NEAR(peak(all.subspan(700, 400)), 0.5f, 0.05f);
    player.stop(false);
}

} // namespace
} // namespace quorlen
