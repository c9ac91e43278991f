#include "ui/theme.h"

#include <algorithm>
#include <cmath>

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

namespace {
double linear(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}
} // namespace

double relativeLuminance(const QColor& color) {
    const QColor rgb = color.toRgb();
    return 0.2126 * linear(rgb.redF()) + 0.7152 * linear(rgb.greenF()) +
           0.0722 * linear(rgb.blueF());
}

double contrastRatio(const QColor& a, const QColor& b) {
    const double la = relativeLuminance(a);
    const double lb = relativeLuminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

QColor darkSurfaceReference() {
    const QColor graphite = QuorlenTheme::graphite();
    const double surface = 0.82;
    auto mix = [&](double top, double under) { return surface * top + (1 - surface) * under; };
    return QColor::fromRgbF(static_cast<float>(mix(0.16, graphite.redF())),
                            static_cast<float>(mix(0.16, graphite.greenF())),
                            static_cast<float>(mix(0.17, graphite.blueF())));
}

QColor textInk(const QColor& hue, ColorScheme scheme) {
    if (scheme == ColorScheme::Light)
        return hue;
    constexpr double kMinimumContrast = 4.5;
    const QColor background = darkSurfaceReference();
    QColor ink = hue.toHsl();
    // Lightness in small steps: the first that reads is the closest to the
    // palette's own colour.
    while (contrastRatio(ink, background) < kMinimumContrast && ink.lightnessF() < 1.0f)
        ink.setHslF(ink.hslHueF(), ink.hslSaturationF(), std::min(1.0f, ink.lightnessF() + 0.01f));
    ink.setAlphaF(hue.alphaF());
    return ink.toRgb();
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
