#include "tempo_detection/preview_stream.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace quorlen {
namespace {

struct Onset {
    int frame;
    bool accented;
    bool operator==(const Onset&) const = default;
};

// Plays `frames` frames of silent file blocks of generation 1 with `grids`
// handed over before the block of the frame each is paired with, and reads
// the clicks back from the left channel: an onset is where the output
// matches the start of a click sound.
std::vector<Onset> clicksHeard(int frames,
                               const std::vector<std::pair<int, PreviewStream::ClickGrid>>& grids,
                               int blockFrames) {
    auto stream = std::make_unique<PreviewStream>();
    stream->begin(1, 0);
    PreviewStream::Block silent;
    silent.generation = 1;
    silent.frameCount = PreviewStream::kBlockFrames;
    std::vector<float> left, block(2 * static_cast<size_t>(blockFrames));
    size_t nextGrid = 0;
    for (int at = 0; at < frames; at += blockFrames) {
        while (stream->push(silent)) {
        }
        while (nextGrid < grids.size() && grids[nextGrid].first <= at)
            stream->setClicks(grids[nextGrid++].second);
        stream->render(block.data(), blockFrames);
        for (int i = 0; i < blockFrames; ++i)
            left.push_back(block[2 * static_cast<size_t>(i)]);
    }
    left.resize(static_cast<size_t>(frames));
    const auto matches = [&](size_t at, const std::vector<float>& click) {
        for (size_t i = 0; i < 200; ++i)
            if (at + i >= left.size() || std::abs(left[at + i] - click[i]) > 1e-7f)
                return false;
        return true;
    };
    std::vector<Onset> onsets;
    for (size_t at = 0; at < left.size(); ++at) {
        const bool accent = matches(at, stream->accentClick());
        if (accent || matches(at, stream->beatClick())) {
            onsets.push_back({static_cast<int>(at), accent});
            at += 199;
        }
    }
    return onsets;
}

// A grid given in frames at 44.1 kHz, the rate the stream renders at
// until an output says otherwise.
PreviewStream::ClickGrid gridInFrames(uint64_t generation, bool on, double firstBeatFrame,
                                      double periodFrames, int downbeat) {
    const double rate = RenderSource::kRateHz;
    return {generation, on, firstBeatFrame / rate, periodFrames / rate, downbeat};
}

TEST(PreviewClicks, ClicksFallOnTheGridsFramesWithAccentsOnBarStarts) {
    using Grid = PreviewStream::ClickGrid;
    struct Case {
        const char* name;
        std::vector<std::pair<int, Grid>> grids;
        std::vector<Onset> expected;
    };
    const Case cases[] = {
        // 120 BPM sixteenths at 44.1 kHz: 5512.5 frames, rounded from the
        // exact product each time, so it alternates and never drifts.
        {"fractional period",
         {{0, gridInFrames(1, true, 100, 5512.5, 0)}},
         {{100, true},
          {5613, false},
          {11125, false},
          {16638, false},
          {22150, true},
          {27663, false}}},
        // Beat 0 lies before the playback: beat 1 is the first heard, and
        // the downbeat counts from beat 0, not from the first one heard.
        {"grid from before the start",
         {{0, gridInFrames(1, true, -3000, 6000, 2)}},
         {{3000, false}, {9000, true}, {15000, false}, {21000, false}, {27000, false}}},
        // Beats before beat 0 keep the bar count of the grid.
        {"negative beats",
         {{0, gridInFrames(1, true, 13000, 6000, 2)}},
         {{1000, true}, {7000, false}, {13000, false}, {19000, false}, {25000, true}}},
        // Turned on midway: the next beat after the moment, never a click
        // at once; turned off: the click under way rings out, no more come.
        {"on and off midway",
         {{0, gridInFrames(1, false, 0, 6000, 0)},
          {6400, gridInFrames(1, true, 0, 6000, 0)},
          {18432, gridInFrames(1, false, 0, 6000, 0)}},
         {{12000, false}, {18000, false}}},
        // A grid of another playback is not heard in this one.
        {"other generation", {{0, gridInFrames(2, true, 0, 6000, 0)}}, {}},
    };
    // The block size of the device moves no click.
    for (const Case& c : cases)
        for (const int blockFrames : {1, 97, 256, 4096})
            EXPECT_EQ(clicksHeard(30000, c.grids, blockFrames), c.expected)
                << c.name << " in blocks of " << blockFrames;
}

} // namespace
} // namespace quorlen
