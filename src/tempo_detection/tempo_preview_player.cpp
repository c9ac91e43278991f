#include "tempo_detection/tempo_preview_player.h"

#include "audio/engine/async_output.h"
#include "audio/engine/audio_backend.h"
#include "audio/engine/rtaudio_backend.h"
#include "decoding/audio_file_reader.h"
#include "preview/preview_frames.h"
#include "tempo_detection/preview_reader.h"
#include "tempo_detection/preview_stream.h"

#include <QElapsedTimer>

#include <algorithm>
#include <climits>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace quorlen {
namespace {

TempoPreviewPlayer::Clock steadyClock() {
    auto timer = std::make_shared<QElapsedTimer>();
    timer->start();
    return [timer] { return static_cast<double>(timer->nsecsElapsed()) / 1e9; };
}

const QString kNoOutput = QStringLiteral("No audio output device is available for the preview");
const QString kOutputLost = QStringLiteral("The audio output device went away");

constexpr int kFadeOutMs = 35 + 120;
constexpr int kOutputWatchMs = 250;

} // namespace

TempoPreviewPlayer::TempoPreviewPlayer(std::unique_ptr<AudioBackend> backend, Clock clock,
                                       QObject* parent)
    : QObject(parent), m_backend(std::move(backend)),
      m_clock(clock ? std::move(clock) : steadyClock()),
      m_stream(std::make_unique<PreviewStream>()) {
    m_reader = std::make_unique<PreviewReader>(*m_stream, [this](uint64_t generation) {
        // The reader thread ends before this player does (its destructor
        // joins it), so the queued call always finds the player.
        QMetaObject::invokeMethod(
            this, [this, generation] { onReaderFinished(generation); }, Qt::QueuedConnection);
    });
    m_fadeTimer.setSingleShot(true);
    m_fadeTimer.setTimerType(Qt::PreciseTimer);
    m_fadeTimer.setInterval(kFadeOutMs);
    connect(&m_fadeTimer, &QTimer::timeout, this, &TempoPreviewPlayer::finishStop);
    m_outputWatch.setInterval(kOutputWatchMs);
    connect(&m_outputWatch, &QTimer::timeout, this, &TempoPreviewPlayer::checkOutput);
}

std::unique_ptr<TempoPreviewPlayer> TempoPreviewPlayer::onSoundCard() {
    // Opening the stream takes a sound server a few hundred milliseconds;
    // it happens on the output's own thread, never on the GUI thread.
    return std::make_unique<TempoPreviewPlayer>(
        std::make_unique<AsyncOutput>(std::make_unique<RtAudioBackend>()));
}

// The reader goes first (it pushes into the stream), then the backend stops
// pulling from the stream, which goes last.
TempoPreviewPlayer::~TempoPreviewPlayer() {
    m_reader.reset();
    m_backend.reset();
}

void TempoPreviewPlayer::start(const QString& path, double fromSeconds,
                               std::function<void()> onFinish, StartOutcome outcome) {
    // A newer start replaces one still waiting for the fade.
    m_pendingStart = [this, path, fromSeconds, onFinish = std::move(onFinish),
                      outcome = std::move(outcome)] {
        startNow(path, fromSeconds, onFinish, outcome);
    };
    fadeOut(true);
}

void TempoPreviewPlayer::startNow(const QString& path, double fromSeconds,
                                  std::function<void()> onFinish, const StartOutcome& outcome) {
    std::unique_ptr<decoding::AudioFileReader> file;
    std::vector<float> head;
    long long startFrame = 0;
    double fileRateHz = 0;
    try {
        file = std::make_unique<decoding::AudioFileReader>(path.toStdString());
        fileRateHz = file->rateHz();
        startFrame = static_cast<long long>(std::trunc(fromSeconds * fileRateHz));
        // The announced length may be an estimate (0 when unknown); a start
        // past the real end shows as a first read that finds nothing.
        const long long announced = file->announcedFrames();
        const long long remaining = announced > 0 ? announced - startFrame : LLONG_MAX;
        if (remaining < 1) {
            outcome(std::nullopt);
            return;
        }
        const long long fadeFrames =
            std::max(1LL, preview::fadeInFrames(file->rateHz(), remaining));
        file->seek(startFrame);
        const int channels = file->channels();
        head.resize(static_cast<size_t>(fadeFrames * channels));
        const long long read = file->read(head.data(), fadeFrames);
        if (read < 1) {
            outcome(std::nullopt);
            return;
        }
        head.resize(static_cast<size_t>(read * channels));
        for (long long i = 0; i < read; ++i) {
            const float gain = preview::fadeInGain(i, read);
            for (int c = 0; c < channels; ++c)
                head[static_cast<size_t>(i * channels + c)] *= gain;
        }
    } catch (const std::exception& error) {
        outcome(QString::fromStdString(error.what()));
        return;
    }

    const uint64_t generation = ++m_generation;
    // The start is heard the start delay after the request: an output that
    // already runs holds frames ahead of the speaker, which count towards
    // the delay. One that starts now begins with an empty queue.
    const bool outputIdle = !m_backend->isRunning();
    const double ahead =
        !outputIdle && !m_backend->isStarting() ? m_backend->latencySeconds() : 0.0;
    m_stream->begin(generation, std::max(0.0, preview::kStartDelaySeconds - ahead));
    // The reader waits for the rate of an output that starts now.
    if (outputIdle)
        m_stream->forgetRate();
    m_reader->play(generation, std::move(file), std::move(head));
    if (outputIdle && !m_backend->start(*m_stream)) {
        stop(false);
        outcome(kNoOutput);
        return;
    }
    m_onFinish = std::move(onFinish);
    m_finishGeneration = generation;
    m_playing = true;
    m_startOffset = fromSeconds;
    m_playStartSeconds = static_cast<double>(startFrame) / fileRateHz;
    m_started = m_clock() + preview::kStartDelaySeconds;
    m_outputRan = !m_backend->isStarting();
    m_outputWatch.start();
    sendClicks();
    outcome(std::nullopt);
}

