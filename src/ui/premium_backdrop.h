#pragma once

#include <QWidget>

namespace quorlen {

// The window's background: a diagonal gradient under a faint hatch. It sits
// behind everything and lets every click through.
class PremiumBackdrop : public QWidget {
    Q_OBJECT
public:
    explicit PremiumBackdrop(QWidget* parent = nullptr);

    // Hatch lines are this far apart, in pixels.
    static constexpr int kHatchSpacing = 92;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace quorlen
