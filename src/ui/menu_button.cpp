#include "ui/menu_button.h"

#include "ui/card.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"
#include "ui/symbol_icon.h"

#include <QMenu>
#include <QPainter>
#include <QPainterPath>

namespace quorlen {

MenuButton::MenuButton(const QString& title, const QString& symbol, const QColor& tint,
                       QWidget* parent)
    : QPushButton(title, parent), m_symbol(symbol), m_tint(tint) {
    setFont(uiFont(13, QFont::Medium));
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setMenu(new QMenu(this));
}

QSize MenuButton::sizeHint() const {
    return QSize(fontMetrics().horizontalAdvance(text()) + 70, 32);
}

void MenuButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const SchemeColors colors = currentColors();
    paintFieldBox(painter, rect(), 7, isDown() ? withOpacity(m_tint, 0.7) : QColor());
    paintSymbol(painter, QRectF(10, 0, 16, height()), m_symbol, m_tint, 14);
    painter.setFont(font());
    painter.setPen(colors.primaryText);
    painter.drawText(QRectF(32, 0, width() - 60, height()), Qt::AlignLeft | Qt::AlignVCenter,
                     text());
    // Chevron: a small "v" at the trailing edge, 8 × 4 px.
    const QPointF tip(width() - 16, height() / 2.0 + 2);
    QPainterPath chevron;
    chevron.moveTo(tip + QPointF(-4, -4));
    chevron.lineTo(tip);
    chevron.lineTo(tip + QPointF(4, -4));
    painter.setPen(QPen(colors.secondaryText, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(chevron);
}

} // namespace quorlen
