#include "tools/euclidean/euclid_wheel.h"

#include "rhythm/wheel_layout.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"

#include <QPainter>
#include <QPolygonF>

#include <algorithm>

namespace quorlen {

using rhythm::Euclid::hitPolygon;
using rhythm::Euclid::kCurrentRingGap;
using rhythm::Euclid::kWheelSide;
using rhythm::Euclid::Point;
using rhythm::Euclid::StepDot;
using rhythm::Euclid::stepDots;
using rhythm::Euclid::wheelRadius;

namespace {

constexpr int kMinimumSide = 240;
constexpr double kBadgeDiameter = 132;

QPointF toQt(Point point) { return {point.x, point.y}; }

} // namespace

EuclidWheel::EuclidWheel(const QColor& accent, QWidget* parent)
    : QWidget(parent), m_accent(accent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    setAccessibleName(QStringLiteral("Pattern Wheel"));
}

void EuclidWheel::setContent(const std::vector<bool>& pattern, std::optional<int> currentStep,
                             const QString& title, const QString& subtitle) {
    m_pattern = pattern;
    m_currentStep = currentStep;
    m_title = title;
    m_subtitle = subtitle;
    // A screen reader hears the pattern as it is written: x a hit, . a rest.
    QString steps;
    for (const bool hit : pattern)
        steps += hit ? QLatin1Char('x') : QLatin1Char('.');
    setAccessibleDescription(title + QStringLiteral(" · ") + subtitle + QStringLiteral(" · ") +
                             steps);
    update();
}

int EuclidWheel::heightForWidth(int width) const {
    return std::clamp(width, kMinimumSide, static_cast<int>(kWheelSide));
}

QSize EuclidWheel::sizeHint() const {
    const int side = static_cast<int>(kWheelSide);
    return {side, side};
}

QSize EuclidWheel::minimumSizeHint() const { return {kMinimumSide, kMinimumSide}; }

void EuclidWheel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool dark = currentScheme() == ColorScheme::Dark;
    const SchemeColors colors = currentColors();
    const QColor guide = dark ? withOpacity(Qt::white, 0.13) : withOpacity(Qt::black, 0.08);
    const QColor restFill = withOpacity(Qt::white, dark ? 0.045 : 0.58);

    const double side = std::min({double(width()), double(height()), kWheelSide});
    const Point center{width() / 2.0, height() / 2.0};
    const double radius = wheelRadius(side, side);

    painter.setPen(QPen(guide, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(toQt(center), radius, radius);

    const auto corners = hitPolygon(m_pattern, center, radius);
    if (!corners.empty()) {
        QPolygonF polygon;
        for (const Point& corner : corners)
            polygon << toQt(corner);
        painter.setPen(
            QPen(withOpacity(m_accent, 0.45), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.setBrush(withOpacity(m_accent, 0.07));
        painter.drawPolygon(polygon);
    }

    for (const StepDot& dot : stepDots(m_pattern, m_currentStep, center, radius)) {
        const double half = dot.diameter / 2;
        painter.setPen(QPen(guide, 1));
        painter.setBrush(dot.hit ? m_accent : restFill);
        painter.drawEllipse(toQt(dot.center), half, half);
        if (dot.current) {
            const double ring = half + kCurrentRingGap;
            painter.setPen(QPen(QuorlenTheme::saffron(), 3));
            painter.setBrush(Qt::NoBrush);
            painter.drawEllipse(toQt(dot.center), ring, ring);
        }
    }

    const double badge = std::min(kBadgeDiameter, radius * 1.1) / 2;
    painter.setPen(QPen(guide, 1));
    painter.setBrush(colors.surface);
    painter.drawEllipse(toQt(center), badge, badge);
    const QRectF titleBox(center.x - badge, center.y - 24, 2 * badge, 32);
    const QRectF subtitleBox(center.x - badge, center.y + 10, 2 * badge, 16);
    painter.setPen(colors.primaryText);
    painter.setFont(
        fittedFont(uiFont(26, QFont::DemiBold), m_title, static_cast<int>(2 * badge - 16)));
    painter.drawText(titleBox, Qt::AlignCenter, m_title);
    painter.setPen(colors.secondaryText);
    painter.setFont(
        fittedFont(uiFont(11, QFont::Medium), m_subtitle, static_cast<int>(2 * badge - 12)));
    painter.drawText(subtitleBox, Qt::AlignCenter, m_subtitle);
}

} // namespace quorlen
