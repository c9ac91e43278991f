#pragma once

#include "detection/tempo_detector.h"
#include "tags/tag_writer.h"
#include "tempo/tempo_field.h"
#include "tempo_detection/tempo_preview_player.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QWidget;

namespace quorlen {

// One detection session behind the detection panel: the analysis of one
// file at a time on a worker thread, the shown result with its halving and
// doubling, and the preview with its playhead. It never writes the
// calculator state; applying a tempo is the panel's job.
//
// Main thread only. Contract of the signals: `changed` follows any change
// of result, isAnalysing, status, failed, isSavingTags or tagOutcome, after
// all of them hold their new values (an analysis outcome arrives as one
// change); `playheadChanged` follows a change of the playhead alone.
class TempoDetectModel : public QObject {
    Q_OBJECT
public:
    // The analysis as made (or re-estimated in another octave mode), and
    // what the panel shows of it.
    struct Detection : detection::Analysis {
        QString name;   // the file's name, without folders
        QString path;   // the analysed file, for the preview
        double bpm = 0; // shown; halving and doubling change it
        double beatOffsetSeconds = 0;
        std::optional<int> snappedBars; // cleared by halving and doubling
        // The file as the analysis started on it: one changed since is not tagged.
        std::optional<tags::FileStamp> stamp;
    };

    // Runs on a worker thread: decodes and analyses the file, polling the
    // callback, with the tempo's octave chosen as the mode says. Tests pass
    // their own.
    using Analyser = std::function<detection::Analysis(const std::string& path,
                                                       const detection::CancelCheck& isCancelled,
                                                       const detection::OctaveMode& octave)>;

    // Without a player, the preview plays on the sound card; without an
    // analyser, files are analysed with the detection engine.
    explicit TempoDetectModel(std::unique_ptr<TempoPreviewPlayer> player = nullptr,
                              Analyser analyser = nullptr, QObject* parent = nullptr);
    // Cancels a running analysis (it ends without publishing) and stops the
    // preview at once.
    ~TempoDetectModel() override;

    const std::optional<Detection>& result() const { return m_result; }
    bool isAnalysing() const { return m_analysing; }
    // "Analysing NAME…" while analysing; the failure's sentence after a
    // failure; absent after a success.
    const std::optional<QString>& status() const { return m_status; }
    bool failed() const { return m_failed; }
    // Preview position in seconds from the start of the file; absent when
    // no preview plays.
    std::optional<double> playhead() const { return m_playhead; }
    TempoPreviewPlayer& player() { return *m_player; }

    // Opens a file chooser for audio files whose confirm button reads
    // "Analyse"; a chosen file is analysed.
    void chooseFile(QWidget* dialogParent);
    // Cancels any running analysis and stops the preview, then analyses `path`.
    void analyse(const QString& path);
    // Drops the running analysis, if any, without a word: it never
    // publishes, and the model stops analysing.
    void cancelAnalysis();
    // How the next analyses choose the tempo's octave (classic at first).
    // A change re-estimates the shown result from what its analysis
    // measured, at once and without decoding again (a running analysis, or
    // a result that kept no measurements, is analysed again), so the
    // result, its grid and its alternatives follow the mode.
    void setOctaveMode(const detection::OctaveMode& mode);
    const detection::OctaveMode& octaveMode() const { return m_octave; }
    // result.bpm × factor, when that stays within 20 ... 400 BPM.
    void rescale(double factor);
    // Shows `bpm` (an alternative or a candidate) as the tempo, with its
    // grid from the same first beat, when within 20 ... 400 BPM.
    void showTempo(double bpm);
    // From `fromSeconds` when given and not negative, else from the start.
    void startPreview(std::optional<double> fromSeconds = std::nullopt);
    void stopPreview();
    // Moves the playhead to where the preview is now, never past the end.
    void tickPlayhead();

    // Writes the shown tempo into the analysed file's tags on a worker
    // thread, by the rules of `tags::writeTempoTags`: a file that has a BPM
    // tag keeps it unless `replaceExisting`. Does nothing while a save runs.
    void saveTags(bool replaceExisting = false);
    bool isSavingTags() const { return m_savingTags != nullptr; }
    // What the last save of the shown result did; cleared when the result
    // or its tempo changes.
    const std::optional<tags::TagOutcome>& tagOutcome() const { return m_tagOutcome; }

signals:
    void changed();
    void playheadChanged();

private:
    struct Job;
    struct Outcome;
    struct TagJob;

    void apply(const std::shared_ptr<Job>& job, const Outcome& outcome);
    void applyTagOutcome(const std::shared_ptr<TagJob>& job, const tags::TagOutcome& outcome);
    void dropTagSaving();
    void cancelRunning();
    void show(Detection detection);
    void reestimateShown();
    void setPlayhead(std::optional<double> seconds);
    void failPreview(const QString& message);

    std::optional<Detection> m_result;
    bool m_analysing = false;
    std::optional<QString> m_status;
    bool m_failed = false;
    std::optional<double> m_playhead;
    std::unique_ptr<TempoPreviewPlayer> m_player;
    Analyser m_analyser;
    detection::OctaveMode m_octave;
    std::shared_ptr<Job> m_running;
    std::shared_ptr<TagJob> m_savingTags;
    std::optional<tags::TagOutcome> m_tagOutcome;
    // Identifies the latest preview request; outcomes of older ones are dropped.
    uint64_t m_previewRequest = 0;
};

} // namespace quorlen
