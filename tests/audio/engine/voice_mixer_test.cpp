#include "audio/engine/peak_limiter.h"
#include "audio/engine/rate_adapter.h"
#include "audio/engine/step_grid.h"
#include "audio/engine/voice_mixer.h"
#include "audio/engine/voice_pool.h"
#include "audio/fake_audio_backend.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

namespace quorlen {
namespace {

VoiceMixer::Samples samples(std::vector<float> values) {
    return std::make_shared<const std::vector<float>>(std::move(values));
}

std::vector<float> render(RenderSource& source, int frameCount) {
    // 999 marks frames the source failed to write.
    std::vector<float> block(static_cast<size_t>(2 * frameCount), 999.0f);
    source.render(block.data(), frameCount);
    return block;
}

// Left channel of `frames` frames rendered in blocks of `blockFrames`.
std::vector<float> renderLeft(VoiceMixer& mixer, int frames, int blockFrames) {
    std::vector<float> left;
    while (static_cast<int>(left.size()) < frames) {
        const auto block = render(mixer, blockFrames);
        for (size_t i = 0; i < block.size(); i += 2)
            left.push_back(block[i]);
    }
    left.resize(static_cast<size_t>(frames));
    return left;
}

long firstSounding(const std::vector<float>& left) {
    return std::find_if(left.begin(), left.end(), [](float v) { return v != 0; }) - left.begin();
}

// A sine at `rateHz`, continuous across blocks.
class SineSource final : public RenderSource {
public:
    explicit SineSource(double frequencyHz, double rateHz = kRateHz)
        : m_frequencyHz(frequencyHz), m_rateHz(rateHz) {}
    void render(float* out, int frameCount) noexcept override {
        for (int i = 0; i < frameCount; ++i, ++m_frame) {
            const auto value = static_cast<float>(
                std::sin(2 * std::numbers::pi * m_frequencyHz * m_frame / m_rateHz));
            out[2 * i] = value;
            out[2 * i + 1] = -value;
        }
    }

private:
    double m_frequencyHz;
    double m_rateHz;
    long m_frame = 0;
};

TEST(VoiceMixer, ASoundDueInsideABlockStartsOnItsFrameWhateverTheBlockSize) {
    // Due frames land exactly, also when the due frame is the first or the
    // last of a block, or several blocks ahead.
    for (const int blockFrames : {1, 64, 256, 441, 512, 1024}) {
        for (const std::int64_t due : {0L, 1L, 255L, 256L, 700L, 5512L}) {
            VoiceMixer mixer(1.0f);
            mixer.play(3, samples({0.25f, 0.5f}), due);
            const auto left = renderLeft(mixer, 6000, blockFrames);
            EXPECT_EQ(firstSounding(left), due) << blockFrames << " / " << due;
            EXPECT_EQ(left[static_cast<size_t>(due) + 1], 0.5f);
        }
    }
}

TEST(VoiceMixer, ALateSoundPlaysWholeFromTheStartOfItsBlock) {
    VoiceMixer mixer(1.0f);
    render(mixer, 512); // the clock is at frame 512
    mixer.play(0, samples({0.1f, 0.2f, 0.3f}), 100);
    mixer.play(1, samples({0.4f}), VoiceMixer::kAsap);
    const auto block = render(mixer, 4);
    EXPECT_EQ(block, (std::vector<float>{0.5f, 0.5f, 0.2f, 0.2f, 0.3f, 0.3f, 0, 0}));
    EXPECT_EQ(mixer.framesRendered(), 516);
    EXPECT_EQ(mixer.lastBlockFrames(), 4);
}

TEST(VoiceMixer, AWaitingSoundCutsItsVoiceOnlyWhenItStarts) {
    VoiceMixer mixer(1.0f);
    mixer.play(3, samples(std::vector<float>(100, 0.1f)));
    render(mixer, 2);
    // Due at frame 5: frames 2...4 still hold the first sound.
    mixer.play(3, samples({0.7f, 0.8f}), 5);
    const auto left = renderLeft(mixer, 6, 3);
    EXPECT_EQ(left, (std::vector<float>{0.1f, 0.1f, 0.1f, 0.7f, 0.8f, 0}));

    // A newer waiting sound replaces one that has not started, unheard.
    mixer.play(4, samples({0.3f}), 20);
    mixer.play(4, samples({0.6f}), 12);
    const auto later = renderLeft(mixer, 20, 7);
    EXPECT_EQ(firstSounding(later), 12 - 8);
    EXPECT_EQ(later[4], 0.6f);
    for (size_t i = 5; i < later.size(); ++i)
        ASSERT_EQ(later[i], 0.0f) << i;
}

TEST(VoiceMixer, FreesABufferOnlyAfterTheAudioSideLetGoOfIt) {
    VoiceMixer mixer(1.0f);
    auto cut = samples({1, 1, 1, 1});
    auto unheard = samples({2});
    const std::weak_ptr<const std::vector<float>> watchCut = cut, watchUnheard = unheard;
    mixer.play(0, std::move(cut));
    render(mixer, 1); // the audio side now reads the first buffer
    mixer.play(1, std::move(unheard), 1000);
    mixer.play(0, samples({3}), 3);
    mixer.play(2, samples({0}));
    EXPECT_FALSE(watchCut.expired()) << "freed while the audio side may still read it";

    render(mixer, 4);            // frame 3 cuts the first buffer
    mixer.play(1, samples({4})); // replaces the unheard one with the next block
    render(mixer, 1);
    mixer.play(5, samples({0})); // the main thread collects what came back
    EXPECT_TRUE(watchCut.expired());
    EXPECT_TRUE(watchUnheard.expired());
    render(mixer, 1);
    mixer.play(6, samples({0}));
    EXPECT_LE(mixer.buffersHeld(), 2u);
}

TEST(VoiceMixer, DiscardDropsWhatIsQueuedOrPlayingAndMuteSilencesWhileTheClockRuns) {
    for (const bool discard : {true, false}) {
        VoiceMixer mixer(1.0f);
        mixer.play(0, samples(std::vector<float>(50, 0.5f)));
        render(mixer, 10);
        mixer.play(1, samples({0.5f}), 20);
        if (discard) {
            mixer.discard();
            mixer.play(2, samples({0}), 1'000'000);
            EXPECT_EQ(mixer.buffersHeld(), 1u);
        } else {
            mixer.mute();
        }
        for (const float sample : render(mixer, 30))
            ASSERT_EQ(sample, 0.0f) << discard;
        EXPECT_EQ(mixer.framesRendered(), 40);
    }
}

TEST(VoiceMixer, SixteenLoudVoicesStayWithinFullScale) {
    // 16 overlapping full-scale sines sum to 14.4 at volume 0.9; the limiter
    // holds every sample within its ceiling, and the mix recovers its gain
    // once the voices have ended.
    VoiceMixer mixer(0.9f);
    SineSource sine(440);
    const auto tone = render(sine, 4410);
    std::vector<float> left;
    for (size_t i = 0; i < tone.size(); i += 2)
        left.push_back(tone[i]);
    for (int voice = 0; voice < VoiceMixer::kVoiceCount; ++voice)
        mixer.play(voice, samples(left), voice * 3);
    const auto mixed = renderLeft(mixer, 5000, 256);
    const float peak = std::abs(*std::max_element(
        mixed.begin(), mixed.end(), [](float a, float b) { return std::abs(a) < std::abs(b); }));
    EXPECT_LE(peak, PeakLimiter::kCeiling);
    EXPECT_GT(peak, 0.9f);

    renderLeft(mixer, 2 * 44100, 256); // two seconds of silence: the gain is back
    mixer.play(0, samples({0.5f}));
    EXPECT_EQ(render(mixer, 1)[0], 0.45f);
}

TEST(PeakLimiter, LeavesQuietBlocksAloneAndNeverStepsWhileRecovering) {
    PeakLimiter limiter;
    std::vector<float> quiet{0.5f, -0.5f, 0.97f, -0.97f};
    limiter.process(quiet.data(), 2);
    EXPECT_EQ(quiet, (std::vector<float>{0.5f, -0.5f, 0.97f, -0.97f}));

    std::vector<float> loud{2.0f, 2.0f, 1.0f, 1.0f};
    limiter.process(loud.data(), 2);
    EXPECT_FLOAT_EQ(loud[0], PeakLimiter::kCeiling);
    EXPECT_FLOAT_EQ(loud[2], PeakLimiter::kCeiling / 2);

    // Recovery ramps the gain up within each block, never past the ceiling.
    std::vector<float> steady(2 * 256, 0.9f);
    float previousGain = limiter.gain();
    for (int block = 0; block < 10; ++block) {
        std::vector<float> copy = steady;
        limiter.process(copy.data(), 256);
        for (size_t i = 2; i < copy.size(); i += 2)
            ASSERT_GE(copy[i], copy[i - 2]) << block;
        ASSERT_LE(copy.back(), PeakLimiter::kCeiling);
        EXPECT_GE(limiter.gain(), previousGain);
        previousGain = limiter.gain();
    }
}

int upwardZeroCrossings(const std::vector<float>& interleaved, int channel) {
    int count = 0;
    for (size_t i = 2 + static_cast<size_t>(channel); i < interleaved.size(); i += 2)
        count += interleaved[i - 2] < 0 && interleaved[i] >= 0 ? 1 : 0;
    return count;
}

TEST(RateAdapter, KeepsThePitchAtEveryDeviceRateAndPassesEqualRatesThrough) {
    // One second of a 1 kHz tone has 1000 upward zero crossings at any rate
    // (±1 for where the second starts); a 44.1 kHz source played unadapted
    // at 48 kHz would have 1088.
    const std::pair<double, double> rates[] = {{44100, 44100}, {44100, 48000}, {44100, 96000},
                                               {44100, 22050}, {44100, 32000}, {48000, 48000},
                                               {48000, 44100}, {96000, 96000}};
    for (const auto& [sourceRateHz, deviceRateHz] : rates) {
        SineSource source(1000, sourceRateHz);
        RateAdapter adapter;
        adapter.reset(sourceRateHz, deviceRateHz);
        std::vector<float> second(2 * static_cast<size_t>(deviceRateHz) + 2 * 441, 999.0f);
        for (size_t done = 0; done < static_cast<size_t>(deviceRateHz); done += 441)
            adapter.render(source, second.data() + 2 * done, 441);
        second.resize(static_cast<size_t>(2 * deviceRateHz));
        EXPECT_NEAR(upwardZeroCrossings(second, 0), 1000, 1) << sourceRateHz << " " << deviceRateHz;
        // Channels stay apart: the right one is the left inverted.
        EXPECT_FLOAT_EQ(second[1001], -second[1000]) << deviceRateHz;
        // A source at the device's rate is heard as it renders, frame for frame.
        if (sourceRateHz == deviceRateHz) {
            SineSource direct(1000, sourceRateHz);
            EXPECT_EQ(second, render(direct, static_cast<int>(deviceRateHz))) << deviceRateHz;
        }
    }
}

TEST(StepGrid, DueFramesRoundTheExactProductSoNothingDrifts) {
    // Steps in frames at 44.1 kHz: 120 BPM sixteenths are 0.125 s = 5512.5
    // frames, so steps alternate 5512 and 5513 (halves round away from 0);
    // 90 BPM chords are 4/3 s = 58800 frames exactly; 1/3 s is 14700.
    struct Case {
        double stepSeconds;
        std::vector<std::int64_t> intervals;
        std::int64_t dueAt1000; // anchor 1000 + round(1000 × step)
    };
    const Case cases[] = {
        {0.125, {5513, 5512, 5513, 5512}, 1000 + 5512500},
        {120.0 / 90.0, {58800, 58800, 58800, 58800}, 1000 + 58800000},
        {0.22, {9702, 9702, 9702, 9702}, 1000 + 9702000},
        {1.0 / 3.0, {14700, 14700, 14700, 14700}, 1000 + 14700000},
    };
    for (const Case& c : cases) {
        const StepGrid grid = StepGrid::fromSeconds(1000, c.stepSeconds);
        EXPECT_EQ(grid.dueFrame(0), 1000);
        for (size_t i = 0; i < c.intervals.size(); ++i)
            EXPECT_EQ(grid.dueFrame(static_cast<std::int64_t>(i) + 1) -
                          grid.dueFrame(static_cast<std::int64_t>(i)),
                      c.intervals[i])
                << c.stepSeconds << " step " << i;
        EXPECT_EQ(grid.dueFrame(1000), c.dueAt1000) << c.stepSeconds;
    }
}

TEST(StepGrid, StepAfterIsTheFirstStepNotYetDue) {
    const StepGrid grid = StepGrid::fromSeconds(100, 0.125);
    EXPECT_EQ(grid.stepAfter(0), 0);
    EXPECT_EQ(grid.stepAfter(100), 1);
    EXPECT_EQ(grid.stepAfter(100 + 5512), 1);
    EXPECT_EQ(grid.stepAfter(100 + 5513), 2);
    EXPECT_EQ(grid.stepAfter(100 + 5512500), 1001);
}

TEST(StepGrid, TheFirstSafeFrameIsAWholeOutputQueuePastWhatWasRendered) {
    VoiceMixer mixer(1.0f);
    EXPECT_EQ(firstSafeFrame(mixer, 0), 2048) << "the first block may be under way, of any size";
    std::vector<float> block(2 * 300);
    mixer.render(block.data(), 300);
    mixer.render(block.data(), 200);
    EXPECT_EQ(firstSafeFrame(mixer, 0), 500 + 200) << "an output of unknown queue: one block";
    // 16 blocks of 256 at 44.1 kHz: an output that fills its queue in one
    // go may render all of it before a sound queued now reaches the mixer.
    EXPECT_EQ(firstSafeFrame(mixer, 4096 / 44100.0), 500 + 4096);
    EXPECT_EQ(firstSafeFrame(mixer, 100 / 44100.0), 500 + 200) << "never less than a block";
}

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

TEST(VoicePool, TheSafeFrameAllowsForTheQueueOfTheOutputThatIsRunning) {
    auto owned = std::make_unique<testing::FakeAudioBackend>();
    testing::FakeAudioBackend& backend = *owned;
    VoicePool voices(std::move(owned));
    backend.latency = 0.05;
    ASSERT_TRUE(voices.startOutput());
    backend.pull(256);
    EXPECT_EQ(voices.safeFrame(), 256 + 2205);
    voices.pauseOutput();
    EXPECT_EQ(voices.safeFrame(), 256 + 256) << "a paused output holds nothing";
}

} // namespace
} // namespace quorlen
