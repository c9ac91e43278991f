#include "detect_rig.h"
#include "preview/preview_frames.h"
#include "tempo_detection/preview_stream.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace quorlen {
namespace {

using namespace quorlen::testing;

constexpr int kDelayFrames = 5292; // 0.12 s at 44.1 kHz

// A model over a fake output and a clock the test sets, whose analysis
// finds 120 BPM in a file of the given length; it writes ramp files:
// left = frame / frames, right = -left, so every played sample tells which
// file frame it came from.
struct Rig : DetectRig {
    explicit Rig(double seconds = 3.0, double beatOffsetSeconds = 0, int downbeat = 0)
        : DetectRig(answering([=] {
                        detection::Analysis analysis = analysisAt(120);
                        analysis.estimate.beatOffsetSeconds = beatOffsetSeconds;
                        analysis.estimate.downbeat = downbeat;
                        analysis.estimate.durationSeconds = seconds;
                        return analysis;
                    }),
                    true) {}
    std::string ramp(int frames, int rateHz = 44100, int channels = 2) {
        std::vector<float> samples;
        for (int i = 0; i < frames; ++i)
            for (int channel = 0; channel < channels; ++channel)
                samples.push_back((channel ? -1.0f : 1.0f) * float(i) / float(frames));
        return write("ramp.wav", samples, channels, rateHz);
    }
    bool analyseRamp(int frames, int rateHz = 44100, int channels = 2) {
        return analyse(ramp(frames, rateHz, channels));
    }
    PreviewStream& stream() { return player().stream(); }
};

TEST(TempoPreviewPlayer, PlaysFromTheClickedSecondFadedInAndFadesOutIn12Steps) {
    const int frames = 3 * 44100;
    Rig rig;
    ASSERT_TRUE(rig.analyseRamp(frames));
    rig.model->startPreview(1.0);
    EXPECT_EQ(rig.model->playhead(), 1.0);
    ASSERT_TRUE(rig.player().isPlaying());
    EXPECT_EQ(rig.player().started(), 100.12);
    EXPECT_EQ(rig.player().startOffset(), 1.0);

    const std::vector<float> out = rig.pull(kDelayFrames + 2000, 8);
    for (int i = 0; i < kDelayFrames; i += 97)
        ASSERT_EQ(out[2 * i], 0.0f) << "frame " << i << " plays before the start";
    // File frame 44100 + i at frame kDelayFrames + i; the first 529 faded.
    for (const int i : {0, 1, 100, 264, 528, 529, 600, 1999}) {
        const float file = float(44100 + i) / float(frames);
        const float gain = i < 529 ? preview::fadeInGain(i, 529) : 1.0f;
        EXPECT_NEAR(out[2 * (kDelayFrames + i)], file * gain, 1e-6) << i;
        EXPECT_NEAR(out[2 * (kDelayFrames + i) + 1], -file * gain, 1e-6) << i;
    }
    EXPECT_EQ(rig.stream().volume(), 1.0f);

    rig.model->stopPreview();
    EXPECT_FALSE(rig.model->playhead());
    // Steps of 129 frames (2.916666 ms): after the first block of 1 frame
    // the volume is 11/12, then one step more per 129 frames.
    for (const auto& [pulled, volume] : {std::pair{1, 11.0f / 12}, {129, 10.0f / 12}, {1290, 0}}) {
        rig.backend->pull(pulled);
        EXPECT_FLOAT_EQ(rig.stream().volume(), volume);
    }
    EXPECT_TRUE(rig.player().isPlaying()) << "the node stops only after the pause";
    // 35 ms of steps and 120 ms of pause, then the output pauses.
    ASSERT_TRUE(waitUntil([&] { return !rig.player().isPlaying(); }, 1000));
    EXPECT_EQ(rig.backend->pauses, 1);
    EXPECT_FALSE(rig.player().started());
}

TEST(TempoPreviewPlayer, TheStartIsHeardTheDelayAfterTheRequestWhateverTheOutputHolds) {
    struct Case {
        bool prepared;  // the output ran before the start
        double latency; // what it holds ahead of the speaker
        int silentFrames;
    };
    const Case cases[] = {
        {false, 0.023, 5292}, // it starts with the playback, with nothing queued
        {true, 0.0, 5292},
        {true, 0.023, 4278}, // 0.097 s
        {true, 0.5, 0},      // never before the request
    };
    for (const Case& c : cases) {
        Rig rig;
        rig.backend->latency = c.latency;
        ASSERT_TRUE(rig.analyseRamp(44100));
        if (c.prepared) {
            rig.player().prepare();
            EXPECT_TRUE(rig.backend->isRunning());
        }
        rig.model->startPreview(0.5); // the ramp is not silent there
        const std::vector<float> left = rig.pullLeft(8192);
        const auto first = std::find_if(left.begin(), left.end(), [](float v) { return v != 0; });
        EXPECT_EQ(first - left.begin(), c.silentFrames + 1) << c.latency; // the fade starts at 0
    }
}

TEST(TempoPreviewPlayer, FilesPlayAtTheirOwnSpeedWhateverTheirRate) {
    // 0.5 s of a mono file at 22050 or 48000 Hz lasts 0.5 s at 44.1 kHz:
    // 22050 frames, less the last input frame the interpolation waits on.
    // (Compressed files reach the preview through the same reader, whose
    // lengths and seeking the decoding tests check.)
    for (const int rateHz : {22050, 48000}) {
        Rig rig(0.5);
        ASSERT_TRUE(rig.analyseRamp(rateHz / 2, rateHz, 1));
        rig.model->startPreview();
        rig.pull(kDelayFrames + 30000, 43);
        EXPECT_NEAR(double(rig.stream().framesPlayed()), 22050, 3) << rateHz;
    }
}

TEST(TempoPreviewPlayer, ThePlayheadAdvancesWithTheClockAndAStartAtTheEndPlaysNothing) {
    Rig rig(3.0);
    ASSERT_TRUE(rig.analyseRamp(3 * 44100));
    for (const double from : {3.0, 5.0}) {
        rig.model->startPreview(from);
        EXPECT_EQ(rig.model->playhead(), from) << "the playhead stays where it was put";
        EXPECT_FALSE(rig.player().isPlaying());
        EXPECT_FALSE(rig.player().started());
        EXPECT_FALSE(rig.model->failed());
    }
    EXPECT_EQ(rig.backend->starts, 0);

    rig.model->startPreview(2.0);
    // playhead = min(3, now - started + 2) with started = 100.12.
    for (const auto& [now, playhead] :
         {std::pair{100.0, 1.88}, {100.12, 2.0}, {101.0, 2.88}, {101.12, 3.0}, {160.0, 3.0}}) {
        rig.nowSeconds = now;
        rig.model->tickPlayhead();
        ASSERT_TRUE(rig.model->playhead());
        EXPECT_NEAR(*rig.model->playhead(), playhead, 1e-9) << now;
    }
}

TEST(TempoPreviewPlayer, TheEndOfAnOldPlaybackDoesNotStopANewOne) {
    Rig rig(0.2);
    ASSERT_TRUE(rig.analyseRamp(8820));
    rig.model->startPreview();
    // Play the whole file; its completion is on its way.
    rig.pull(kDelayFrames + 9000, 17);
    rig.model->startPreview(0.1); // a click elsewhere restarts from there
    ASSERT_TRUE(
        waitUntil([&] { return rig.player().isPlaying() && rig.player().startOffset() == 0.1; }));
    QTest::qWait(50); // the old completion, if posted, has arrived
    EXPECT_TRUE(rig.player().isPlaying());
    EXPECT_EQ(rig.model->playhead(), 0.1);
    // The new playback's own end does stop the preview.
    rig.pull(kDelayFrames + 5000, 9);
    rig.backend->pull(2048);
    EXPECT_TRUE(waitUntil([&] { return !rig.model->playhead(); }));
}

// A restart whose ring is full of the last playback's blocks gets room at
// its first render, during the start delay, and what then counts as
// buffered is what will play: a caller that waits for it never pulls into
// a gap that would move the clicks against the output.
TEST(PreviewStream, ARestartDropsTheLastPlaybacksBlocksAtOnce) {
    PreviewStream stream;
    PreviewStream::Block block;
    block.frameCount = PreviewStream::kBlockFrames;
    stream.begin(1, 0);
    block.generation = 1;
    while (stream.push(block)) {
    }
    EXPECT_EQ(stream.buffered(), PreviewStream::kRingBlocks);

    stream.begin(2, 0.1);
    block.generation = 2;
    EXPECT_FALSE(stream.push(block)) << "full of stale blocks";
    std::vector<float> out(2 * PreviewStream::kBlockFrames);
    stream.render(out.data(), PreviewStream::kBlockFrames); // all of it start delay
    EXPECT_EQ(stream.buffered(), 0u);
    EXPECT_EQ(stream.framesPlayed(), 0u);
    ASSERT_TRUE(stream.push(block));
    EXPECT_EQ(stream.buffered(), 1u);

    stream.begin(0, 0); // stopped: nothing is kept for a later start
    stream.render(out.data(), 1);
    EXPECT_EQ(stream.buffered(), 0u);
}

TEST(TempoPreviewPlayer, AStopAfterAClickDuringTheFadeWins) {
    Rig rig;
    ASSERT_TRUE(rig.analyseRamp(3 * 44100));
    rig.model->startPreview();
    ASSERT_TRUE(rig.player().isPlaying());
    rig.model->startPreview(1.5); // a click on the waveform: the old one fades
    rig.model->stopPreview();     // then Stop, before the fade is over
    ASSERT_TRUE(waitUntil([&] { return !rig.player().isPlaying() && rig.backend->pauses > 0; }));
    QTest::qWait(200); // past the fade and pause: the waiting start must not come
    EXPECT_FALSE(rig.player().isPlaying());
    EXPECT_FALSE(rig.model->playhead());
    EXPECT_FALSE(rig.backend->isRunning());
}

TEST(TempoPreviewPlayer, OutputFailuresAreThePreviewsFailureAndTheDetectionStays) {
    struct Case {
        const char* status;
        bool failStart, removeFile, disappear;
    };
    const Case cases[] = {
        {"No audio output device is available for the preview", true, false, false},
        {"The audio output device went away", false, false, true},
        {"File not found", false, true, false}, // gone after the analysis
    };
    for (const auto& [status, failStart, removeFile, disappear] : cases) {
        Rig rig;
        ASSERT_TRUE(rig.analyseRamp(44100));
        rig.backend->failStarts = failStart;
        if (removeFile)
            std::filesystem::remove(rig.dir.file("ramp.wav"));
        rig.model->startPreview();
        if (disappear) {
            ASSERT_TRUE(rig.player().isPlaying());
            rig.backend->disappear();
        }
        ASSERT_TRUE(waitUntil([&] { return rig.model->failed(); }, 2000)) << status;
        EXPECT_EQ(rig.model->status(), status);
        EXPECT_FALSE(rig.model->playhead());
        EXPECT_FALSE(rig.player().isPlaying());
        EXPECT_TRUE(rig.model->result());
    }
}

} // namespace
} // namespace quorlen
