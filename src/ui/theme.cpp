#include "ui/theme.h"

namespace quorlen {

namespace QuorlenTheme {
QColor lacquer() { return QColor::fromRgbF(0.68f, 0.14f, 0.13f); }
QColor saffron() { return QColor::fromRgbF(0.92f, 0.64f, 0.24f); }
QColor spruce() { return QColor::fromRgbF(0.12f, 0.31f, 0.28f); }
QColor fern() { return QColor::fromRgbF(0.42f, 0.56f, 0.30f); }
QColor dusk() { return QColor::fromRgbF(0.47f, 0.40f, 0.60f); }
QColor copper() { return QColor::fromRgbF(0.72f, 0.42f, 0.25f); }
QColor lake() { return QColor::fromRgbF(0.30f, 0.46f, 0.64f); }
QColor teal() { return QColor::fromRgbF(0.16f, 0.55f, 0.55f); }
QColor graphite() { return QColor::fromRgbF(0.12f, 0.12f, 0.14f); }
QColor porcelain() { return QColor::fromRgbF(0.95f, 0.92f, 0.86f); }
} // namespace QuorlenTheme

QColor withOpacity(QColor color, double opacity) {
    color.setAlphaF(static_cast<float>(opacity));
    return color;
}

SchemeColors schemeColors(ColorScheme scheme) {
    const QColor white(Qt::white);
    const QColor black(Qt::black);
    if (scheme == ColorScheme::Dark) {
        return {
            .windowBackground = QColor(30, 30, 32),
            .primaryText = withOpacity(white, 0.88),
            .secondaryText = withOpacity(white, 0.55),
            .surface = withOpacity(QColor::fromRgbF(0.16f, 0.16f, 0.17f), 0.82),
            .border = withOpacity(white, 0.13),
            .fieldFill = withOpacity(white, 0.045),
            .fieldBorder = withOpacity(white, 0.13),
        };
    }
    return {
        .windowBackground = QColor(236, 236, 236),
        .primaryText = withOpacity(black, 0.86),
        .secondaryText = withOpacity(black, 0.52),
        .surface = withOpacity(QColor::fromRgbF(0.97f, 0.95f, 0.91f), 0.84),
        .border = withOpacity(black, 0.08),
        .fieldFill = withOpacity(white, 0.58),
        .fieldBorder = withOpacity(black, 0.08),
    };
}

} // namespace quorlen
