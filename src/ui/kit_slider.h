#pragma once

#include <QSlider>

namespace quorlen {

// A horizontal slider in the kit look: a thin track filled in the accent up
// to a round knob. A press anywhere on it jumps there and drags from there;
// with keyboard focus (Tab) the arrow keys move it.
class KitSlider : public QSlider {
    Q_OBJECT
public:
    explicit KitSlider(const QColor& accent, QWidget* parent = nullptr);

    QSize sizeHint() const override { return {200, 22}; }
    QSize minimumSizeHint() const override { return {60, 22}; }

    // The value a press at `x` (widget pixels) selects.
    int valueAt(double x) const;

signals:
    // Every user choice of a value: each press (also at the value already
    // shown), each drag movement and each key. Owners write their field
    // from this, not from valueChanged: the knob may show a rounded or
    // clamped position of a value typed elsewhere, and a press on it must
    // still set that position.
    void picked(int value);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    static constexpr double kKnobRadius = 8;
    double knobX() const;

    QColor m_accent;
    bool m_dragging = false;
};

} // namespace quorlen
