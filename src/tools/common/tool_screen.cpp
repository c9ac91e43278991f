#include "tools/common/tool_screen.h"

#include <QHideEvent>
#include <QVBoxLayout>

namespace quorlen {

ToolScreen::ToolScreen(const QString& eyebrow, const QString& title, const QString& symbol,
                       const QColor& accent, QWidget* parent)
    : QWidget(parent), m_accent(accent) {
    setObjectName(QStringLiteral("toolScreen"));
    m_column = new QVBoxLayout(this);
    m_column->setContentsMargins(28, 26, 28, 24);
    m_column->setSpacing(18);
    m_header = new ToolHeader(eyebrow, title, symbol, accent, this);
    m_header->setObjectName(QStringLiteral("toolHeader"));
    m_column->addWidget(m_header);
    m_column->addStretch(1);
}

void ToolScreen::hideEvent(QHideEvent* event) {
    // Minimising the window hides it spontaneously; that is no departure.
    if (!event->spontaneous())
        emit disappearing();
    QWidget::hideEvent(event);
}

void ToolScreen::addSection(QWidget* section) {
    // Sections stack above the trailing stretch.
    m_column->insertWidget(m_column->count() - 1, section);
}

} // namespace quorlen
