#include "tempo_detection/confidence_bar.h"

#include "detection/display_text.h"
#include "ui/color_scheme.h"

#include <QPainter>

#include <algorithm>

namespace quorlen {

ConfidenceBar::ConfidenceBar(QWidget* parent) : QWidget(parent) { setFixedSize(sizeHint()); }

void ConfidenceBar::setValue(double value) {
    m_value = value;
    update();
}

double ConfidenceBar::filledFraction(double value) {
    return value <= 0 ? 0.0 : std::min(value, 1.0);
}

QColor ConfidenceBar::fillColor(double value) {
    switch (detection::confidenceLevel(value)) {
    case detection::ConfidenceLevel::high:
        return QuorlenTheme::fern();
    case detection::ConfidenceLevel::medium:
        return QuorlenTheme::saffron();
    case detection::ConfidenceLevel::low:
        break;
    }
    return QuorlenTheme::lacquer();
}

void ConfidenceBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QRectF track(rect());
    const double radius = track.height() / 2;
    painter.setBrush(withOpacity(currentColors().primaryText, 0.10));
    painter.drawRoundedRect(track, radius, radius);
    const double fraction = filledFraction(m_value);
    if (fraction <= 0)
        return;
    painter.setBrush(fillColor(m_value));
    painter.drawRoundedRect(QRectF(0, 0, track.width() * fraction, track.height()), radius, radius);
}

} // namespace quorlen
