#include "app/sidebar.h"

#include "app/coffee_link.h"
#include "app/sidebar_tool_row.h"
#include "ui/card.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"
#include "ui/formula_strip.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

namespace quorlen {
namespace {

// The app's mark: one emoji on a small card with a light rim.
class AppMark : public QWidget {
public:
    explicit AppMark(QWidget* parent) : QWidget(parent) { setFixedSize(38, 38); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        paintCard(painter, rect(), 9, withOpacity(Qt::white, 0.16));
        QFont emoji(QStringLiteral("Noto Color Emoji"));
        emoji.setPixelSize(20);
        painter.setFont(emoji);
        painter.drawText(rect(), Qt::AlignCenter, QStringLiteral("\U0001F39B"));
    }
};

class AppName : public QWidget {
public:
    explicit AppName(QWidget* parent) : QWidget(parent) { setFixedHeight(38); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const SchemeColors colors = currentColors();
        const QFont name = uiFont(18, QFont::DemiBold);
        const QFont sub = uiFont(12, QFont::Medium);
        const int nameHeight = QFontMetrics(name).height();
        const int subHeight = QFontMetrics(sub).height();
        const int top = (height() - nameHeight - subHeight) / 2;
        painter.setFont(name);
        painter.setPen(colors.primaryText);
        painter.drawText(QRect(0, top, width(), nameHeight), Qt::AlignLeft | Qt::AlignVCenter,
                         QStringLiteral("Quorlen"));
        painter.setFont(sub);
        painter.setPen(colors.secondaryText);
        painter.drawText(QRect(0, top + nameHeight, width(), subHeight),
                         Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Calculator"));
    }
};

} // namespace

Sidebar::Sidebar(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("sidebar"));
    setFixedWidth(kWidth);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(14, 18, 14, 14);
    column->setSpacing(4);

    auto* brand = new QHBoxLayout;
    brand->setSpacing(10);
    brand->addWidget(new AppMark(this));
    brand->addWidget(new AppName(this), 1);
    column->addLayout(brand);
    column->addSpacing(18);

    for (const ToolInfo& info : allTools()) {
        auto* row = new SidebarToolRow(info.tool, this);
        connect(row, &QAbstractButton::clicked, this,
                [this, tool = info.tool] { emit toolClicked(tool); });
        row->installEventFilter(this);
        column->addWidget(row);
        m_rows.append(row);
    }
    column->addStretch(1);

    m_summary = new FormulaStrip({}, this);
    m_summary->setObjectName(QStringLiteral("sidebarSummary"));
    column->addWidget(m_summary);
    column->addSpacing(6);
    column->addWidget(new CoffeeLink(this), 0, Qt::AlignLeft);
}

bool Sidebar::eventFilter(QObject* watched, QEvent* event) {
    // Up and Down walk the tool list from a focused row.
    if (event->type() != QEvent::KeyPress)
        return false;
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key != Qt::Key_Up && key != Qt::Key_Down)
        return false;
    const qsizetype index = m_rows.indexOf(static_cast<SidebarToolRow*>(watched));
    const qsizetype next = index + (key == Qt::Key_Down ? 1 : -1);
    if (index < 0 || next < 0 || next >= m_rows.size())
        return true;
    m_rows[next]->setFocus(Qt::TabFocusReason);
    emit toolChosen(m_rows[next]->tool());
    return true;
}

void Sidebar::setSelectedTool(CalculatorTool tool) {
    for (SidebarToolRow* row : m_rows)
        row->setSelected(row->tool() == tool);
}

void Sidebar::setSummary(const QString& text) { m_summary->setText(text); }

SidebarToolRow* Sidebar::row(CalculatorTool tool) const {
    return m_rows.value(static_cast<qsizetype>(tool));
}

} // namespace quorlen
