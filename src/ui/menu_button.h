#pragma once

#include <QPushButton>

namespace quorlen {

// A full-width button in the field look that opens its menu: the symbol,
// the title, and a chevron at the trailing edge.
class MenuButton : public QPushButton {
    Q_OBJECT
public:
    MenuButton(const QString& title, const QString& symbol, const QColor& tint,
               QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_symbol;
    QColor m_tint;
};

} // namespace quorlen
