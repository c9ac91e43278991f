#pragma once

#include "app/calculator_tool.h"

#include <QAbstractButton>

namespace quorlen {

// One sidebar entry: the tool's symbol, title and subtitle; the selected row
// sits on a card and shows its symbol in the tool's tint.
class SidebarToolRow : public QAbstractButton {
    Q_OBJECT
public:
    explicit SidebarToolRow(CalculatorTool tool, QWidget* parent = nullptr);

    CalculatorTool tool() const { return m_tool; }
    bool isSelected() const { return m_selected; }
    void setSelected(bool selected);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    CalculatorTool m_tool;
    bool m_selected = false;
    bool m_keyboardFocus = false;
};

} // namespace quorlen
