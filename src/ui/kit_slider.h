#pragma once

#include <QSlider>

namespace quorlen {

// A horizontal slider in the kit look: a thin track filled in the accent up
// to a round knob. A press anywhere on it jumps there and drags from there.
// It takes no keyboard focus, so keys stay with the window's shortcuts.
class KitSlider : public QSlider {
    Q_OBJECT
public:
    explicit KitSlider(const QColor& accent, QWidget* parent = nullptr);

    QSize sizeHint() const override { return {200, 22}; }
    QSize minimumSizeHint() const override { return {60, 22}; }

    // The value a press at `x` (widget pixels) selects.
    int valueAt(double x) const;

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
