#include "ui/faint_divider.h"

#include "ui/color_scheme.h"

#include <QPainter>

namespace quorlen {

FaintDivider::FaintDivider(double opacity, QWidget* parent)
    : QWidget(parent), m_opacity(opacity) {
    setFixedHeight(1);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void FaintDivider::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), withOpacity(currentColors().border,
                                         currentColors().border.alphaF() * m_opacity));
}

} // namespace quorlen
