#include "tempo_detection/waveform_grid.h"

#include "decoding/audio_file_reader.h"
#include "preview/span_peaks.h"
#include "tempo_detection/analysis_pool.h"
#include "ui/color_scheme.h"
#include "ui/focus_ring.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPainter>
#include <QThreadPool>
#include <QWheelEvent>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>

namespace quorlen {

// A read of the stretch shown, shared with its worker: the grid withdraws
// under the mutex, and the worker posts only under it, so a posted result
// always has a living receiver when posted.
struct WaveformGrid::DetailJob {
    std::atomic<bool> cancelled{false};
    std::mutex mutex;
    WaveformGrid* receiver = nullptr;
};

namespace {
constexpr int kDetailSettleMs = 60;
} // namespace

WaveformGrid::WaveformGrid(const QColor& accent, QWidget* parent)
    : QWidget(parent), m_accent(accent) {
    setObjectName(QStringLiteral("waveformGrid"));
    setFixedHeight(kHeight);
    setMinimumWidth(1);
    setCursor(Qt::PointingHandCursor);
    setToolTip(QStringLiteral("Click the waveform to preview from there"));
    setFocusPolicy(Qt::TabFocus);
    // Space plays from here, rather than tapping the tempo.
    setProperty("ownsSpaceKey", true);
    setAccessibleDescription(QStringLiteral("Left and Right move by a beat, Page Up and Page "
                                            "Down by a bar; Space or Return plays from there"));
    describeCursor();
    m_detailTimer.setSingleShot(true);
    m_detailTimer.setInterval(kDetailSettleMs);
    connect(&m_detailTimer, &QTimer::timeout, this, &WaveformGrid::fetchDetail);
}

WaveformGrid::~WaveformGrid() { dropDetailJob(); }

void WaveformGrid::dropDetailJob() {
    if (!m_detailJob)
        return;
    std::lock_guard lock(m_detailJob->mutex);
    m_detailJob->cancelled = true;
    m_detailJob->receiver = nullptr;
    m_detailJob.reset();
}

void WaveformGrid::showView(detection::TimeView view) {
    // The playhead asks 30 times a second; only a move reads again.
    if (view != m_view) {
        m_view = view;
        m_detailTimer.start();
    }
    update();
}

bool WaveformGrid::showsDetail() const {
    return m_detail.view == m_view && !m_detail.peaks.empty() &&
           m_detail.peaks.size() == static_cast<size_t>(width());
}

void WaveformGrid::fetchDetail() {
    if (showsDetail())
        return;
    dropDetailJob();
    if (m_path.empty() ||
        !preview::wantsSpanPeaks(m_durationSeconds, m_waveform ? m_waveform->size() : 0,
                                 m_view.spanSeconds, width()))
        return;
    auto job = std::make_shared<DetailJob>();
    job->receiver = this;
    m_detailJob = job;
    analysisPool().start([job, path = m_path, view = m_view, columns = width()] {
        std::vector<float> peaks;
        try {
            decoding::AudioFileReader file(path);
            peaks = preview::spanPeaks(file, view.startSeconds, view.spanSeconds, columns,
                                       [&job] { return job->cancelled.load(); });
        } catch (const std::exception&) {
            return; // the kept peaks stay; a file gone since is the preview's to report
        }
        std::lock_guard lock(job->mutex);
        if (peaks.empty() || !job->receiver)
            return;
        WaveformGrid* receiver = job->receiver;
        QMetaObject::invokeMethod(
            receiver,
            [receiver, job, view, peaks = std::move(peaks)]() mutable {
                if (job != receiver->m_detailJob)
                    return;
                receiver->m_detailJob.reset();
                receiver->m_detail = {view, std::move(peaks)};
                receiver->update();
            },
            Qt::QueuedConnection);
    });
}

void WaveformGrid::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    m_detailTimer.start();
}

void WaveformGrid::setDetection(const TempoDetectModel::Detection& detection) {
    // Another file starts whole; halving or doubling keeps the zoom.
    if (detection.path.toStdString() != m_path) {
        dropDetailJob();
        m_detail = {};
        m_path = detection.path.toStdString();
        m_detailTimer.start();
    }
    if (detection.estimate.durationSeconds != m_durationSeconds || m_view.spanSeconds <= 0)
        showView({0, detection.estimate.durationSeconds});
    m_waveform = detection.waveform;
    m_durationSeconds = detection.estimate.durationSeconds;
    m_bpm = detection.bpm;
    m_beatOffsetSeconds = detection.beatOffsetSeconds;
    m_downbeat = detection.estimate.downbeat;
    m_cursor = std::clamp(m_cursor, 0.0, std::max(m_durationSeconds, 0.0));
    describeCursor();
    update();
}

void WaveformGrid::setPlayhead(std::optional<double> seconds) {
    if (seconds == m_playhead)
        return;
    m_playhead = seconds;
    if (seconds) {
        m_cursor = *seconds;
        // A zoomed view pages along with the playback.
        showView(detection::viewShowing(m_view, *seconds, m_durationSeconds));
    }
    update();
}

void WaveformGrid::zoom(double factor, double anchorSeconds) {
    showView(detection::zoomedView(m_view, factor, anchorSeconds, m_durationSeconds));
}

void WaveformGrid::moveCursor(double seconds) {
    m_cursor = seconds;
    showView(detection::viewShowing(m_view, seconds, m_durationSeconds));
    describeCursor();
    update();
    // A playing preview follows the cursor, as it follows a click.
    if (m_playhead)
        emit previewRequested(seconds);
}

