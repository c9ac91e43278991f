#include "tempo_detection/tempo_detect_model.h"

#include "decoding/audio_extensions.h"
#include "key/key_names.h"
#include "tempo_detection/analysis_pool.h"
#include "tempo_detection/tempo_preview_player.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QPointer>
#include <QThread>
#include <QThreadPool>

#include <algorithm>
#include <atomic>
#include <mutex>

namespace quorlen {

// A tag save in flight, shared like Job: the model withdraws under the
// mutex, the worker posts only under it.
struct TempoDetectModel::TagJob {
    std::mutex mutex;
    TempoDetectModel* receiver = nullptr;
};

// What a worker shares with the model. The model withdraws as receiver
// under the mutex, and the worker posts only under it, so a posted outcome
// always has a living receiver at the moment it is posted (Qt drops posted
// calls of a receiver destroyed later).
struct TempoDetectModel::Job {
    std::atomic<bool> cancelled{false};
    std::mutex mutex;
    TempoDetectModel* receiver = nullptr;
    QString path;
    detection::OctaveMode octave;
};

struct TempoDetectModel::Outcome {
    std::optional<detection::Analysis> analysis;
    std::optional<tags::FileStamp> stamp;
    QString error;
    bool cancelled = false;
};

namespace {

detection::Analysis analyseWithEngine(const std::string& path,
                                      const detection::CancelCheck& isCancelled,
                                      const detection::OctaveMode& octave) {
    // One core stays free for the window, so it keeps drawing while a long
    // file is analysed.
    detection::AnalysisOptions options;
    options.threads = std::max(1, QThread::idealThreadCount() - 1);
    options.key = true;
    return detection::analyzeFile(path, isCancelled, options, octave);
}

} // namespace

TempoDetectModel::TempoDetectModel(std::unique_ptr<TempoPreviewPlayer> player, Analyser analyser,
                                   QObject* parent)
    : QObject(parent), m_player(player ? std::move(player) : TempoPreviewPlayer::onSoundCard()),
      m_analyser(analyser ? std::move(analyser) : Analyser(&analyseWithEngine)) {
    connect(m_player.get(), &TempoPreviewPlayer::outputLost, this, &TempoDetectModel::failPreview);
}

TempoDetectModel::~TempoDetectModel() {
    cancelRunning();
    dropTagSaving();
    ++m_previewRequest;
    m_player->stop(false);
}

void TempoDetectModel::cancelRunning() {
    if (!m_running)
        return;
    std::lock_guard lock(m_running->mutex);
    m_running->cancelled = true;
    m_running->receiver = nullptr;
    m_running.reset();
}

void TempoDetectModel::cancelAnalysis() {
    if (!m_running)
        return;
    cancelRunning();
    m_analysing = false;
    m_status.reset();
    emit changed();
}

void TempoDetectModel::chooseFile(QWidget* dialogParent) {
    auto* dialog = new QFileDialog(dialogParent, QStringLiteral("Choose an audio file"));
    dialog->setObjectName(QStringLiteral("audioFileDialog"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setLabelText(QFileDialog::Accept, QStringLiteral("Analyse"));
    // One filter for every file the reader decodes, then "All files".
    QStringList patterns;
    for (const std::string_view extension : decoding::audioExtensions())
        patterns << QStringLiteral("*.") +
                        QString::fromLatin1(extension.data(), qsizetype(extension.size()));
    dialog->setNameFilters({QStringLiteral("Audio files (") + patterns.join(u' ') + u')',
                            QStringLiteral("All files (*)")});
    QPointer<TempoDetectModel> self(this);
    connect(dialog, &QFileDialog::fileSelected, this, [self](const QString& path) {
        if (self)
            self->analyse(path);
    });
    dialog->open();
}

void TempoDetectModel::analyse(const QString& path) {
    cancelRunning();
    stopPreview();
    m_analysing = true;
    m_failed = false;
    m_status = QStringLiteral("Analysing ") + QFileInfo(path).fileName() + QChar(0x2026);
    emit changed();

    auto job = std::make_shared<Job>();
    job->receiver = this;
    job->path = path;
    job->octave = m_octave;
    m_running = job;
    analysisPool().start([job, analyser = m_analyser] {
        Outcome outcome;
        try {
            outcome.stamp = tags::stampOf(job->path.toStdString());
            outcome.analysis = analyser(
                job->path.toStdString(), [&job] { return job->cancelled.load(); }, job->octave);
        } catch (const detection::Failure& failure) {
            outcome.cancelled = failure.kind() == detection::FailureKind::cancelled;
            outcome.error = QString::fromStdString(failure.what());
        } catch (const std::exception& error) {
            outcome.error = QString::fromStdString(error.what());
        }
        std::lock_guard lock(job->mutex);
        if (job->cancelled || !job->receiver)
            return;
        TempoDetectModel* receiver = job->receiver;
        QMetaObject::invokeMethod(
            receiver,
            [receiver, job, outcome = std::move(outcome)] { receiver->apply(job, outcome); },
            Qt::QueuedConnection);
    });
}

void TempoDetectModel::apply(const std::shared_ptr<Job>& job, const Outcome& outcome) {
    // A job replaced after it posted is as cancelled as one that never did.
    if (job != m_running)
        return;
    m_running.reset();
    m_analysing = false;
    if (outcome.analysis) {
        Detection shown;
        static_cast<detection::Analysis&>(shown) = *outcome.analysis;
        shown.name = QFileInfo(job->path).fileName();
        shown.path = job->path;
        shown.stamp = outcome.stamp;
        show(std::move(shown));
    } else if (!outcome.cancelled) {
        m_status = outcome.error;
        m_failed = true;
    }
    emit changed();
}

void TempoDetectModel::show(Detection detection) {
    detection.bpm = detection.estimate.bpm;
    detection.beatOffsetSeconds = detection.estimate.beatOffsetSeconds;
    detection.snappedBars = detection.estimate.snappedBars;
    m_result = std::move(detection);
    dropTagSaving();
    m_tagOutcome.reset();
    m_status.reset();
    m_failed = false;
}

void TempoDetectModel::reestimateShown() {
    stopPreview();
    try {
        Detection shown = *m_result;
        static_cast<detection::Analysis&>(shown) = detection::reestimate(*m_result, m_octave);
        show(std::move(shown));
    } catch (const detection::Failure& failure) {
        // As a new analysis that failed: the last result stays behind the sentence.
        m_status = QString::fromStdString(failure.what());
        m_failed = true;
    }
    emit changed();
}

void TempoDetectModel::setOctaveMode(const detection::OctaveMode& mode) {
    if (mode == m_octave)
        return;
    m_octave = mode;
    if (m_running) {
        // A copy: analysing again replaces the job that holds the path.
        const QString path = m_running->path;
        analyse(path);
    } else if (m_result && m_result->evidence) {
        reestimateShown();
    } else if (m_result) {
        analyse(m_result->path);
    }
}

void TempoDetectModel::rescale(double factor) {
    if (m_result)
        showTempo(factor * m_result->bpm);
}

void TempoDetectModel::showTempo(double bpm) {
    if (!m_result)
        return;
    if (!(bpm >= tempo::kControlBpmRange.min && bpm <= tempo::kControlBpmRange.max))
        return;
    stopPreview();
    m_result->bpm = bpm;
    m_result->snappedBars.reset();
    m_tagOutcome.reset();
    emit changed();
}

void TempoDetectModel::startPreview(std::optional<double> fromSeconds) {
    if (!m_result)
        return;
    const double offset = fromSeconds && *fromSeconds >= 0 ? *fromSeconds : 0.0;
    setPlayhead(offset);
    const uint64_t request = ++m_previewRequest;
    QPointer<TempoDetectModel> self(this);
    auto onFinish = [self] {
        if (self)
            self->stopPreview();
    };
    m_player->start(m_result->path, offset, onFinish,
                    [self, request](std::optional<QString> error) {
                        if (!self || request != self->m_previewRequest || !error)
                            return;
                        self->failPreview(*error);
                    });
}

void TempoDetectModel::stopPreview() {
    ++m_previewRequest;
    setPlayhead(std::nullopt);
    m_player->stopSmoothly(false);
}

void TempoDetectModel::failPreview(const QString& message) {
    m_status = message;
    m_failed = true;
    emit changed();
    setPlayhead(std::nullopt);
}

void TempoDetectModel::tickPlayhead() {
    const std::optional<double> started = m_player->started();
    if (!m_playhead || !started || !m_result)
        return;
    setPlayhead(std::min(m_result->estimate.durationSeconds,
                         m_player->now() - *started + m_player->startOffset()));
}

void TempoDetectModel::dropTagSaving() {
    if (!m_savingTags)
        return;
    std::lock_guard lock(m_savingTags->mutex);
    m_savingTags->receiver = nullptr;
    m_savingTags.reset();
}

void TempoDetectModel::saveTags(bool replaceExisting) {
    if (!m_result || m_savingTags)
        return;
    auto job = std::make_shared<TagJob>();
    job->receiver = this;
    m_savingTags = job;
    m_tagOutcome.reset();
    emit changed();
    // The key tag follows once a detection names a key; the file's own key
    // tag stays as it is until then.
    // The key goes in where one is shown; without it the file's key tag stays.
    const std::optional<std::string> key =
        m_result->key && m_result->key->key
            ? std::optional<std::string>(key::asciiKeyName(*m_result->key->key))
            : std::nullopt;
    const tags::TagRequest request{m_result->bpm, key, replaceExisting, m_result->stamp};
    analysisPool().start([job, path = m_result->path.toStdString(), request] {
        const tags::TagOutcome outcome = tags::writeTempoTags(path, request);
        std::lock_guard lock(job->mutex);
        if (!job->receiver)
            return;
        TempoDetectModel* receiver = job->receiver;
        QMetaObject::invokeMethod(
            receiver, [receiver, job, outcome] { receiver->applyTagOutcome(job, outcome); },
            Qt::QueuedConnection);
    });
}

void TempoDetectModel::applyTagOutcome(const std::shared_ptr<TagJob>& job,
                                       const tags::TagOutcome& outcome) {
    if (job != m_savingTags)
        return;
    m_savingTags.reset();
    m_tagOutcome = outcome;
    // The file is this program's own change; the next save compares to it.
    if (outcome.writtenStamp && m_result)
        m_result->stamp = outcome.writtenStamp;
    emit changed();
}

void TempoDetectModel::setPlayhead(std::optional<double> seconds) {
    if (seconds == m_playhead)
        return;
    m_playhead = seconds;
    emit playheadChanged();
}

} // namespace quorlen
