#pragma once

#include <QColor>
#include <QPushButton>

namespace quorlen {

// The kit's push button: a symbol and a label, either bordered (a soft field
// box) or prominent (filled with the tint, white label). A menu set with
// setMenu() opens on click, which makes it a "Presets" button.
class KitButton : public QPushButton {
    Q_OBJECT
public:
    enum class Style { Bordered, Prominent };

    KitButton(const QString& label, const QString& symbol, Style style, const QColor& tint,
              QWidget* parent = nullptr);

    void setLabel(const QString& label, const QString& symbol);
    QString symbol() const { return m_symbol; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_symbol;
    Style m_style;
    QColor m_tint;
};

} // namespace quorlen
