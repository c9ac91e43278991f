#pragma once

#include <QTimer>
#include <QWidget>

namespace quorlen {

// A compact − / + pair in the kit's field look. It holds no value: the owner
// decides what a step does and tells the stepper which halves can still
// step (a half that cannot is dimmed and ignores clicks). A press steps at
// once and holding repeats; with keyboard focus the arrow keys step.
class Stepper : public QWidget {
    Q_OBJECT
public:
    static constexpr int kRepeatDelayMs = 400;
    static constexpr int kRepeatIntervalMs = 70;

    explicit Stepper(QWidget* parent = nullptr);

    void setCanStep(bool down, bool up);
    // The owner's number as a screen reader should say it.
    void setValueText(const QString& text);
    QString valueText() const { return m_valueText; }

    // One step, as a press on that half would make it.
    void stepDown();
    void stepUp();

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
    void keyPressEvent(QKeyEvent* event) override;

private:
    enum class Half { None, Down, Up };
    Half halfAt(const QPointF& position) const;
    void step(Half half);
    void repeat();

    bool m_canDown = true;
    bool m_canUp = true;
    Half m_pressed = Half::None;
    Half m_hovered = Half::None;
    QTimer m_repeat;
    QString m_valueText;
};

} // namespace quorlen
