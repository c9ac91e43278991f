#pragma once

#include <QWidget>

class QToolButton;

namespace quorlen {

// A compact − / + pair that steps an integer by 1 within a range; the
// owner shows the value itself. A button at its end of the range is
// disabled. Emits valueChanged only for user steps, with the new value.
class IntegerStepper : public QWidget {
    Q_OBJECT
public:
    IntegerStepper(int minimum, int maximum, int value, QWidget* parent = nullptr);

    int value() const { return m_value; }
    int minimum() const { return m_minimum; }
    int maximum() const { return m_maximum; }
    // Both clamp the value into the range without emitting valueChanged.
    void setRange(int minimum, int maximum);
    void setValue(int value);

    QToolButton* decrementButton() const { return m_down; }
    QToolButton* incrementButton() const { return m_up; }

signals:
    void valueChanged(int value);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void step(int delta);
    void updateButtons();

    int m_minimum;
    int m_maximum;
    int m_value;
    QToolButton* m_down;
    QToolButton* m_up;
};

} // namespace quorlen
