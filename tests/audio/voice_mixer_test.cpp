#include "audio/rate_adapter.h"
#include "audio/voice_mixer.h"

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

TEST(VoiceMixer, PlaysEachBufferOnceOnBothChannelsAtTheOutputVolume) {
    VoiceMixer mixer(0.5f);
    mixer.play(0, samples({1, 2, 3}));
    mixer.play(5, samples({10, 20}));
    // Frames: (1+10, 2+20, 3, silence...) × 0.5, split over two blocks.
    const auto first = render(mixer, 2);
    const auto second = render(mixer, 3);
    EXPECT_EQ(first, (std::vector<float>{5.5f, 5.5f, 11, 11}));
    EXPECT_EQ(second, (std::vector<float>{1.5f, 1.5f, 0, 0, 0, 0}));
}

TEST(VoiceMixer, ANewBufferCutsWhatItsVoicePlayed) {
    VoiceMixer mixer(1.0f);
    mixer.play(3, samples({1, 1, 1, 1}));
    render(mixer, 2);
    mixer.play(3, samples({7, 8}));
    EXPECT_EQ(render(mixer, 3), (std::vector<float>{7, 7, 8, 8, 0, 0}));
}

TEST(VoiceMixer, KeepsAReplacedBufferUntilTheAudioSideHasLetGoOfIt) {
    VoiceMixer mixer(1.0f);
    auto first = samples({1, 1, 1, 1});
    std::weak_ptr<const std::vector<float>> watch = first;
    mixer.play(0, std::move(first));
    render(mixer, 1); // the audio side now reads the first buffer

    mixer.play(0, samples({2}));
    mixer.play(1, samples({3}));
    EXPECT_FALSE(watch.expired()) << "released while the audio side may still read it";

    render(mixer, 1); // takes the replacing command
    mixer.play(2, samples({4}));
    EXPECT_TRUE(watch.expired());
}

TEST(VoiceMixer, RefusesCommandsWhenTheAudioSideFallsBehind) {
    VoiceMixer mixer(1.0f);
    int accepted = 0;
    for (int i = 0; i < 70; ++i)
        accepted += mixer.play(i % VoiceMixer::kVoiceCount, samples({1})) ? 1 : 0;
    EXPECT_EQ(accepted, 64);
    render(mixer, 1);
    EXPECT_TRUE(mixer.play(0, samples({1})));
    EXPECT_FALSE(mixer.play(VoiceMixer::kVoiceCount, samples({1})));
}

std::int64_t g_fakeNowNs = 0;
std::int64_t fakeNow() { return g_fakeNowNs; }

TEST(VoiceMixer, ASoundTakenLateStartsWhereItWouldBeByNow) {
    // 0.4 s of frames counting up, so the first frame played tells where
    // the voice started. Up to 100 ms late it starts at its beginning; at
    // 300 ms late it starts 0.3 × 44100 = 13230 frames in; past its end it
    // stays silent.
    std::vector<float> ramp(4410 * 4);
    for (size_t i = 0; i < ramp.size(); ++i)
        ramp[i] = static_cast<float>(i);
    struct Case {
        std::int64_t lateNs;
        float firstFrame;
    };
    const Case cases[] = {{0, 0}, {60'000'000, 0}, {100'000'000, 0}, {300'000'000, 13230},
                          {500'000'000, 0 /* past the end: silence */}};
    for (const Case& c : cases) {
        VoiceMixer mixer(1.0f, &fakeNow);
        g_fakeNowNs = 1'000'000'000;
        mixer.play(0, samples(ramp));
        g_fakeNowNs += c.lateNs;
        EXPECT_EQ(render(mixer, 2)[0], c.firstFrame) << c.lateNs;
    }
}

// A 44.1 kHz sine, continuous across blocks.
class SineSource final : public RenderSource {
public:
    explicit SineSource(double frequencyHz) : m_frequencyHz(frequencyHz) {}
    void render(float* out, int frameCount) noexcept override {
        for (int i = 0; i < frameCount; ++i, ++m_frame) {
            const auto value = static_cast<float>(
                std::sin(2 * std::numbers::pi * m_frequencyHz * m_frame / kRateHz));
            out[2 * i] = value;
            out[2 * i + 1] = -value;
        }
    }

private:
    double m_frequencyHz;
    long m_frame = 0;
};

int upwardZeroCrossings(const std::vector<float>& interleaved, int channel) {
    int count = 0;
    for (size_t i = 2 + static_cast<size_t>(channel); i < interleaved.size(); i += 2)
        count += interleaved[i - 2] < 0 && interleaved[i] >= 0 ? 1 : 0;
    return count;
}

TEST(RateAdapter, KeepsThePitchAtEveryDeviceRate) {
    // One second of a 1 kHz tone has 1000 upward zero crossings at any rate
    // (±1 for where the second starts); played unadapted at 48 kHz it
    // would have 1088.
    for (const double deviceRateHz : {44100.0, 48000.0, 96000.0, 22050.0, 32000.0}) {
        SineSource source(1000);
        RateAdapter adapter;
        adapter.reset(deviceRateHz);
        std::vector<float> second;
        const int blockFrames = 441;
        for (int done = 0; done < static_cast<int>(deviceRateHz); done += blockFrames) {
            std::vector<float> block(2 * blockFrames, 999.0f);
            adapter.render(source, block.data(), blockFrames);
            second.insert(second.end(), block.begin(), block.end());
        }
        second.resize(static_cast<size_t>(2 * deviceRateHz));
        EXPECT_NEAR(upwardZeroCrossings(second, 0), 1000, 1) << deviceRateHz;
        // Channels stay apart: the right one is the left inverted.
        EXPECT_FLOAT_EQ(second[1001], -second[1000]) << deviceRateHz;
    }
}

} // namespace
} // namespace quorlen
