#include "ui/formula_strip.h"

#include "ui/card.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"

#include <QFontMetrics>
#include <QPainter>

namespace quorlen {
namespace {
constexpr int kTextFlags = Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWordWrap;
}

FormulaStrip::FormulaStrip(const QString& text, QWidget* parent) : QWidget(parent), m_text(text) {
    setFont(uiFont(11));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void FormulaStrip::setText(const QString& text) {
    if (text == m_text)
        return;
    m_text = text;
    updateGeometry();
    update();
}

QRect FormulaStrip::textRect(int width) const {
    return QRect(kPaddingX, kPaddingY, qMax(1, width - 2 * kPaddingX), 10000);
}

int FormulaStrip::heightForWidth(int width) const {
    const QRect bounds = fontMetrics().boundingRect(textRect(width), kTextFlags, m_text);
    return bounds.height() + 2 * kPaddingY;
}

QSize FormulaStrip::sizeHint() const {
    const int width = fontMetrics().horizontalAdvance(m_text) + 2 * kPaddingX;
    return QSize(width, heightForWidth(qMax(width, 200)));
}

QSize FormulaStrip::minimumSizeHint() const {
    return QSize(2 * kPaddingX, heightForWidth(width()));
}

void FormulaStrip::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintFieldBox(painter, rect(), 7);
    painter.setPen(currentColors().secondaryText);
    painter.setFont(font());
    painter.drawText(rect().adjusted(kPaddingX, kPaddingY, -kPaddingX, -kPaddingY), kTextFlags,
                     m_text);
}

} // namespace quorlen
