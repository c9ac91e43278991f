#include "ui/column_header.h"

#include "ui/color_scheme.h"
#include "ui/fonts.h"

#include <QPainter>

namespace quorlen {

ColumnHeader::ColumnHeader(QList<Column> columns, Placement placement, QWidget* parent)
    : QWidget(parent), m_columns(std::move(columns)), m_placement(std::move(placement)) {
    setFont(uiFont(11, QFont::DemiBold));
    setFixedHeight(fontMetrics().height() + 4);
}

void ColumnHeader::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(currentColors().secondaryText);
    for (int i = 0; i < m_columns.size(); ++i) {
        painter.drawText(m_placement(i, rect()),
                         static_cast<int>(m_columns[i].alignment | Qt::AlignVCenter),
                         m_columns[i].title);
    }
}

} // namespace quorlen
