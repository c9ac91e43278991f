#include "cli/click_track.h"

#include "audio/engine/rtaudio_backend.h"
#include "audio/engine/step_grid.h"
#include "audio/engine/voice_pool.h"
#include "cli/command_line.h"
#include "synth/tone_buffers.h"

#include <chrono>
#include <memory>
#include <ostream>
#include <thread>

namespace quorlen::cli {
namespace {

using namespace std::chrono_literals;

// How often the loop looks at the audio clock and at Ctrl+C: well inside
// the 50 ms look-ahead, and quick enough that a stop feels immediate.
constexpr auto kPoll = 2ms;
// After the last click has been rendered, the server's buffer still holds
// it: about two blocks, with room to spare.
constexpr auto kDrain = 100ms;
// A running output renders a block every few milliseconds; a busy machine
// may hold one back for a few hundred. A clock that stands this long belongs
// to a server that stopped answering, and its output is lost.
constexpr auto kStalledClock = 2s;

enum class Wait { reached, interrupted, outputLost, clockStalled };

// Waits until the audio clock has rendered up to `frame`. Ctrl+C silences
// the output at once; closing the stream takes the server a moment more.
Wait waitForFrame(VoicePool& voices, std::int64_t frame, const std::atomic<bool>& interrupted) {
    std::int64_t lastSeen = -1;
    auto lastMoved = std::chrono::steady_clock::now();
    for (;;) {
        if (interrupted.load()) {
            voices.mute();
            return Wait::interrupted;
        }
        if (!voices.isOutputRunning())
            return Wait::outputLost;
        const std::int64_t rendered = voices.mixer().framesRendered();
        if (rendered >= frame)
            return Wait::reached;
        const auto now = std::chrono::steady_clock::now();
        if (rendered != lastSeen) {
            lastSeen = rendered;
            lastMoved = now;
        } else if (now - lastMoved >= kStalledClock) {
            voices.mute();
            return Wait::clockStalled;
        }
        std::this_thread::sleep_for(kPoll);
    }
}

int fail(std::ostream& err, std::string_view command, std::string_view reason) {
    err << "quorlen " << command << ": " << reason << '\n';
    return kExitFailed;
}

// The exit status when a wait ended before its frame.
std::optional<int> stopped(Wait wait, std::string_view command, std::ostream& err) {
    switch (wait) {
    case Wait::interrupted:
        return kExitInterrupted;
    case Wait::outputLost:
        return fail(err, command, "the sound output device went away");
    case Wait::clockStalled:
        return fail(err, command, "the sound output stopped playing");
    case Wait::reached:
        break;
    }
    return std::nullopt;
}

} // namespace

int playClickTrack(const ClickTrack& track, const std::atomic<bool>& interrupted,
                   std::string_view command, std::ostream& err) {
    VoicePool voices(std::make_unique<RtAudioBackend>(
        RtAudioBackend::Latency::steady, [&interrupted] { return interrupted.load(); }));
    if (!voices.startOutput()) {
        if (interrupted.load())
            return kExitInterrupted;
        return fail(err, command, "no sound output device is available");
    }
    // The clock runs once the first block is out.
    if (const auto status = stopped(waitForFrame(voices, 1, interrupted), command, err))
        return *status;

    // Each later step reaches the mixer past all the output may render in
    // one go, as the first does, and 50 ms before that for a stall of this
    // thread. The clock is read before the safe frame, which can only be
    // further on, so a block rendered in between shortens nothing.
    const std::int64_t rendered = voices.mixer().framesRendered();
    const StepGrid grid = StepGrid::fromSeconds(voices.safeFrame(), track.stepSeconds);
    const std::int64_t lookAhead = grid.anchorFrame - rendered + kQueueAheadFrames;
    std::int64_t lastDue = grid.anchorFrame;
    for (std::int64_t step = 0; !track.steps || step < *track.steps; ++step) {
        const std::int64_t due = grid.dueFrame(step);
        const Wait wait = waitForFrame(voices, due - lookAhead, interrupted);
        if (const auto status = stopped(wait, command, err))
            return *status;
        if (const auto click = track.clickOf(step))
            voices.play(synth::makeTickBuffer(click->frequencyHz, click->gain), due);
        lastDue = due;
    }
    // The last click plays out whole, then leaves the server's buffer.
    const Wait wait = waitForFrame(voices, lastDue + synth::kTickFrames, interrupted);
    if (const auto status = stopped(wait, command, err))
        return *status;
    std::this_thread::sleep_for(kDrain);
    return kExitOk;
}

} // namespace quorlen::cli
