#include "app/sidebar_tool_row.h"

#include "ui/card.h"
#include "ui/color_scheme.h"
#include "ui/focus_ring.h"
#include "ui/fonts.h"
#include "ui/keyboard_button.h"
#include "ui/symbol_icon.h"

#include <QFocusEvent>
#include <QPainter>

namespace quorlen {
namespace {
constexpr int kPaddingX = 10;
constexpr int kIconBox = 24;
constexpr int kGap = 10;
constexpr int kHeight = 46;
} // namespace

SidebarToolRow::SidebarToolRow(CalculatorTool tool, QWidget* parent)
    : QAbstractButton(parent), m_tool(tool) {
    const ToolInfo& info = toolInfo(tool);
    setObjectName(QStringLiteral("sidebarRow_") + QLatin1String(info.rawValue));
    setToolTip(QString::fromUtf8(info.title));
    setAccessibleName(QString::fromUtf8(info.title));
    setCursor(Qt::PointingHandCursor);
    setAccessibleDescription(QString::fromUtf8(info.subtitle));
    makeKeyboardButton(this);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void SidebarToolRow::setSelected(bool selected) {
    if (selected == m_selected)
        return;
    m_selected = selected;
    update();
}

void SidebarToolRow::focusInEvent(QFocusEvent* event) {
    m_keyboardFocus =
        event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    QAbstractButton::focusInEvent(event);
}

QSize SidebarToolRow::sizeHint() const { return QSize(200, kHeight); }

void SidebarToolRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const SchemeColors colors = currentColors();
    const ToolInfo& info = toolInfo(m_tool);

    if (m_selected)
        paintCard(painter, rect(), 8);
    // Only keyboard focus earns a ring; the first row holds focus at start.
    if (hasFocus() && m_keyboardFocus)
        paintFocusRing(painter, rect(), 8);

    const QRectF iconBox(kPaddingX, (height() - kIconBox) / 2.0, kIconBox, kIconBox);
    paintSymbol(painter, iconBox, QString::fromUtf8(info.symbol),
                m_selected ? info.tint : colors.secondaryText, 19);

    const int textLeft = kPaddingX + kIconBox + kGap;
    const QRect textRect(textLeft, 0, width() - textLeft - kPaddingX, height());
    const QFont titleFont = uiFont(14, QFont::DemiBold);
    const QFont subtitleFont = uiFont(11, QFont::Medium);
    const int titleHeight = QFontMetrics(titleFont).height();
    const int subtitleHeight = QFontMetrics(subtitleFont).height();
    const int top = (height() - titleHeight - subtitleHeight) / 2;

    painter.setFont(titleFont);
    painter.setPen(colors.primaryText);
    painter.drawText(QRect(textRect.left(), top, textRect.width(), titleHeight),
                     Qt::AlignLeft | Qt::AlignVCenter, QString::fromUtf8(info.title));
    painter.setFont(subtitleFont);
    painter.setPen(colors.secondaryText);
    painter.drawText(QRect(textRect.left(), top + titleHeight, textRect.width(), subtitleHeight),
                     Qt::AlignLeft | Qt::AlignVCenter, QString::fromUtf8(info.subtitle));
}

} // namespace quorlen
