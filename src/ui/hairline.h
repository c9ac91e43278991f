#pragma once

#include <QWidget>

namespace quorlen {

// A 1 px horizontal rule in the scheme's border colour: under a table's
// header row at full strength, fainter (`opacity` below 1) between the
// groups of a panel.
class Hairline : public QWidget {
    Q_OBJECT
public:
    explicit Hairline(QWidget* parent = nullptr) : Hairline(1.0, parent) {}
    explicit Hairline(double opacity, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double m_opacity;
};

} // namespace quorlen
