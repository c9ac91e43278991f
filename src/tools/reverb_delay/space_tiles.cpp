#include "tools/reverb_delay/space_tiles.h"

#include "tools/reverb_delay/space_text.h"
#include "ui/card.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"

#include <QPainter>

#include <algorithm>

namespace quorlen {
namespace {

constexpr int kTilePaddingX = 12;
// Seven chips share one row even in the narrowest window.
constexpr int kChipPaddingX = 8;
constexpr int kChipMinimumWidth = 60;
constexpr int kPaddingY = 9;
constexpr int kLineGap = 3;

QFont tileTitleFont() { return uiFont(11, QFont::Medium); }
QFont tileValueFont(bool emphasized) {
    return monoFont(17, emphasized ? QFont::Bold : QFont::DemiBold);
}
QFont chipLabelFont() { return uiFont(11, QFont::DemiBold); }
QFont chipValueFont() { return monoFont(13, QFont::Medium); }

// Two lines in a rounded box: `top` in the secondary colour (or the accent
// while copied), `bottom` in the primary colour.
void paintTwoLines(QPainter& painter, const QRect& box, int paddingX, const QString& top,
                   const QFont& topFont, const QString& bottom, const QFont& bottomFont,
                   const QColor& topColor) {
    const QRect inner = box.adjusted(paddingX, kPaddingY, -paddingX, -kPaddingY);
    const int topHeight = QFontMetrics(topFont).height();
    painter.setFont(topFont);
    painter.setPen(topColor);
    painter.drawText(QRect(inner.left(), inner.top(), inner.width(), topHeight),
                     Qt::AlignLeft | Qt::AlignVCenter, top);
    painter.setFont(fittedFont(bottomFont, bottom, inner.width()));
    painter.setPen(currentColors().primaryText);
    painter.drawText(QRect(inner.left(), inner.top() + topHeight + kLineGap, inner.width(),
                           inner.height() - topHeight - kLineGap),
                     Qt::AlignLeft | Qt::AlignVCenter, bottom);
}

QSize twoLineSize(int paddingX, const QString& top, const QFont& topFont, const QString& bottom,
                  const QFont& bottomFont) {
    const QFontMetrics topMetrics(topFont);
    const QFontMetrics bottomMetrics(bottomFont);
    const int width = std::max({topMetrics.horizontalAdvance(top),
                                topMetrics.horizontalAdvance(QStringLiteral("Copied")),
                                bottomMetrics.horizontalAdvance(bottom)});
    return {width + 2 * paddingX,
            topMetrics.height() + kLineGap + bottomMetrics.height() + 2 * kPaddingY};
}

} // namespace

ResultTile::ResultTile(const QString& title, bool emphasized, const QColor& accent, QWidget* parent)
    : CopyableValue(parent), m_title(title), m_emphasized(emphasized), m_accent(accent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void ResultTile::setMs(double ms) {
    setCopyText(spaceCopyText(ms));
    m_display = spaceDisplayText(ms);
    setAccessibleName(m_title + QLatin1Char(' ') + m_display);
    updateGeometry();
    update();
}

QSize ResultTile::sizeHint() const {
    return twoLineSize(kTilePaddingX, m_title, tileTitleFont(), m_display,
                       tileValueFont(m_emphasized));
}

void ResultTile::paintLabel(QPainter& painter, bool copied) {
    paintFieldBox(painter, rect(), 8, m_emphasized ? withOpacity(m_accent, 0.55) : QColor());
    paintTwoLines(painter, rect(), kTilePaddingX, copied ? QStringLiteral("Copied") : m_title,
                  tileTitleFont(), m_display, tileValueFont(m_emphasized),
                  copied ? m_accent : currentColors().secondaryText);
}

DelayChip::DelayChip(const QString& label, const QColor& accent, QWidget* parent)
    : CopyableValue(parent), m_label(label), m_accent(accent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void DelayChip::setMs(double ms) {
    setCopyText(spaceCopyText(ms));
    m_display = spaceDisplayText(ms);
    setAccessibleName(m_label + QLatin1Char(' ') + m_display);
    updateGeometry();
    update();
}

QSize DelayChip::sizeHint() const {
    return twoLineSize(kChipPaddingX, m_label, chipLabelFont(), m_display, chipValueFont());
}

// Narrower than its text when it must be: the time then shrinks to fit.
QSize DelayChip::minimumSizeHint() const { return {kChipMinimumWidth, sizeHint().height()}; }

void DelayChip::paintLabel(QPainter& painter, bool copied) {
    paintFieldBox(painter, rect(), 7, copied ? withOpacity(m_accent, 0.7) : QColor());
    paintTwoLines(painter, rect(), kChipPaddingX, copied ? QStringLiteral("Copied") : m_label,
                  chipLabelFont(), m_display, chipValueFont(),
                  copied ? m_accent : currentColors().secondaryText);
}

} // namespace quorlen
