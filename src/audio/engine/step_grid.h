#pragma once

#include <cstdint>

namespace quorlen {

class VoiceMixer;

// A steady pulse on the audio clock: step i is due at frame
// anchor + round(i × stepFrames). Each due frame is rounded from the exact
// product, never from the previous step, so a step of 5512.5 frames
// (120 BPM sixteenths) alternates 5512 and 5513 and never drifts.
struct StepGrid {
    std::int64_t anchorFrame = 0;
    double stepFrames = 0;

    static StepGrid fromSeconds(std::int64_t anchorFrame, double stepSeconds);
    std::int64_t dueFrame(std::int64_t step) const;
    // The first step not yet due at `frame` (0 before the anchor).
    std::int64_t stepAfter(std::int64_t frame) const;
};

// How far ahead of its due frame a step is handed to the mixer: the longest
// stall of the queueing thread that cannot push a sound off its grid.
inline constexpr std::int64_t kQueueAheadFrames = 2205; // 50 ms

// The earliest frame a sound queued now is sure to reach before it is
// rendered: the start of the block after the one the audio thread may be
// rendering at this moment (its length taken to be the last block's).
std::int64_t firstSafeFrame(const VoiceMixer& mixer);

} // namespace quorlen
