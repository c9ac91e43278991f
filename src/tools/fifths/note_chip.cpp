#include "tools/fifths/note_chip.h"

#include "harmony/circle_of_fifths.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"

#include <QPainter>

namespace quorlen {

NoteChip::NoteChip(const QColor& accent, QWidget* parent)
    : CopyableValue(parent), m_accent(accent) {
    setFont(uiFont(12, QFont::DemiBold));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void NoteChip::setNote(const QString& note, bool isTonic) {
    setCopyText(QString::fromStdString(harmony::clipboardSpelling(note.toStdString())));
    setAccessibleName(note);
    if (note == m_note && isTonic == m_tonic)
        return;
    m_note = note;
    m_tonic = isTonic;
    update();
}

QSize NoteChip::sizeHint() const { return {30, 28}; }

void NoteChip::paintLabel(QPainter& painter, bool copied) {
    const SchemeColors colors = currentColors();
    const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    if (m_tonic) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_accent);
    } else {
        painter.setPen(QPen(colors.border, 1));
        painter.setBrush(
            withOpacity(Qt::white, currentScheme() == ColorScheme::Dark ? 0.045 : 0.58));
    }
    painter.drawRoundedRect(box, 6, 6);
    QColor ink = m_tonic ? QuorlenTheme::porcelain() : colors.primaryText;
    if (copied && !m_tonic)
        ink = m_accent;
    painter.setPen(ink);
    painter.setFont(fittedFont(font(), m_note, width() - 4, 0.7));
    painter.drawText(rect(), Qt::AlignCenter, m_note);
}

} // namespace quorlen
