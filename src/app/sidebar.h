#pragma once

#include "app/calculator_tool.h"

#include <QList>
#include <QWidget>

namespace quorlen {

class CoffeeLink;
class FormulaStrip;
class SidebarToolRow;

// The fixed-width column on the left: the mark, one row per tool, and at
// the bottom the summary strip and the coffee link.
class Sidebar : public QWidget {
    Q_OBJECT
public:
    static constexpr int kWidth = 228;

    explicit Sidebar(QWidget* parent = nullptr);

    void setSelectedTool(CalculatorTool tool);
    void setSummary(const QString& text);

    SidebarToolRow* row(CalculatorTool tool) const;
    FormulaStrip* summaryStrip() const { return m_summary; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    // Every click on a row, also on the selected one.
    void toolClicked(quorlen::CalculatorTool tool);
    // Up or Down moved the selection to another row; no click.
    void toolChosen(quorlen::CalculatorTool tool);

private:
    QList<SidebarToolRow*> m_rows;
    FormulaStrip* m_summary;
};

} // namespace quorlen
