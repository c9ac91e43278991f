#include "ui/kit_slider.h"

#include "ui/color_scheme.h"
#include "ui/focus_ring.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStyle>

#include <cmath>

namespace quorlen {

KitSlider::KitSlider(const QColor& accent, QWidget* parent)
    : QSlider(Qt::Horizontal, parent), m_accent(accent) {
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    // Keys move the slider position first; the signal then reports it.
    connect(this, &QAbstractSlider::actionTriggered, this, [this](int action) {
        if (action != SliderMove)
            emit picked(sliderPosition());
    });
}

int KitSlider::valueAt(double x) const {
    // The knob's centre travels between the two radii at the ends.
    const int span = qMax(1, width() - 2 * static_cast<int>(kKnobRadius));
    const int position = qBound(0, static_cast<int>(std::lround(x - kKnobRadius)), span);
    return QStyle::sliderValueFromPosition(minimum(), maximum(), position, span);
}

double KitSlider::knobX() const {
    const double span = qMax(1.0, width() - 2 * kKnobRadius);
    const double fraction =
        maximum() > minimum() ? double(value() - minimum()) / double(maximum() - minimum()) : 0.0;
    return kKnobRadius + fraction * span;
}

void KitSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return QSlider::mousePressEvent(event);
    m_dragging = true;
    setSliderDown(true);
    const int value = valueAt(event->position().x());
    setSliderPosition(value);
    emit picked(value);
}

void KitSlider::mouseMoveEvent(QMouseEvent* event) {
    if (!m_dragging)
        return;
    const int value = valueAt(event->position().x());
    if (value == sliderPosition())
        return;
    setSliderPosition(value);
    emit picked(value);
}

void KitSlider::mouseReleaseEvent(QMouseEvent* event) {
    if (!m_dragging || event->button() != Qt::LeftButton)
        return QSlider::mouseReleaseEvent(event);
    m_dragging = false;
    setSliderDown(false);
}

void KitSlider::paintEvent(QPaintEvent*) {
    const SchemeColors colors = currentColors();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double midY = height() / 2.0;
    const double x = knobX();

    const QRectF track(kKnobRadius, midY - 2, width() - 2 * kKnobRadius, 4);
    painter.setPen(Qt::NoPen);
    painter.setBrush(withOpacity(colors.primaryText, 0.12));
    painter.drawRoundedRect(track, 2, 2);
    painter.setBrush(m_accent);
    painter.drawRoundedRect(QRectF(track.left(), track.top(), x - track.left(), 4), 2, 2);

    const QRectF knob(x - kKnobRadius, midY - kKnobRadius, 2 * kKnobRadius, 2 * kKnobRadius);
    painter.setBrush(currentScheme() == ColorScheme::Dark ? QColor(200, 200, 204)
                                                          : QColor(Qt::white));
    painter.setPen(QPen(withOpacity(Qt::black, 0.18), 1));
    painter.drawEllipse(knob.adjusted(0.5, 0.5, -0.5, -0.5));
    if (hasFocus())
        paintFocusRing(painter, knob.adjusted(-3, -3, 3, 3), kKnobRadius + 3);
}

} // namespace quorlen
