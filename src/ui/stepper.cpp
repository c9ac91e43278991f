#include "ui/stepper.h"

#include "ui/card.h"
#include "ui/color_scheme.h"

#include <QMouseEvent>
#include <QPainter>

namespace quorlen {

Stepper::Stepper(QWidget* parent) : QWidget(parent) {
    setFixedSize(sizeHint());
    setCursor(Qt::PointingHandCursor);
    setMouseTracking(true);
}

void Stepper::setCanStep(bool down, bool up) {
    if (down == m_canDown && up == m_canUp)
        return;
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
    update();
}

void Stepper::mouseReleaseEvent(QMouseEvent* event) {
    const Half pressed = m_pressed;
    m_pressed = Half::None;
    update();
    // Like a button: the step happens on release over the half pressed.
    if (event->button() != Qt::LeftButton || halfAt(event->position()) != pressed)
        return;
    if (pressed == Half::Down && m_canDown)
        emit steppedDown();
    else if (pressed == Half::Up && m_canUp)
        emit steppedUp();
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
}

} // namespace quorlen
