#include "detect_rig.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace quorlen {
namespace {

using namespace quorlen::testing;

// A stereo file of two tones at `rateHz` (left 3 kHz, right 5 kHz and
// softer), so that any interpolation shows in every sample.
std::vector<float> twoTones(int rateHz, double seconds) {
    std::vector<float> samples;
    for (int i = 0; i < static_cast<int>(seconds * rateHz); ++i) {
        const double t = double(i) / rateHz;
        samples.push_back(float(0.5 * std::sin(2 * std::numbers::pi * 3000 * t)));
        samples.push_back(float(0.25 * std::sin(2 * std::numbers::pi * 5000 * t)));
    }
    return samples;
}

// What the output is handed for a preview of `path` from 0.5 s with the
// click on a 120 BPM grid from 0.55 s: 12288 frames, then a stop and 2048
// frames of its fade.
std::vector<float> preview(DetectRig& rig, const std::string& path) {
    EXPECT_TRUE(rig.analyse(path));
    rig.player().setClickGrid(120, 0.55, 1);
    rig.player().setClickOn(true);
    rig.model->startPreview(0.5);
    EXPECT_TRUE(rig.player().isPlaying());
    std::vector<float> frames;
    for (int block = 0; block < 12; ++block) {
        const std::vector<float> pulled = rig.pull(1024, 8);
        frames.insert(frames.end(), pulled.begin(), pulled.end());
    }
    rig.model->stopPreview();
    const std::vector<float> fade = rig.backend->pull(2048);
    frames.insert(frames.end(), fade.begin(), fade.end());
    return frames;
}

// FNV-1a over the samples' bits, +0 and -0 alike.
uint64_t fingerprint(const std::vector<float>& samples) {
    uint64_t hash = 14695981039346656037ull;
    for (const float sample : samples) {
        const uint32_t bits = sample == 0.0f ? 0u : std::bit_cast<uint32_t>(sample);
        for (int byte = 0; byte < 4; ++byte) {
            hash ^= (bits >> (8 * byte)) & 0xffu;
            hash *= 1099511628211ull;
        }
    }
    return hash;
}

TEST(PreviewRates, At44100TheOutputGetsTheFramesItAlwaysGot) {
    // Fingerprints of the frames rendered before the preview could follow
    // the output's rate: files resampled to 44.1 kHz and one played as is.
    struct Case {
        int fileRateHz;
        uint64_t frames;
    };
    const Case cases[] = {{48000, 436622188399966946u},
                          {22050, 16785570483975743620u},
                          {44100, 9754621661081125394u}};
    for (const Case& c : cases) {
        DetectRig rig(DetectRig::answering([] { return analysisAt(120); }));
        const std::string path =
            rig.write("tones.wav", twoTones(c.fileRateHz, 2.0), 2, c.fileRateHz);
        const std::vector<float> frames = preview(rig, path);
        ASSERT_EQ(frames.size(), 2u * (12288 + 2048));
        EXPECT_EQ(fingerprint(frames), c.frames) << c.fileRateHz << " Hz";
    }
}

} // namespace
} // namespace quorlen
