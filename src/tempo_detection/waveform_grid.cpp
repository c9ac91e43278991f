#include "tempo_detection/waveform_grid.h"

#include "detection/waveform_layout.h"
#include "ui/color_scheme.h"
#include "ui/focus_ring.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace quorlen {

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
}

void WaveformGrid::setDetection(const TempoDetectModel::Detection& detection) {
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
    if (seconds)
        m_cursor = *seconds;
    update();
}

void WaveformGrid::moveCursor(double seconds) {
    m_cursor = seconds;
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

bool WaveformGrid::event(QEvent* event) {
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
    m_cursor = detection::secondsForX(event->position().x(), width(), m_durationSeconds);
    describeCursor();
    emit previewRequested(m_cursor);
}

void WaveformGrid::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const double w = width();
    const double h = height();
    const double mid = h / 2;
    const QColor ink = withOpacity(currentColors().primaryText, 0.38);
    const std::vector<double> halfHeights = detection::waveformHalfHeights(m_waveform, w, h);
    for (size_t x = 0; x < halfHeights.size(); ++x) {
        const double a = halfHeights[x];
        painter.fillRect(QRectF(double(x), mid - a, 1, 2 * a), ink);
    }

    const QColor bar = withOpacity(m_accent, 0.85);
    const QColor beat = withOpacity(QuorlenTheme::saffron(), 0.55);
    const auto lines =
        detection::gridLines({m_bpm, m_beatOffsetSeconds, m_downbeat, m_durationSeconds}, w);
    for (const detection::GridLine& line : lines) {
        if (line.bar)
            painter.fillRect(QRectF(line.x, 0, 1.4, h), bar);
        else
            painter.fillRect(QRectF(line.x, 0.18 * h, 1, 0.64 * h), beat);
    }

    if (m_playhead) {
        const double x = detection::xForSeconds(*m_playhead, m_durationSeconds, w);
        painter.fillRect(QRectF(x, 0, 1.5, h), withOpacity(QuorlenTheme::lacquer(), 0.9));
    }
    if (hasFocus()) {
        // The keyboard's cursor, where Space plays from, in the ring's colour.
        if (!m_playhead) {
            const double x = detection::xForSeconds(m_cursor, m_durationSeconds, w);
            painter.fillRect(QRectF(std::min(x, w - 2), 0, 2, h),
                             focusRingColor(currentScheme()));
        }
        paintFocusRing(painter, rect(), 6);
    }
}

} // namespace quorlen
