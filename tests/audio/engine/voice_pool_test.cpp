#include "audio/engine/voice_pool.h"
#include "audio/fake_audio_backend.h"

#include <gtest/gtest.h>

#include <memory>

namespace quorlen {
namespace {

TEST(VoicePool, SixteenVoicesRoundRobinAndARefusedSoundTakesNoVoice) {
    auto owned = std::make_unique<testing::FakeAudioBackend>();
    testing::FakeAudioBackend& backend = *owned;
    VoicePool voices(std::move(owned));
    // 64 sounds fill the handoff ring; the 65th is refused and the voice
    // it would have had goes to the next sound the mixer takes.
    for (int i = 0; i < 64; ++i) {
        ASSERT_EQ(voices.nextVoice(), i % 16);
        ASSERT_TRUE(voices.play({0.1f}, 1'000'000));
    }
    EXPECT_FALSE(voices.play({0.1f}, 1'000'000));
    EXPECT_EQ(voices.nextVoice(), 0);
    backend.pull(1);
    EXPECT_TRUE(voices.play({0.1f}, 1'000'000));
    EXPECT_EQ(voices.nextVoice(), 1);
}

} // namespace
} // namespace quorlen
