#include "ui/stepper.h"

#include "ui/accessible_parts.h"
#include "ui/card.h"
#include "ui/color_scheme.h"
#include "ui/focus_ring.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

namespace quorlen {

Stepper::Stepper(QWidget* parent) : QWidget(parent) {
    setFixedSize(sizeHint());
    setCursor(Qt::PointingHandCursor);
    setMouseTracking(true);
    setFocusPolicy(Qt::TabFocus);
    installKitAccessibility();
    m_repeat.setTimerType(Qt::PreciseTimer);
    connect(&m_repeat, &QTimer::timeout, this, &Stepper::repeat);
}

void Stepper::setValueText(const QString& text) {
    if (text == m_valueText)
        return;
    m_valueText = text;
    notifyAccessibleValue(this, text);
}

void Stepper::stepDown() { step(Half::Down); }
void Stepper::stepUp() { step(Half::Up); }

void Stepper::step(Half half) {
    if (half == Half::Down && m_canDown)
        emit steppedDown();
    else if (half == Half::Up && m_canUp)
        emit steppedUp();
}

// Holding keeps stepping, faster after the first pause, while the pointer
// stays on the half pressed; the end of the range ends it.
void Stepper::repeat() {
    m_repeat.setInterval(kRepeatIntervalMs);
    if (m_pressed == Half::None || m_hovered != m_pressed)
        return;
    if ((m_pressed == Half::Down && !m_canDown) || (m_pressed == Half::Up && !m_canUp)) {
        m_repeat.stop();
        return;
    }
    step(m_pressed);
}

void Stepper::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Right:
    case Qt::Key_Plus:
        stepUp();
        break;
    case Qt::Key_Down:
    case Qt::Key_Left:
    case Qt::Key_Minus:
        stepDown();
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

void Stepper::setCanStep(bool down, bool up) {
    if (down == m_canDown && up == m_canUp)
        return;
    if ((m_pressed == Half::Down && !down) || (m_pressed == Half::Up && !up))
        m_repeat.stop();
    m_canDown = down;
    m_canUp = up;
    update();
}

Stepper::Half Stepper::halfAt(const QPointF& position) const {
    if (!rect().contains(position.toPoint()))
        return Half::None;
    return position.x() < width() / 2.0 ? Half::Down : Half::Up;
}

void Stepper::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return QWidget::mousePressEvent(event);
    m_pressed = halfAt(event->position());
    m_hovered = m_pressed;
    update();
    step(m_pressed);
    m_repeat.start(kRepeatDelayMs);
}

void Stepper::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return QWidget::mouseReleaseEvent(event);
    m_pressed = Half::None;
    m_repeat.stop();
    update();
}

void Stepper::mouseMoveEvent(QMouseEvent* event) {
    const Half hovered = halfAt(event->position());
    if (hovered != m_hovered) {
        m_hovered = hovered;
        update();
    }
}

void Stepper::leaveEvent(QEvent*) {
    m_hovered = Half::None;
    update();
}

void Stepper::paintEvent(QPaintEvent*) {
    const SchemeColors colors = currentColors();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box = rect();
    paintFieldBox(painter, box, 7);

    const double half = box.width() / 2;
    const QRectF downRect(box.left(), box.top(), half, box.height());
    const QRectF upRect(box.left() + half, box.top(), half, box.height());
    for (const auto& [area, which, enabled] :
         {std::tuple{downRect, Half::Down, m_canDown}, std::tuple{upRect, Half::Up, m_canUp}}) {
        if (enabled && (m_pressed == which || m_hovered == which)) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(withOpacity(colors.primaryText, m_pressed == which ? 0.12 : 0.05));
            painter.drawRoundedRect(area.adjusted(2, 2, -2, -2), 5, 5);
        }
        // Drawn strokes rather than glyphs, so − and + are the same size
        // in every font.
        const QColor ink = enabled ? colors.primaryText : withOpacity(colors.secondaryText, 0.35);
        painter.setPen(QPen(ink, 1.6, Qt::SolidLine, Qt::RoundCap));
        const QPointF centre = area.center();
        painter.drawLine(centre - QPointF(5, 0), centre + QPointF(5, 0));
        if (which == Half::Up)
            painter.drawLine(centre - QPointF(0, 5), centre + QPointF(0, 5));
    }
    painter.setPen(QPen(colors.fieldBorder, 1));
    painter.drawLine(QPointF(half, box.top() + 6), QPointF(half, box.bottom() - 6));
    if (hasFocus())
        paintFocusRing(painter, box, 7);
}

} // namespace quorlen
