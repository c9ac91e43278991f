#include "tools/common/tool_screen.h"

#include <QHideEvent>
#include <QShowEvent>
#include <QVBoxLayout>

#include <algorithm>
#include <vector>

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

void ToolScreen::showEvent(QShowEvent* event) {
    if (!m_tabOrderSet) {
        m_tabOrderSet = true;
        putHeaderFirstInTabOrder();
    }
    QWidget::showEvent(event);
}

// Tab follows creation order, and the header's tiles are made when the
// tool first sets its figures, after the sections. Reading order puts
// them first: the chain of this screen's stops is rebuilt with the header's
// in front and the rest as they were.
void ToolScreen::putHeaderFirstInTabOrder() {
    std::vector<QWidget*> stops;
    for (QWidget* w = nextInFocusChain(); w != this; w = w->nextInFocusChain()) {
        if (isAncestorOf(w) && (w->focusPolicy() & Qt::TabFocus))
            stops.push_back(w);
    }
    std::stable_partition(stops.begin(), stops.end(),
                          [this](QWidget* w) { return m_header->isAncestorOf(w); });
    for (size_t i = 1; i < stops.size(); ++i)
        setTabOrder(stops[i - 1], stops[i]);
}

void ToolScreen::addSection(QWidget* section) {
    // Sections stack above the trailing stretch.
    m_column->insertWidget(m_column->count() - 1, section);
}

} // namespace quorlen
