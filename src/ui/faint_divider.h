#pragma once

#include <QWidget>

namespace quorlen {

// A faint one-pixel rule between groups of a panel, in the scheme's border
// colour at `opacity`.
class FaintDivider : public QWidget {
    Q_OBJECT
public:
    explicit FaintDivider(double opacity = 1.0, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double m_opacity;
};

} // namespace quorlen
