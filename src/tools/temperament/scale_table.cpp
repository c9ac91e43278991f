#include "tools/temperament/scale_table.h"

#include "tools/temperament/step_row.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"

#include <QPainter>
#include <QVBoxLayout>

namespace quorlen {
namespace {
constexpr int kHeaderHeight = 24;
} // namespace

ScaleTable::ScaleTable(const QColor& accent, QWidget* parent) : QWidget(parent), m_accent(accent) {
    setObjectName(QStringLiteral("scaleTable"));
    m_column = new QVBoxLayout(this);
    m_column->setContentsMargins(0, kHeaderHeight + 6, 0, 0);
    m_column->setSpacing(0);
}

void ScaleTable::setSteps(const std::vector<pitch::TetStep>& steps) {
    const int count = static_cast<int>(steps.size());
    while (m_rows.size() > count)
        delete m_rows.takeLast();
    while (m_rows.size() < count) {
        auto* row = new StepRow(m_accent, this);
        const int index = static_cast<int>(m_rows.size());
        row->setObjectName(QStringLiteral("step_%1").arg(index));
        connect(row, &QAbstractButton::clicked, this, [this, index] { emit stepClicked(index); });
        m_column->addWidget(row);
        m_rows.append(row);
    }
    for (int i = 0; i < count; ++i) {
        m_rows[i]->setStep(steps[static_cast<size_t>(i)], i == count - 1);
        m_rows[i]->setStriped(i % 2 == 1);
    }
}

void ScaleTable::setPlayingStep(std::optional<int> index) {
    for (int i = 0; i < m_rows.size(); ++i)
        m_rows[i]->setPlaying(index == i);
}

void ScaleTable::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const SchemeColors colors = currentColors();
    painter.setFont(uiFont(13, QFont::DemiBold));
    painter.setPen(colors.secondaryText);
    // Column edges follow the rows: step column, three value columns, the
    // nearest-note column at the right.
    const int valuesLeft = StepRow::kStepColumnWidth + 10;
    const int valuesWidth = width() - valuesLeft - 170;
    const int column = (valuesWidth - 16) / 3;
    const QRect band(0, 0, width(), kHeaderHeight);
    painter.drawText(band.adjusted(10, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                     QStringLiteral("Step"));
    const QString titles[] = {QStringLiteral("Frequency"), QStringLiteral("Ratio"),
                              QStringLiteral("Cents")};
    for (int i = 0; i < 3; ++i) {
        painter.drawText(QRect(valuesLeft + i * (column + 8), 0, column, kHeaderHeight),
                         Qt::AlignRight | Qt::AlignVCenter, titles[i]);
    }
    painter.drawText(band.adjusted(0, 0, -10, 0), Qt::AlignRight | Qt::AlignVCenter,
                     QStringLiteral("Nearest 12-TET"));
    painter.fillRect(QRect(0, kHeaderHeight + 2, width(), 1), colors.border);
}

} // namespace quorlen
