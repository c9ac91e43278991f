#pragma once

#include <QWidget>

namespace quorlen {

// A capsule track with a fill from the left edge for a confidence of 0 ... 1,
// green (fern), amber (saffron) or red (lacquer) by the confidence level.
class ConfidenceBar : public QWidget {
    Q_OBJECT
public:
    explicit ConfidenceBar(QWidget* parent = nullptr);

    double value() const { return m_value; }
    void setValue(double value);

    // Fraction of the track filled: the value clipped to 0 ... 1.
    static double filledFraction(double value);
    static QColor fillColor(double value);

    QSize sizeHint() const override { return {120, 8}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double m_value = 0;
};

} // namespace quorlen
