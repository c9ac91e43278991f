#include "ui/hairline.h"

#include "ui/color_scheme.h"

#include <QPainter>

namespace quorlen {

Hairline::Hairline(double opacity, QWidget* parent) : QWidget(parent), m_opacity(opacity) {
    setFixedHeight(1);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void Hairline::paintEvent(QPaintEvent*) {
    const QColor border = currentColors().border;
    QPainter(this).fillRect(rect(), withOpacity(border, border.alphaF() * m_opacity));
}

} // namespace quorlen
