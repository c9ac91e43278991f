#pragma once

namespace quorlen {

// What the output device plays: called on the audio thread for each block.
// Implementations must not allocate, lock, log or throw.
class RenderSource {
public:
    // The rate sources render at, unless they follow the output's own.
    static constexpr double kRateHz = 44100.0;

    virtual ~RenderSource() = default;
    // Writes `frameCount` interleaved stereo frames (left, right, ...).
    virtual void render(float* interleavedStereo, int frameCount) noexcept = 0;
    // Called instead of render, on the thread that starts the output, when
    // a start failed: a source may drop what it was asked to play since.
    virtual void discard() noexcept {}
    // Called on the thread that starts an output, before it pulls: the
    // output runs at `outputRateHz`. Returns the rate this source renders
    // at from then on, which the output converts to its own: kRateHz,
    // unless the source can render at the output's rate and does.
    virtual double renderRateFor(double /*outputRateHz*/) noexcept { return kRateHz; }
};

// An audio output the synthesiser can start and pause. Main thread only.
// Every failure is reported as false / not running and nothing else: the
// caller drops the sound and tries again with the next one.
class AudioBackend {
public:
    virtual ~AudioBackend() = default;

    // Opens the output if needed and starts pulling from `source`, which
    // must outlive the backend, after telling it the output's rate (see
    // RenderSource::renderRateFor). False when no output could be started.
    virtual bool start(RenderSource& source) = 0;
    // Stops pulling; what the source holds stays for the next start.
    virtual void pause() = 0;
    // False once a device has failed, so that the next start reopens it.
    virtual bool isRunning() const = 0;
    // True while a start is under way and the output does not pull yet
    // (isRunning is then true too).
    virtual bool isStarting() const { return false; }
    // How long a frame handed to a running output takes to be heard: what
    // it holds ahead of the speaker. 0 when unknown or not running.
    virtual double latencySeconds() const { return 0; }
    // Any thread: the owner is going away (the app quits). From now on no
    // call, the one under way included, waits on the device; what is still
    // open closes on a thread of its own. Nothing the device plays is a
    // file, so cutting it short damages nothing.
    virtual void abandon() noexcept {}
};

} // namespace quorlen
