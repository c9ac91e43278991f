#include "ui/scheme_label.h"

#include "ui/color_scheme.h"

#include <QPainter>

#include <algorithm>

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

void SchemeLabel::setFit(Fit fit) {
    m_fit = fit;
    setSizePolicy(fit == Fit::Whole ? QSizePolicy::Preferred : QSizePolicy::Ignored,
                  QSizePolicy::Fixed);
    updateGeometry();
    update();
}

QSize SchemeLabel::minimumSizeHint() const {
    switch (m_fit) {
    case Fit::Whole:
        break;
    case Fit::Elide:
        return {0, sizeHint().height()};
    case Fit::Wrap: {
        // Two lines, each as wide as the longer half of the words.
        const QStringList words = m_text.split(QLatin1Char(' '));
        const QString firstHalf = words.mid(0, (words.size() + 1) / 2).join(QLatin1Char(' '));
        const QString secondHalf = words.mid((words.size() + 1) / 2).join(QLatin1Char(' '));
        return {std::max(fontMetrics().horizontalAdvance(firstHalf),
                         fontMetrics().horizontalAdvance(secondHalf)) +
                    1,
                sizeHint().height()};
    }
    }
    return sizeHint();
}

void SchemeLabel::setAlignment(Qt::Alignment alignment) {
    m_alignment = alignment;
    update();
}

QSize SchemeLabel::sizeHint() const {
    const int lines = m_fit == Fit::Wrap ? 2 : 1;
    return {fontMetrics().horizontalAdvance(m_text) + 1, lines * fontMetrics().height()};
}

void SchemeLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const SchemeColors colors = currentColors();
    painter.setPen(m_color.isValid()         ? textInk(m_color, currentScheme())
                   : m_role == Role::Primary ? colors.primaryText
                                             : colors.secondaryText);
    painter.setFont(font());
    const QString shown =
        m_fit == Fit::Elide ? fontMetrics().elidedText(m_text, Qt::ElideRight, width()) : m_text;
    const int wrap = m_fit == Fit::Wrap ? Qt::TextWordWrap : 0;
    painter.drawText(rect(), static_cast<int>(m_alignment) | wrap, shown);
}

} // namespace quorlen
