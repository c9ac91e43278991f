#include "tools/reverb_delay/reverb_table.h"

#include "app/calculator_state.h"
#include "tempo/reverb_times.h"
#include "tools/reverb_delay/reverb_row.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"
#include "ui/hairline.h"

#include <QPainter>
#include <QVBoxLayout>

namespace quorlen {
namespace {

class TableHeader : public QWidget {
public:
    explicit TableHeader(QWidget* parent) : QWidget(parent) {
        setFont(uiFont(11, QFont::DemiBold));
        setFixedHeight(fontMetrics().height() + 4);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setPen(currentColors().secondaryText);
        painter.drawText(QRect(ReverbRow::kPaddingX, 0, ReverbRow::kSpaceColumnWidth, height()),
                         Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Space"));
        const QString titles[] = {QStringLiteral("Pre-delay"), QStringLiteral("Decay"),
                                  QStringLiteral("Total")};
        for (int i = 0; i < 3; ++i)
            painter.drawText(ReverbRow::timeColumn(i, rect()), Qt::AlignRight | Qt::AlignVCenter,
                             titles[i]);
    }
};

} // namespace

ReverbTable::ReverbTable(CalculatorState& state, const QColor& accent, QWidget* parent)
    : QWidget(parent), m_state(state) {
    setObjectName(QStringLiteral("reverbTable"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new TableHeader(this));
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