void WaveformGrid::describeCursor() {
    setAccessibleName(QStringLiteral("Waveform, at %1 s of %2 s")
                          .arg(m_cursor, 0, 'f', 1)
                          .arg(m_durationSeconds, 0, 'f', 1));
}

void WaveformGrid::wheelEvent(QWheelEvent* event) {
    constexpr double kNotch = 120; // angle units of one wheel step
    const QPoint delta = event->angleDelta();
    const double anchor = detection::secondsForX(event->position().x(), width(), m_view);
    if (event->modifiers() & Qt::ControlModifier) {
        zoom(std::pow(2.0, delta.y() / kNotch / 2), anchor);
    } else if (delta.x() != 0 || (event->modifiers() & Qt::ShiftModifier)) {
        // A notch moves a tenth of what is shown.
        const double notches = (delta.x() != 0 ? -delta.x() : -delta.y()) / kNotch;
        showView(
            detection::scrolledView(m_view, notches * m_view.spanSeconds / 10, m_durationSeconds));
    } else {
        event->ignore(); // an upright wheel scrolls the page
        return;
    }
    event->accept();
}

bool WaveformGrid::event(QEvent* event) {
    if (event->type() == QEvent::NativeGesture) {
        const auto* gesture = static_cast<QNativeGestureEvent*>(event);
        if (gesture->gestureType() == Qt::ZoomNativeGesture) {
            zoom(1 + gesture->value(),
                 detection::secondsForX(gesture->position().x(), width(), m_view));
            return true;
        }
    }
    // Space is this control's play key while it has the focus.
    if (event->type() == QEvent::ShortcutOverride) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Space && key->modifiers() == Qt::NoModifier) {
            key->accept();
            return true;
        }
    }
    return QWidget::event(event);
}

void WaveformGrid::keyPressEvent(QKeyEvent* event) {
    const detection::GridInput grid{m_bpm, m_beatOffsetSeconds, m_downbeat, m_durationSeconds};
    constexpr int kBeatsPerBar = 4;
    switch (event->key()) {
    case Qt::Key_Left:
        moveCursor(detection::steppedSeconds(grid, m_cursor, -1));
        break;
    case Qt::Key_Right:
        moveCursor(detection::steppedSeconds(grid, m_cursor, 1));
        break;
    case Qt::Key_PageUp:
        moveCursor(detection::steppedSeconds(grid, m_cursor, -kBeatsPerBar));
        break;
    case Qt::Key_PageDown:
        moveCursor(detection::steppedSeconds(grid, m_cursor, kBeatsPerBar));
        break;
    case Qt::Key_Home:
        moveCursor(0);
        break;
    case Qt::Key_End:
        moveCursor(m_durationSeconds);
        break;
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        zoom(2, m_cursor);
        break;
    case Qt::Key_Minus:
        zoom(0.5, m_cursor);
        break;
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        emit previewRequested(m_cursor);
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    event->accept();
}

void WaveformGrid::focusInEvent(QFocusEvent* event) {
    update();
    QWidget::focusInEvent(event);
}

void WaveformGrid::focusOutEvent(QFocusEvent* event) {
    update();
    QWidget::focusOutEvent(event);
}

void WaveformGrid::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || width() <= 0)
        return;
    m_cursor = detection::secondsForX(event->position().x(), width(), m_view);
    describeCursor();
    emit previewRequested(m_cursor);
}

void WaveformGrid::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const double w = width();
    const double h = height();
    const double mid = h / 2;
    const QColor ink = withOpacity(currentColors().primaryText, 0.38);
    const std::vector<double> halfHeights =
        showsDetail() ? detection::waveformHalfHeights(m_detail.peaks, w, h)
        : m_waveform  ? detection::waveformHalfHeights(*m_waveform, w, h, m_durationSeconds, m_view)
                      : std::vector<double>{};
    for (size_t x = 0; x < halfHeights.size(); ++x) {
        const double a = halfHeights[x];
        painter.fillRect(QRectF(double(x), mid - a, 1, 2 * a), ink);
    }

    const QColor bar = withOpacity(m_accent, 0.85);
    const QColor beat = withOpacity(QuorlenTheme::saffron(), 0.55);
    const auto lines = detection::gridLines(
        {m_bpm, m_beatOffsetSeconds, m_downbeat, m_durationSeconds}, w, m_view);
    for (const detection::GridLine& line : lines) {
        if (line.bar)
            painter.fillRect(QRectF(line.x, 0, 1.4, h), bar);
        else
            painter.fillRect(QRectF(line.x, 0.18 * h, 1, 0.64 * h), beat);
    }

    if (m_playhead) {
        const double x = detection::xForSeconds(*m_playhead, m_view, w);
        painter.fillRect(QRectF(x, 0, 1.5, h), withOpacity(QuorlenTheme::lacquer(), 0.9));
    }
    if (hasFocus()) {
        // The keyboard's cursor, where Space plays from, in the ring's colour.
        if (!m_playhead) {
            const double x = detection::xForSeconds(m_cursor, m_view, w);
            painter.fillRect(QRectF(std::min(x, w - 2), 0, 2, h), focusRingColor(currentScheme()));
        }
        paintFocusRing(painter, rect(), 6);
    }
}

} // namespace quorlen
