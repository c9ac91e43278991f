#include "app/coffee_link.h"

#include "config/deployment.h"
#include "ui/color_scheme.h"
#include "ui/focus_ring.h"
#include "ui/fonts.h"
#include "ui/keyboard_button.h"

#include <QDesktopServices>
#include <QPainter>
#include <QUrl>

namespace quorlen {
namespace {

QColor mix(const QColor& from, const QColor& to, double amount) {
    const auto lerp = [amount](float a, float b) {
        return a + (b - a) * static_cast<float>(amount);
    };
    return QColor::fromRgbF(lerp(from.redF(), to.redF()), lerp(from.greenF(), to.greenF()),
                            lerp(from.blueF(), to.blueF()), lerp(from.alphaF(), to.alphaF()));
}

} // namespace

CoffeeLink::CoffeeLink(QWidget* parent) : QAbstractButton(parent) {
    setObjectName(QStringLiteral("coffeeLink"));
    setText(QStringLiteral("Buy me a coffee"));
    setToolTip(QStringLiteral("Support Quorlen Calculator"));
    setCursor(Qt::PointingHandCursor);
    setFont(uiFont(12, QFont::Medium));
    makeKeyboardButton(this);
    m_animation.setDuration(150);
    m_animation.setEasingCurve(QEasingCurve::OutCubic);
    connect(&m_animation, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        m_hoverAmount = value.toDouble();
        update();
    });
    connect(this, &QAbstractButton::clicked, this,
            [] { QDesktopServices::openUrl(QUrl(QString::fromLatin1(config::kDonationUrl))); });
}

QSize CoffeeLink::sizeHint() const {
    return QSize(fontMetrics().horizontalAdvance(text()) + 26, fontMetrics().height() + 8);
}

void CoffeeLink::enterEvent(QEnterEvent* event) {
    setHovering(true);
    QAbstractButton::enterEvent(event);
}

void CoffeeLink::leaveEvent(QEvent* event) {
    setHovering(false);
    QAbstractButton::leaveEvent(event);
}

void CoffeeLink::setHovering(bool hovering) {
    if (hovering == m_hovering)
        return;
    m_hovering = hovering;
    m_animation.stop();
    m_animation.setStartValue(m_hoverAmount);
    m_animation.setEndValue(hovering ? 1.0 : 0.0);
    m_animation.start();
}

void CoffeeLink::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const SchemeColors colors = currentColors();
    painter.setFont(font());
    painter.setPen(mix(colors.secondaryText, colors.primaryText, m_hoverAmount));
    painter.drawText(rect().adjusted(4, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                     QStringLiteral("\u2615  ") + text());
    if (hasFocus())
        paintFocusRing(painter, rect(), 5);
}

} // namespace quorlen
