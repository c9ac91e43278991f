#include "tools/reverb_delay/reverb_table.h"

#include "state/calculator_state.h"
#include "tempo/reverb_times.h"
#include "tools/reverb_delay/reverb_row.h"
#include "ui/column_header.h"
#include "ui/hairline.h"

#include <QVBoxLayout>

namespace quorlen {

ReverbTable::ReverbTable(CalculatorState& state, const QColor& accent, QWidget* parent)
    : QWidget(parent), m_state(state) {
    setObjectName(QStringLiteral("reverbTable"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    // The first column is the space's name; the rest are the time columns.
    column->addWidget(new ColumnHeader(
        {{QStringLiteral("Space"), Qt::AlignLeft},
         {QStringLiteral("Pre-delay"), Qt::AlignRight},
         {QStringLiteral("Decay"), Qt::AlignRight},
         {QStringLiteral("Total"), Qt::AlignRight}},
        [](int index, const QRect& bounds) {
            if (index == 0)
                return QRect(ReverbRow::kPaddingX, 0, ReverbRow::kSpaceColumnWidth,
                             bounds.height());
            return ReverbRow::timeColumn(index - 1, bounds);
        },
        this));
    column->addSpacing(6);
    column->addWidget(new Hairline(this));
    column->addSpacing(4);
    const auto presets = tempo::reverbPresets();
    for (size_t i = 0; i < presets.size(); ++i) {
        auto* row = new ReverbRow(presets[i], i % 2 == 1, accent, this);
        column->addWidget(row);
        m_rows.append(row);
    }
    connect(&state, &CalculatorState::bpmChanged, this, &ReverbTable::refresh);
    refresh();
}

void ReverbTable::refresh() {
    const double barMs = tempo::barMs(m_state.bpm());
    for (ReverbRow* row : m_rows) {
        const tempo::ReverbPreset& preset = row->preset();
        row->setTimes(tempo::reverbTimes(barMs, preset.totalBars, preset.preDivision));
    }
}

} // namespace quorlen
