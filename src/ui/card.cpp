#include "ui/card.h"

#include "ui/color_scheme.h"

#include <QPainter>

namespace quorlen {
namespace {

void paintRounded(QPainter& painter, const QRectF& rect, double radius, const QColor& fill,
                  const QColor& border) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(rect, radius, radius);
    // Inset: the 1 px stroke lies wholly inside the shape.
    painter.setPen(QPen(border, 1.0));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(rect.adjusted(0.5, 0.5, -0.5, -0.5), radius - 0.5, radius - 0.5);
    painter.restore();
}

} // namespace

void paintCard(QPainter& painter, const QRectF& rect, double radius, QColor border) {
    const SchemeColors colors = currentColors();
    paintRounded(painter, rect, radius, colors.surface, border.isValid() ? border : colors.border);
}

void paintFieldBox(QPainter& painter, const QRectF& rect, double radius, QColor border) {
    const SchemeColors colors = currentColors();
    paintRounded(painter, rect, radius, colors.fieldFill,
                 border.isValid() ? border : colors.fieldBorder);
}

} // namespace quorlen
