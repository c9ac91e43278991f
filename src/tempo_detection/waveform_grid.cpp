#include "tempo_detection/waveform_grid.h"

#include "detection/waveform_layout.h"
#include "ui/color_scheme.h"

#include <QMouseEvent>
#include <QPainter>

namespace quorlen {

WaveformGrid::WaveformGrid(const QColor& accent, QWidget* parent)
    : QWidget(parent), m_accent(accent) {
    setObjectName(QStringLiteral("waveformGrid"));
    setFixedHeight(kHeight);
    setMinimumWidth(1);
    setCursor(Qt::PointingHandCursor);
    setToolTip(QStringLiteral("Click the waveform to preview from there"));
}

void WaveformGrid::setDetection(const TempoDetectModel::Detection& detection) {
    m_waveform = detection.waveform;
    m_durationSeconds = detection.estimate.durationSeconds;
    m_bpm = detection.bpm;
    m_beatOffsetSeconds = detection.beatOffsetSeconds;
    m_downbeat = detection.estimate.downbeat;
    update();
}

void WaveformGrid::setPlayhead(std::optional<double> seconds) {
    if (seconds == m_playhead)
        return;
    m_playhead = seconds;
    update();
}

void WaveformGrid::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || width() <= 0)
        return;
    emit previewRequested(
        detection::secondsForX(event->position().x(), width(), m_durationSeconds));
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
}

} // namespace quorlen
