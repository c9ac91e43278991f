#include "detect_rig.h"
#include "preview/preview_frames.h"
#include "support/refused_allocations.h"

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

// A rig whose output runs at `outputRateHz`.
std::unique_ptr<DetectRig> rigAt(double outputRateHz) {
    auto rig = std::make_unique<DetectRig>(DetectRig::answering([] { return analysisAt(120); }));
    rig->backend->rateHz = outputRateHz;
    return rig;
}

// `frames` frames as the output is handed them, in blocks the reader keeps
// ahead of.
std::vector<float> pullFrames(DetectRig& rig, int frames) {
    std::vector<float> out;
    for (int at = 0; at < frames; at += 1024) {
        const std::vector<float> block = rig.pull(1024, 4);
        out.insert(out.end(), block.begin(), block.end());
    }
    out.resize(2 * static_cast<size_t>(frames));
    return out;
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
    std::vector<float> frames = pullFrames(rig, 12288);
    // The fade is pulled at once, before its timer can stop the playback.
    EXPECT_TRUE(waitUntil([&] { return rig.player().stream().buffered() >= 4; }));
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

TEST(PreviewRates, AFileAtTheOutputsRateReachesItUntouchedButForTheFades) {
    // The start delay (0.12 s), the fade-in (12 ms) and a fade-out step
    // (2.916666 ms), in frames of the rate.
    struct Case {
        double rateHz;
        int delayFrames, fadeInFrames, fadeStepFrames;
    };
    const Case cases[] = {
        {44100, 5292, 529, 129}, {48000, 5760, 576, 140}, {96000, 11520, 1152, 280}};
    for (const Case& c : cases) {
        auto rig = rigAt(c.rateHz);
        const int rate = static_cast<int>(c.rateHz);
        const std::vector<float> file = twoTones(rate, 2.0);
        ASSERT_TRUE(rig->analyse(rig->write("tones.wav", file, 2, rate)));
        rig->model->startPreview(0.5);
        const std::vector<float> out = pullFrames(*rig, c.delayFrames + 8000);
        EXPECT_EQ(rig->player().stream().rateHz(), c.rateHz);
        for (int i = 0; i < c.delayFrames; ++i)
            ASSERT_EQ(out[2 * size_t(i)], 0.0f) << c.rateHz << ": frame " << i << " is early";
        // File frame rate / 2 + i at frame delay + i, sample for sample.
        for (int i = 0; i < 8000; ++i) {
            const float gain = i < c.fadeInFrames ? preview::fadeInGain(i, c.fadeInFrames) : 1.0f;
            for (size_t channel = 0; channel < 2; ++channel)
                ASSERT_EQ(out[2 * size_t(c.delayFrames + i) + channel],
                          file[2 * size_t(rate / 2 + i) + channel] * gain)
                    << c.rateHz << ": frame " << i << " channel " << channel;
        }
        // The fade-out steps the volume down by a twelfth every step: the
        // next frame plays at 11/12, the one a step later at 10/12.
        rig->model->stopPreview();
        const auto volumeAfter = [&](int frames) {
            rig->backend->pull(frames);
            return rig->player().stream().volume();
        };
        EXPECT_FLOAT_EQ(volumeAfter(1), 11.0f / 12) << c.rateHz;
        EXPECT_FLOAT_EQ(volumeAfter(c.fadeStepFrames - 2), 11.0f / 12) << c.rateHz;
        EXPECT_FLOAT_EQ(volumeAfter(1), 10.0f / 12) << c.rateHz;
    }
}

TEST(PreviewRates, AFileAtAnotherRateIsInterpolatedOnceBetweenItsOwnFrames) {
    // Output frame i past the fade-in lies at file position start + i ×
    // file rate / output rate, on the line between the two file frames
    // around it; converting twice, or at the wrong ratio, leaves it.
    const std::pair<int, double> rates[] = {{44100, 48000}, {22050, 48000}, {48000, 44100}};
    for (const auto& [fileRateHz, outputRateHz] : rates) {
        auto rig = rigAt(outputRateHz);
        const std::vector<float> file = twoTones(fileRateHz, 2.0);
        ASSERT_TRUE(rig->analyse(rig->write("tones.wav", file, 2, fileRateHz)));
        rig->model->startPreview(0.5);
        const auto delay = static_cast<int>(std::lround(0.12 * outputRateHz));
        const std::vector<float> out = pullFrames(*rig, delay + 8000);
        for (int i = 1000; i < 8000; ++i) {
            const double position = fileRateHz / 2 + i * (fileRateHz / outputRateHz);
            const auto before = static_cast<size_t>(position);
            const auto weight = static_cast<float>(position - double(before));
            for (size_t channel = 0; channel < 2; ++channel) {
                const float a = file[2 * before + channel];
                const float b = file[2 * before + 2 + channel];
                ASSERT_NEAR(out[2 * size_t(delay + i) + channel], a + (b - a) * weight, 1e-4)
                    << fileRateHz << " Hz to " << outputRateHz << " Hz: frame " << i;
            }
        }
    }
}

TEST(PreviewRates, TheClickSoundsOnTheOutputFrameOfTheFilesOwnBeat) {
    // A file with a one-sample pulse on each beat of its grid: 120 BPM from
    // 0.3 s, bars from beat 1. Played from 1.1 s, with and without the
    // click; what the click adds must start on the frame where the music's
    // own pulse sounds after resampling (or without it), and last 70 ms.
    struct Case {
        int fileRateHz;
        double outputRateHz;
        int pulseSlack; // frames an interpolated pulse's peak may lie off
    };
    const Case cases[] = {{48000, 44100, 1}, {48000, 48000, 0}, {44100, 48000, 1}};
    const double offset = 0.3;
    for (const Case& c : cases) {
        std::vector<float> samples(4 * static_cast<size_t>(c.fileRateHz), 0.0f);
        for (int k = 0; k < 8; ++k)
            samples[static_cast<size_t>(std::lround((offset + 0.5 * k) * c.fileRateHz))] = 0.8f;
        // One rig each, so that no block of the other playback waits in the ring.
        auto rig = rigAt(c.outputRateHz);
        auto other = rigAt(c.outputRateHz);
        const std::string path = rig->write("beats.wav", samples, 1, c.fileRateHz);
        const auto delay = static_cast<int>(std::lround(0.12 * c.outputRateHz));
        const int frames = delay + 2 * static_cast<int>(c.outputRateHz);
        const auto play = [&](DetectRig& r, bool click) {
            EXPECT_TRUE(r.analyse(path));
            r.player().setClickGrid(120, offset, 1);
            r.player().setClickOn(click);
            r.model->startPreview(1.1);
            EXPECT_TRUE(r.player().isPlaying());
            std::vector<float> left;
            const std::vector<float> out = pullFrames(r, frames);
            for (size_t i = 0; i < out.size(); i += 2)
                left.push_back(out[i]);
            return left;
        };
        const std::vector<float> withClick = play(*rig, true);
        const std::vector<float> music = play(*other, false);
        const PreviewStream& stream = rig->player().stream();
        EXPECT_EQ(stream.beatClick().size(), std::lround(0.07 * c.outputRateHz));

        // Beats 2 ... 5 (1.3 ... 2.8 s) sound in these 2 s; beat 5 starts a bar.
        for (int k = 2; k <= 5; ++k) {
            const auto at =
                static_cast<size_t>(delay + std::lround((offset + 0.5 * k - 1.1) * c.outputRateHz));
            const auto loudest =
                std::max_element(music.begin() + long(at) - 20, music.begin() + long(at) + 20);
            EXPECT_LE(std::abs(loudest - music.begin() - long(at)), c.pulseSlack)
                << c.outputRateHz << " beat " << k;
            const std::vector<float>& click = k == 5 ? stream.accentClick() : stream.beatClick();
            for (size_t i = 0; i < 400; ++i)
                ASSERT_NEAR(withClick[at + i] - music[at + i], click[i], 1e-6)
                    << c.outputRateHz << " beat " << k << " frame " << i;
            for (size_t i = 1; i < 200; ++i)
                ASSERT_EQ(withClick[at - i], music[at - i])
                    << c.outputRateHz << ": a click before beat " << k;
        }
    }
}

TEST(PreviewRates, WithoutMemoryForClicksAtTheOutputsRateTheStreamKeepsItsOwn) {
    // Asked while an output starts, on a thread that may not throw: the
    // clicks at 48 kHz (3360 floats) need more than those at 44.1 kHz.
    PreviewStream stream;
    const size_t clickBytes = stream.beatClick().size() * sizeof(float);
    {
        const RefusedAllocations refused(clickBytes);
        EXPECT_EQ(stream.renderRateFor(48000), RenderSource::kRateHz);
    }
    EXPECT_EQ(stream.rateHz(), RenderSource::kRateHz) << "the reader's blocks follow the stream";
    EXPECT_EQ(stream.beatClick().size(), 3087u);
    EXPECT_EQ(stream.accentClick().size(), 3087u);
    // With memory back, the next start follows the output.
    EXPECT_EQ(stream.renderRateFor(48000), 48000);
    EXPECT_EQ(stream.beatClick().size(), 3360u);
}

} // namespace
} // namespace quorlen
