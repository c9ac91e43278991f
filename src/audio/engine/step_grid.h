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
// rendered. An output does not pull one block at a time: when it starts,
// and whenever its server asks for more, it renders blocks back to back
// until its queue (`outputLatencySeconds`, what it holds ahead of the
// speaker) is full. So the safe frame lies a whole queue past what was
// rendered, and at least a block: the last block's length, or before the
// first one the longest an output asks for.
std::int64_t firstSafeFrame(const VoiceMixer& mixer, double outputLatencySeconds);

} // namespace quorlen
