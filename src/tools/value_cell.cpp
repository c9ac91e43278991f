#include "tools/value_cell.h"

#include "ui/color_scheme.h"
#include "ui/fonts.h"

#include <QPainter>

namespace quorlen {

ValueCell::ValueCell(const QFont& font, Tone tone, const QColor& accent, QWidget* parent)
    : CopyableValue(parent), m_tone(tone), m_accent(accent) {
    setFont(font);
}

void ValueCell::setValue(const QString& display, const QString& copy) {
    setCopyText(copy);
    if (display == m_display)
        return;
    m_display = display;
    updateGeometry();
    update();
}

void ValueCell::setAlignment(Qt::Alignment alignment) {
    m_alignment = alignment;
    update();
}

QSize ValueCell::sizeHint() const {
    // Wide enough for "Copied" too, so the feedback never clips.
    const QFontMetrics metrics(font());
    const int width = qMax(metrics.horizontalAdvance(m_display),
                           metrics.horizontalAdvance(QStringLiteral("Copied")));
    return {width + 4, metrics.height() + 4};
}

void ValueCell::paintLabel(QPainter& painter, bool copied) {
    const SchemeColors colors = currentColors();
    const QString shown = copied ? QStringLiteral("Copied") : m_display;
    // Very slow tempos make long figures; they shrink before they clip.
    painter.setFont(fittedFont(font(), shown, width()));
    painter.setPen(copied                    ? m_accent
                   : m_tone == Tone::Primary ? colors.primaryText
                                             : colors.secondaryText);
    painter.drawText(rect(), static_cast<int>(m_alignment), shown);
}

} // namespace quorlen
