#include "audio/engine/voice_pool.h"
#include "audio/fake_audio_backend.h"

#include <gtest/gtest.h>

#include <memory>

namespace quorlen {
namespace {

using testing::FakeAudioBackend;

struct Pool {
    Pool() {
        auto owned = std::make_unique<FakeAudioBackend>();
        backend = owned.get();
        voices = std::make_unique<VoicePool>(std::move(owned));
    }
    FakeAudioBackend* backend;
    std::unique_ptr<VoicePool> voices;
};

TEST(VoicePool, SixteenVoicesRoundRobinAndARefusedSoundTakesNoVoice) {
    Pool pool;
    // 64 sounds fill the handoff ring; the 65th is refused and the voice
    // it would have had goes to the next sound the mixer takes.
    for (int i = 0; i < 64; ++i) {
        ASSERT_EQ(pool.voices->nextVoice(), i % 16);
        ASSERT_TRUE(pool.voices->play({0.1f}, 1'000'000));
    }
    EXPECT_FALSE(pool.voices->play({0.1f}, 1'000'000));
    EXPECT_EQ(pool.voices->nextVoice(), 0);
    pool.backend->pull(1);
    EXPECT_TRUE(pool.voices->play({0.1f}, 1'000'000));
    EXPECT_EQ(pool.voices->nextVoice(), 1);
}

} // namespace
} // namespace quorlen
