#include "ui/scheme_label.h"

#include "ui/color_scheme.h"

#include <QPainter>

namespace quorlen {

SchemeLabel::SchemeLabel(const QString& text, const QFont& font, Role role, QWidget* parent)
    : QWidget(parent), m_text(text), m_role(role) {
    setFont(font);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void SchemeLabel::setText(const QString& text) {
    if (text == m_text)
        return;
    m_text = text;
    updateGeometry();
    update();
}

void SchemeLabel::setColor(const QColor& color) {
    m_color = color;
    update();
}

void SchemeLabel::setAlignment(Qt::Alignment alignment) {
    m_alignment = alignment;
    update();
}

QSize SchemeLabel::sizeHint() const {
    return {fontMetrics().horizontalAdvance(m_text) + 1, fontMetrics().height()};
}

void SchemeLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const SchemeColors colors = currentColors();
    painter.setPen(m_color.isValid()         ? m_color
                   : m_role == Role::Primary ? colors.primaryText
                                             : colors.secondaryText);
    painter.setFont(font());
    painter.drawText(rect(), static_cast<int>(m_alignment), m_text);
}

} // namespace quorlen
