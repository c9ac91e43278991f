#include "ui/prominent_button.h"

#include "ui/fonts.h"
#include "ui/symbol_icon.h"

#include <QPainter>

namespace quorlen {
namespace {
constexpr int kIconSize = 13;
constexpr int kGap = 7;
} // namespace

ProminentButton::ProminentButton(const QString& title, const QString& symbol, const QColor& accent,
                                 QWidget* parent)
    : QAbstractButton(parent), m_symbol(symbol), m_accent(accent) {
    setText(title);
    setFont(uiFont(13, QFont::DemiBold));
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void ProminentButton::setTitleAndSymbol(const QString& title, const QString& symbol) {
    m_symbol = symbol;
    setText(title);
    update();
}

QSize ProminentButton::sizeHint() const {
    return QSize(fontMetrics().horizontalAdvance(text()) + kIconSize + kGap + 32, 34);
}

void ProminentButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(isEnabled() ? 1.0 : 0.35);
    QColor fill = m_accent;
    if (isDown())
        fill = fill.darker(115);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect()), 8, 8);

    const int textWidth = fontMetrics().horizontalAdvance(text());
    const double left = (width() - (kIconSize + kGap + textWidth)) / 2.0;
    paintSymbol(painter, QRectF(left, 0, kIconSize, height()), m_symbol, Qt::white, kIconSize);
    painter.setPen(Qt::white);
    painter.drawText(QRectF(left + kIconSize + kGap, 0, textWidth + 2, height()),
                     Qt::AlignLeft | Qt::AlignVCenter, text());
}

} // namespace quorlen
