#include "ui/kit_button.h"

#include "ui/card.h"
#include "ui/color_scheme.h"
#include "ui/focus_ring.h"
#include "ui/fonts.h"
#include "ui/keyboard_button.h"
#include "ui/symbol_icon.h"

#include <QMenu>
#include <QPainter>

namespace quorlen {
namespace {
constexpr double kIconSize = 14;
constexpr double kGap = 6;
constexpr int kPaddingX = 12;
constexpr int kHeight = 30;
constexpr double kChevronWidth = 12;
} // namespace

KitButton::KitButton(const QString& label, const QString& symbol, Style style, const QColor& tint,
                     QWidget* parent)
    : QPushButton(label, parent), m_symbol(symbol), m_style(style), m_tint(tint) {
    setFont(uiFont(13, QFont::DemiBold));
    setCursor(Qt::PointingHandCursor);
    setAttribute(Qt::WA_Hover);
    makeKeyboardButton(this);
}

void KitButton::setLabel(const QString& label, const QString& symbol) {
    m_symbol = symbol;
    setText(label);
    updateGeometry();
    update();
}

QSize KitButton::sizeHint() const {
    const double content = (m_symbol.isEmpty() ? 0 : kIconSize + kGap) +
                           fontMetrics().horizontalAdvance(text()) +
                           (menu() ? kGap + kChevronWidth : 0);
    return QSize(static_cast<int>(content) + 2 * kPaddingX, kHeight);
}

void KitButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled())
        painter.setOpacity(0.45);
    const SchemeColors colors = currentColors();
    const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    const bool pressed = isDown();
    const bool hovered = underMouse() && isEnabled();

    QColor ink = colors.primaryText;
    QColor fill;
    if (m_style == Style::Prominent) {
        fill = m_tint;
        if (pressed)
            fill = fill.darker(115);
        else if (hovered)
            fill = fill.lighter(108);
        painter.setPen(Qt::NoPen);
        painter.setBrush(fill);
        painter.drawRoundedRect(box, 7, 7);
        ink = Qt::white;
    } else {
        paintFieldBox(painter, box, 7);
        // A toggle that is on keeps a tint of its own.
        if (isChecked()) {
            painter.setPen(QPen(withOpacity(m_tint, 0.9), 1.5));
            painter.setBrush(withOpacity(m_tint, 0.16));
            painter.drawRoundedRect(box.adjusted(0.5, 0.5, -0.5, -0.5), 7, 7);
        }
        if (pressed || hovered) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(withOpacity(m_tint, pressed ? 0.22 : 0.1));
            painter.drawRoundedRect(box, 7, 7);
        }
    }

    const QFontMetricsF metrics(font());
    const double textWidth = metrics.horizontalAdvance(text());
    const double iconPart = m_symbol.isEmpty() ? 0 : kIconSize + kGap;
    const double chevronPart = menu() ? kGap + kChevronWidth : 0;
    double x = (width() - iconPart - textWidth - chevronPart) / 2;
    if (!m_symbol.isEmpty()) {
        paintSymbol(painter, QRectF(x, 0, kIconSize, height()), m_symbol,
                    m_style == Style::Prominent ? ink : m_tint, kIconSize);
        x += iconPart;
    }
    painter.setFont(font());
    painter.setPen(ink);
    painter.drawText(QRectF(x, 0, textWidth + 1, height()), Qt::AlignLeft | Qt::AlignVCenter,
                     text());
    if (menu()) {
        // A small downward chevron says a menu opens here.
        const double cx = x + textWidth + kGap + kChevronWidth / 2;
        const double cy = height() / 2.0;
        painter.setPen(QPen(withOpacity(ink, 0.7), 1.5, Qt::SolidLine, Qt::RoundCap));
        painter.drawPolyline(QPolygonF(
            {QPointF(cx - 3.5, cy - 1.5), QPointF(cx, cy + 2), QPointF(cx + 3.5, cy - 1.5)}));
    }
    if (hasFocus()) {
        painter.setOpacity(1);
        if (fill.isValid())
            paintFocusRing(painter, rect(), 7, fill);
        else
            paintFocusRing(painter, rect(), 7);
    }
}

} // namespace quorlen
