#pragma once

#include <QObject>
#include <QTimer>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quorlen {

class AudioBackend;
class PreviewReader;
class PreviewStream;

// Plays the analysed file from any position on an output stream of its own,
// separate from the synthesiser's: a 12 ms raised-cosine fade-in, the start
// heard 0.12 s after it is asked for, and a 35 ms fade-out (12 steps) plus a 120 ms
// pause before it stops. The file is streamed by a reader thread, never
// decoded whole, and resampled once, from its own rate straight to the
// rate the output runs at.
//
// Main thread only. Every start and stop increments `generation`; a
// completion of an earlier playback finds another generation and does
// nothing.
class TempoPreviewPlayer : public QObject {
    Q_OBJECT
public:
    // Seconds on a clock that never goes backwards; tests pass their own.
    using Clock = std::function<double()>;
    // nullopt once playing (or when there was nothing left to play), else
    // the sentence to show.
    using StartOutcome = std::function<void(std::optional<QString> error)>;

    explicit TempoPreviewPlayer(std::unique_ptr<AudioBackend> backend, Clock clock = {},
                                QObject* parent = nullptr);
    // The output over the sound card.
    static std::unique_ptr<TempoPreviewPlayer> onSoundCard();
    ~TempoPreviewPlayer() override;

    // Fades out what plays, then plays `path` from `fromSeconds`, unless a
    // stop or another start is asked for before the fade ends. A start at or
    // beyond the end plays nothing. `onFinish` runs when the file has
    // played to its end, unless a stop or another start came first;
    // `outcome` runs once the start has happened or failed.
    void start(const QString& path, double fromSeconds, std::function<void()> onFinish,
               StartOutcome outcome);
    // Fades out and stops, dropping a start that waits for the fade; `done`
    // runs after the stop. Overlapping requests share one fade.
    void stopSmoothly(bool keepEngineRunning, std::function<void()> done = {});
    // Stops at once, dropping everything scheduled.
    void stop(bool keepEngineRunning);
    // Opens the output ahead of the first start, playing silence, so that
    // a start is heard after the start delay alone rather than after a
    // sound server has opened a stream (seconds on some desktops). Done
    // once a result is shown; a stop pauses the output again.
    void prepare();

    // The metronome over the preview: clicks on the beats of the grid of
    // `bpm` whose beat 0 lies at `beatOffsetSeconds` of the file, accented
    // on bar starts (see detection::isBarBeat). Both reach a playing
    // preview from its next beat on.
    void setClickOn(bool on);
    void setClickGrid(double bpm, double beatOffsetSeconds, int downbeat);
    bool isClickOn() const { return m_clickOn; }

    // When the current playback starts (or started), in clock seconds.
    std::optional<double> started() const { return m_started; }
    double startOffset() const { return m_startOffset; }
    uint64_t generation() const { return m_generation; }
    bool isPlaying() const { return m_playing; }
    double now() const { return m_clock(); }
    PreviewStream& stream() { return *m_stream; }

signals:
    // The output device went away under a playing preview, or never
    // started; the preview has stopped.
    void outputLost(const QString& message);

private:
    void startNow(const QString& path, double fromSeconds, std::function<void()> onFinish,
                  const StartOutcome& outcome);
    void fadeOut(bool keepEngineRunning);
    void finishStop();
    void onReaderFinished(uint64_t generation);
    void checkOutput();
    void sendClicks();

    std::unique_ptr<AudioBackend> m_backend;
    Clock m_clock;
    std::unique_ptr<PreviewStream> m_stream;
    std::unique_ptr<PreviewReader> m_reader;
    std::optional<double> m_started;
    double m_startOffset = 0;
    uint64_t m_generation = 0;
    bool m_playing = false;
    std::function<void()> m_onFinish;
    uint64_t m_finishGeneration = 0;

    QTimer m_fadeTimer; // 35 ms of fade steps, then the 120 ms pause
    bool m_keepEngineRunning = false;
    std::vector<std::function<void()>> m_afterStop;
    std::function<void()> m_pendingStart;
    QTimer m_outputWatch;
    bool m_outputRan = false;

    bool m_clickOn = false;
    double m_clickBpm = 0;
    double m_clickOffsetSeconds = 0;
    int m_clickDownbeat = 0;
    double m_playStartSeconds = 0; // the file time of the playback's first frame
    bool m_clicksUnsent = false;   // the stream's grid slots were full
};

} // namespace quorlen
