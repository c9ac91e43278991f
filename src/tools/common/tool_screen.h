#pragma once

#include "ui/tool_header.h"

#include <QWidget>

class QVBoxLayout;

namespace quorlen {

// The frame of every tool screen: the tool header on top, then the tool's
// sections in a column with even spacing.
class ToolScreen : public QWidget {
    Q_OBJECT
public:
    ToolScreen(const QString& eyebrow, const QString& title, const QString& symbol,
               const QColor& accent, QWidget* parent = nullptr);

    ToolHeader* header() const { return m_header; }
    QColor accent() const { return m_accent; }
    void addSection(QWidget* section);

signals:
    // The screen leaves the window (another tool was selected, or the window
    // closes): fields commit what was typed and players stop.
    void disappearing();

protected:
    void hideEvent(QHideEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void putHeaderFirstInTabOrder();

    ToolHeader* m_header;
    bool m_tabOrderSet = false;
    QVBoxLayout* m_column;
    QColor m_accent;
};

} // namespace quorlen
