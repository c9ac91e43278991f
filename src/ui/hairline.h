#pragma once

#include <QWidget>

namespace quorlen {

// A 1 px horizontal rule in the scheme's border colour, as under a table's
// header row.
class Hairline : public QWidget {
    Q_OBJECT
public:
    explicit Hairline(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace quorlen
