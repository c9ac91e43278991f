#pragma once

#include <QAbstractButton>
#include <QVariantAnimation>

namespace quorlen {

// "Buy me a coffee": opens the donation page in the default browser. Its
// label eases from the secondary to the primary colour while hovered.
class CoffeeLink : public QAbstractButton {
    Q_OBJECT
public:
    explicit CoffeeLink(QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void setHovering(bool hovering);

    bool m_hovering = false;
    double m_hoverAmount = 0; // 0 secondary colour .. 1 primary colour
    QVariantAnimation m_animation;
};

} // namespace quorlen
