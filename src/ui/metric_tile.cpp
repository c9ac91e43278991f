#include "ui/metric_tile.h"

#include "ui/card.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"

#include <QFontMetrics>
#include <QPainter>

namespace quorlen {
namespace {
constexpr int kPaddingX = 12;
constexpr int kPaddingY = 9;
constexpr int kLineGap = 3;

QFont labelFont() { return uiFont(11, QFont::Medium); }
QFont valueFont() { return monoFont(16, QFont::DemiBold); }
} // namespace

MetricTile::MetricTile(const Metric& metric, QWidget* parent) : CopyableValue(parent) {
    setMetric(metric);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void MetricTile::setMetric(const Metric& metric) {
    setCopyText(metric.copy.value_or(metric.value));
    setAccessibleName(metric.label + QLatin1Char(' ') + metric.value);
    if (metric == m_metric)
        return;
    m_metric = metric;
    updateGeometry();
    update();
}

QSize MetricTile::sizeHint() const {
    const QFontMetrics label(labelFont());
    const QFontMetrics value(valueFont());
    const int textWidth =
        qMax(label.horizontalAdvance(m_metric.label), value.horizontalAdvance(m_metric.value));
    return QSize(qMax(kMinimumWidth, textWidth + 2 * kPaddingX),
                 label.height() + kLineGap + value.height() + 2 * kPaddingY);
}

QSize MetricTile::minimumSizeHint() const { return QSize(kMinimumWidth, sizeHint().height()); }

void MetricTile::paintLabel(QPainter& painter, bool copied) {
    const SchemeColors colors = currentColors();
    paintCard(painter, rect(), 8, copied ? withOpacity(m_metric.tint, 0.7) : QColor());

    const QFont label = labelFont();
    const int labelHeight = QFontMetrics(label).height();
    const QRect inner = rect().adjusted(kPaddingX, kPaddingY, -kPaddingX, -kPaddingY);
    painter.setFont(label);
    painter.setPen(colors.secondaryText);
    painter.drawText(QRect(inner.left(), inner.top(), inner.width(), labelHeight),
                     Qt::AlignLeft | Qt::AlignVCenter, m_metric.label);

    const QString shown = copied ? QStringLiteral("Copied") : m_metric.value;
    painter.setFont(fittedFont(valueFont(), shown, inner.width()));
    painter.setPen(copied ? textInk(m_metric.tint, currentScheme()) : colors.primaryText);
    painter.drawText(QRect(inner.left(), inner.top() + labelHeight + kLineGap, inner.width(),
                           inner.bottom() - inner.top() - labelHeight - kLineGap + 1),
                     Qt::AlignLeft | Qt::AlignVCenter, shown);
}

} // namespace quorlen
