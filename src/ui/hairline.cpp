#include "ui/hairline.h"

#include "ui/color_scheme.h"

#include <QPainter>

namespace quorlen {

Hairline::Hairline(QWidget* parent) : QWidget(parent) {
    setFixedHeight(1);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void Hairline::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), currentColors().border);
}

} // namespace quorlen
