#include "audio/engine/step_grid.h"

#include "audio/engine/audio_backend.h"
#include "audio/engine/voice_mixer.h"

#include <algorithm>
#include <cmath>

namespace quorlen {

StepGrid StepGrid::fromSeconds(std::int64_t anchorFrame, double stepSeconds) {
    return {anchorFrame, stepSeconds * RenderSource::kRateHz};
}

std::int64_t StepGrid::dueFrame(std::int64_t step) const {
    return anchorFrame + std::llround(static_cast<double>(step) * stepFrames);
}

std::int64_t StepGrid::stepAfter(std::int64_t frame) const {
    if (frame < anchorFrame || stepFrames <= 0)
        return 0;
    auto step = static_cast<std::int64_t>(static_cast<double>(frame - anchorFrame) / stepFrames);
    while (dueFrame(step) <= frame)
        ++step;
    while (step > 0 && dueFrame(step - 1) > frame)
        --step;
    return step;
}

std::int64_t firstSafeFrame(const VoiceMixer& mixer, double outputLatencySeconds) {
    constexpr int kLongestFirstBlock = 2048;
    const int block = mixer.lastBlockFrames();
    const auto queue = static_cast<std::int64_t>(
        std::ceil(std::max(0.0, outputLatencySeconds) * RenderSource::kRateHz));
    return mixer.framesRendered() +
           std::max<std::int64_t>(block > 0 ? block : kLongestFirstBlock, queue);
}

} // namespace quorlen
