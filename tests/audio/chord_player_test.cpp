#include "audio/chord_player.h"
#include "fake_audio_backend.h"
#include "support/wait.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <memory>

namespace quorlen {
namespace {

using testing::FakeAudioBackend;
using namespace std::chrono_literals;

struct Rig {
    explicit Rig(std::chrono::milliseconds idleDelay = ChordPlayer::kIdleDelay) {
        auto owned = std::make_unique<FakeAudioBackend>();
        backend = owned.get();
        player = std::make_unique<ChordPlayer>(std::move(owned), idleDelay);
    }
    FakeAudioBackend* backend;
    std::unique_ptr<ChordPlayer> player;
};

// Left channel of `frames` frames, after checking the right one equals it.
std::vector<float> pullMono(FakeAudioBackend& backend, int frames) {
    const std::vector<float> block = backend.pull(frames);
    std::vector<float> left;
    for (size_t i = 0; i < block.size(); i += 2) {
        EXPECT_EQ(block[i], block[i + 1]) << "frame " << i / 2;
        left.push_back(block[i]);
    }
    return left;
}

TEST(ChordPlayer, EachRequestPlaysItsBufferAtTheOutputVolume) {
    // What each request must sound like: its rendering × 0.9, both channels.
    const auto triad = synth::triadFrequencies(440, synth::TriadQuality::diminished);
    const synth::Partial partials[] = {{220, 1}, {440, 0.5f}};
    struct Case {
        std::function<void(ChordPlayer&)> request;
        std::vector<float> expected;
    };
    const Case cases[] = {
        {[](ChordPlayer& p) { p.playTriad(440, synth::TriadQuality::diminished); },
         synth::makeBuffer(triad)},
        {[&](ChordPlayer& p) { p.playPartials(partials); }, synth::makePartialsBuffer(partials)},
        {[](ChordPlayer& p) { p.playTick(1760, 0.55f); }, synth::makeTickBuffer(1760, 0.55f)},
    };
    for (const Case& c : cases) {
        Rig rig;
        EXPECT_EQ(rig.backend->starts, 0) << "the output starts with the first sound only";
        c.request(*rig.player);
        EXPECT_TRUE(rig.backend->isRunning());
        const auto played = pullMono(*rig.backend, static_cast<int>(c.expected.size()) + 10);
        for (size_t n = 0; n < c.expected.size(); n += 7)
            ASSERT_EQ(played[n], c.expected[n] * ChordPlayer::kOutputVolume) << n;
        EXPECT_EQ(played.back(), 0.0f);
    }
}

TEST(ChordPlayer, FailuresDropTheSoundAndTheNextRequestTriesAgain) {
    Rig rig;
    rig.backend->failStarts = true;
    rig.player->playTick(1760, 0.55f);
    EXPECT_EQ(rig.backend->starts, 1);
    EXPECT_EQ(rig.player->nextPlayer(), 0) << "a dropped sound takes no voice";
    EXPECT_FALSE(rig.player->isIdlePausePending());

    rig.backend->failStarts = false;
    rig.player->playTick(1760, 0.55f);
    EXPECT_EQ(rig.backend->starts, 2);
    EXPECT_EQ(rig.player->nextPlayer(), 1);

    // A running output is not started again, until its device goes away.
    rig.player->playTick(1760, 0.55f);
    EXPECT_EQ(rig.backend->starts, 2);
    rig.backend->disappear();
    rig.player->playTick(1760, 0.55f);
    EXPECT_EQ(rig.backend->starts, 3);
    EXPECT_EQ(rig.player->nextPlayer(), 3);
}

TEST(ChordPlayer, PausesAfterTheIdleDelayCountedFromTheLastSound) {
    // A shortened idle delay; a pause may come late under load but never
    // before the delay has passed since the last request.
    constexpr auto kDelay = 300ms;
    Rig rig(kDelay);
    QElapsedTimer sinceFirst;
    sinceFirst.start();
    rig.player->playTick(1760, 0.55f);
    QTest::qWait(200);
    QElapsedTimer sinceLast;
    sinceLast.start();
    rig.player->playTick(1175, 0.16f);
    ASSERT_EQ(rig.backend->pauses, 0) << "paused too early; the machine may be overloaded";

    ASSERT_TRUE(testing::waitUntil([&] { return rig.backend->pauses > 0; }, 5000));
    EXPECT_GE(sinceLast.elapsed(), kDelay.count());
    EXPECT_GE(sinceFirst.elapsed(), 500) << "the second sound did not postpone the pause";
    EXPECT_FALSE(rig.backend->isRunning());
    EXPECT_EQ(rig.backend->pauses, 1);

    // The next sound starts the output again and pauses it again.
    rig.player->playTick(1760, 0.55f);
    EXPECT_TRUE(rig.backend->isRunning());
    EXPECT_EQ(rig.backend->starts, 2);
    ASSERT_TRUE(testing::waitUntil([&] { return rig.backend->pauses == 2; }, 5000));
}

} // namespace
} // namespace quorlen
