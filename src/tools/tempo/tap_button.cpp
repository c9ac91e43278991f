#include "tools/tempo/tap_button.h"

#include "ui/color_scheme.h"
#include "ui/focus_ring.h"
#include "ui/fonts.h"
#include "ui/keyboard_button.h"
#include "ui/symbol_icon.h"

#include <QPainter>

namespace quorlen {

TapButton::TapButton(const QColor& accent, QWidget* parent)
    : QAbstractButton(parent), m_accent(accent) {
    setText(QStringLiteral("Tap"));
    setFont(uiFont(14, QFont::DemiBold));
    setCursor(Qt::PointingHandCursor);
    setAttribute(Qt::WA_Hover);
    // Space taps through the window's shortcut, or through the button
    // itself while it has focus; either way it is one tap.
    makeKeyboardButton(this);
    setFixedSize(sizeHint());
}

void TapButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(withOpacity(m_accent, 0.7), 1));
    painter.setBrush(withOpacity(m_accent, isDown() ? 0.42 : underMouse() ? 0.26 : 0.18));
    painter.drawRoundedRect(box, 8, 8);

    const QFontMetrics metrics(font());
    const double iconSize = 16;
    const double gap = 6;
    const double contentWidth = iconSize + gap + metrics.horizontalAdvance(text());
    const double left = (width() - contentWidth) / 2;
    paintSymbol(painter, QRectF(left, 0, iconSize, height()), QStringLiteral("hand.tap"),
                currentColors().primaryText, iconSize);
    painter.setFont(font());
    painter.setPen(currentColors().primaryText);
    painter.drawText(QRectF(left + iconSize + gap, 0, width(), height()),
                     Qt::AlignLeft | Qt::AlignVCenter, text());
    if (hasFocus())
        paintFocusRing(painter, rect(), 8);
}

KeyCap::KeyCap(const QString& key, QWidget* parent) : QWidget(parent), m_key(key) {
    setFont(monoFont(11, QFont::Medium));
    setFixedSize(sizeHint());
}

// As tall as the tap button beside it, with the cap centred, so the two
// line up in any layout.
QSize KeyCap::sizeHint() const { return {fontMetrics().horizontalAdvance(m_key) + 16, 38}; }

void KeyCap::paintEvent(QPaintEvent*) {
    const SchemeColors colors = currentColors();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // A key cap: a face with a slightly thicker lower edge.
    const QRectF box(0.5, (height() - 22) / 2.0, width() - 1, 21);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colors.border);
    painter.drawRoundedRect(box.translated(0, 1), 5, 5);
    painter.setBrush(colors.fieldFill);
    painter.setPen(QPen(colors.border, 1));
    painter.drawRoundedRect(box, 5, 5);
    painter.setFont(font());
    painter.setPen(colors.secondaryText);
    painter.drawText(box, Qt::AlignCenter, m_key);
}

} // namespace quorlen
