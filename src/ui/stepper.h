#pragma once

#include <QWidget>

namespace quorlen {

// A compact − / + pair in the kit's field look. It holds no value: the owner
// decides what a step does and tells the stepper which halves can still
// step (a half that cannot is dimmed and ignores clicks).
class Stepper : public QWidget {
    Q_OBJECT
public:
    explicit Stepper(QWidget* parent = nullptr);

    void setCanStep(bool down, bool up);
    bool canStepDown() const { return m_canDown; }
    bool canStepUp() const { return m_canUp; }

    QSize sizeHint() const override { return {64, 30}; }

signals:
    void steppedDown();
    void steppedUp();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    enum class Half { None, Down, Up };
    Half halfAt(const QPointF& position) const;

    bool m_canDown = true;
    bool m_canUp = true;
    Half m_pressed = Half::None;
    Half m_hovered = Half::None;
};

} // namespace quorlen