void TempoPreviewPlayer::prepare() {
    // A fade under way ends in a pause; the output opens after it.
    if (m_fadeTimer.isActive()) {
        m_afterStop.emplace_back([this] { prepare(); });
        return;
    }
    if (!m_playing && !m_backend->isRunning()) {
        // A start that comes while this output opens must wait for its rate.
        m_stream->forgetRate();
        m_backend->start(*m_stream);
    }
}

void TempoPreviewPlayer::setClickOn(bool on) {
    m_clickOn = on;
    sendClicks();
}

void TempoPreviewPlayer::setClickGrid(double bpm, double beatOffsetSeconds, int downbeat) {
    m_clickBpm = bpm;
    m_clickOffsetSeconds = beatOffsetSeconds;
    m_clickDownbeat = downbeat;
    sendClicks();
}

// The reader resamples the file to the stream's rate from the start frame
// on, so playback frame j is file time start + j / rate, and the grid's
// beats fall on the frames of the music's own beats.
void TempoPreviewPlayer::sendClicks() {
    if (!m_playing)
        return;
    const bool on = m_clickOn && m_clickBpm > 0;
    const PreviewStream::ClickGrid grid{m_finishGeneration, on,
                                        m_clickOffsetSeconds - m_playStartSeconds,
                                        on ? 60.0 / m_clickBpm : 0.0, m_clickDownbeat};
    m_clicksUnsent = !m_stream->setClicks(grid);
}

void TempoPreviewPlayer::stopSmoothly(bool keepEngineRunning, std::function<void()> done) {
    // A stop asked for after a start that still waits for the fade wins.
    m_pendingStart = nullptr;
    if (done)
        m_afterStop.push_back(std::move(done));
    fadeOut(keepEngineRunning);
}

void TempoPreviewPlayer::fadeOut(bool keepEngineRunning) {
    // From the request on, the fading playback's end is no news: it must not
    // stop the playback that a start is about to begin.
    m_onFinish = nullptr;
    m_keepEngineRunning = keepEngineRunning;
    if (m_fadeTimer.isActive())
        return;
    if (!m_playing) {
        finishStop();
        return;
    }
    m_stream->fadeOut();
    m_fadeTimer.start();
}

void TempoPreviewPlayer::finishStop() {
    stop(m_keepEngineRunning);
    // A callback may ask for another stop; it then finds nothing playing.
    std::vector<std::function<void()>> callbacks;
    callbacks.swap(m_afterStop);
    for (const auto& callback : callbacks)
        callback();
    if (m_pendingStart) {
        const std::function<void()> startPending = std::move(m_pendingStart);
        m_pendingStart = nullptr;
        startPending();
    }
}

void TempoPreviewPlayer::stop(bool keepEngineRunning) {
    ++m_generation;
    m_stream->begin(0, 0);
    m_reader->stop();
    if (!keepEngineRunning && m_backend->isRunning())
        m_backend->pause();
    m_started.reset();
    m_playing = false;
    m_onFinish = nullptr;
    m_outputWatch.stop();
}

void TempoPreviewPlayer::onReaderFinished(uint64_t generation) {
    if (generation != m_generation || generation != m_finishGeneration || !m_onFinish)
        return;
    // The callback usually stops this player, which clears m_onFinish.
    const std::function<void()> onFinish = m_onFinish;
    onFinish();
}

// An output that starts on its own thread fails after start() returned;
// whether it ever ran tells a missing device from one that went away.
void TempoPreviewPlayer::checkOutput() {
    if (!m_playing)
        return;
    if (m_clicksUnsent)
        sendClicks();
    if (m_backend->isRunning()) {
        m_outputRan = m_outputRan || !m_backend->isStarting();
        return;
    }
    stop(false);
    emit outputLost(m_outputRan ? kOutputLost : kNoOutput);
}

} // namespace quorlen
