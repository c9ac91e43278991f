#pragma once

#include <QList>
#include <QWidget>

#include <functional>

namespace quorlen {

// The title row of a table: small secondary titles placed by the same
// function that places the table's cells, so titles and values line up.
class ColumnHeader : public QWidget {
    Q_OBJECT
public:
    struct Column {
        QString title;
        Qt::Alignment alignment;
    };
    // Where column `index` sits within `bounds` (the header's own rect).
    using Placement = std::function<QRect(int index, const QRect& bounds)>;

    ColumnHeader(QList<Column> columns, Placement placement, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QList<Column> m_columns;
    Placement m_placement;
};

} // namespace quorlen
