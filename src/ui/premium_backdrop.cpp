#include "ui/premium_backdrop.h"

#include "ui/color_scheme.h"

#include <QLinearGradient>
#include <QPainter>

namespace quorlen {

PremiumBackdrop::PremiumBackdrop(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void PremiumBackdrop::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const SchemeColors colors = currentColors();
    const bool dark = currentScheme() == ColorScheme::Dark;
    const double width = this->width();
    const double height = this->height();

    painter.fillRect(rect(), colors.windowBackground);

    QLinearGradient gradient(QPointF(0, 0), QPointF(width, height));
    if (dark) {
        gradient.setColorAt(0.0, QuorlenTheme::graphite());
        gradient.setColorAt(0.5, withOpacity(QuorlenTheme::spruce(), 0.62));
        gradient.setColorAt(1.0, colors.windowBackground);
    } else {
        gradient.setColorAt(0.0, colors.windowBackground);
        gradient.setColorAt(0.5, withOpacity(QuorlenTheme::porcelain(), 0.84));
        gradient.setColorAt(1.0, withOpacity(QuorlenTheme::teal(), 0.14));
    }
    painter.fillRect(rect(), gradient);

    // Lines from (x, height) to (x + height, 0); starting at -height keeps
    // the bottom-left corner covered however narrow the window is.
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(dark ? withOpacity(QuorlenTheme::saffron(), 0.055)
                             : withOpacity(QuorlenTheme::spruce(), 0.045),
                        1.0));
    for (double x = -height; x < width; x += kHatchSpacing)
        painter.drawLine(QPointF(x, height), QPointF(x + height, 0));
}

} // namespace quorlen
