#include "tools/note_frequencies/frequency_cell.h"

#include "ui/color_scheme.h"
#include "ui/fonts.h"

#include <QPainter>

namespace quorlen {

FrequencyCell::FrequencyCell(bool isReference, const QColor& accent, QWidget* parent)
    : CopyableValue(parent), m_reference(isReference), m_accent(accent) {
    setFont(uiFont(13, isReference ? QFont::Bold : QFont::Normal));
    setMinimumWidth(40);
}

QSize FrequencyCell::sizeHint() const {
    return QSize(fontMetrics().horizontalAdvance(QStringLiteral("7902.1")) + 8, 30);
}

void FrequencyCell::setValueText(const QString& text) {
    if (text == copyText())
        return;
    setCopyText(text);
    update();
}

void FrequencyCell::paintLabel(QPainter& painter, bool copied) {
    if (m_reference) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(withOpacity(m_accent, 0.16));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 2, -1, -2), 6, 6);
    }
    painter.setFont(font());
    painter.setPen(copied || m_reference ? textInk(m_accent, currentScheme())
                                         : currentColors().primaryText);
    painter.drawText(rect().adjusted(0, 0, -6, 0), Qt::AlignRight | Qt::AlignVCenter,
                     copied ? QStringLiteral("Copied") : copyText());
}

} // namespace quorlen
