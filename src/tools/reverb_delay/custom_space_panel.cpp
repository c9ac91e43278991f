#include "tools/reverb_delay/custom_space_panel.h"

#include "state/calculator_state.h"
#include "tempo/reverb_times.h"
#include "tools/reverb_delay/space_tiles.h"
#include "ui/fonts.h"
#include "ui/scheme_label.h"
#include "ui/segmented_picker.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <algorithm>

namespace quorlen {
namespace {

QStringList totalBarsLabels() {
    QStringList labels;
    for (const tempo::TotalBarsChoice& choice : tempo::customTotalBarsChoices())
        labels << QString::fromUtf8(choice.label);
    return labels;
}

QStringList preDivisionLabels() {
    QStringList labels;
    for (int division : tempo::customPreDivisionChoices())
        labels << QStringLiteral("1/") + QString::number(division);
    return labels;
}

// The picker position of a stored value; -1 (nothing chosen) for a value
// that is not one of the choices.
int indexOfTotalBars(double totalBars) {
    const auto choices = tempo::customTotalBarsChoices();
    const auto found = std::find_if(choices.begin(), choices.end(), [&](const auto& choice) {
        return choice.totalBars == totalBars;
    });
    return found == choices.end() ? -1 : static_cast<int>(found - choices.begin());
}

int indexOfPreDivision(int division) {
    const auto choices = tempo::customPreDivisionChoices();
    const auto found = std::find(choices.begin(), choices.end(), division);
    return found == choices.end() ? -1 : static_cast<int>(found - choices.begin());
}

SchemeLabel* caption(const QString& text, QWidget* parent) {
    return new SchemeLabel(text, uiFont(10, QFont::DemiBold), SchemeLabel::Role::Secondary, parent);
}

} // namespace

CustomSpacePanel::CustomSpacePanel(CalculatorState& state, const QColor& accent, QWidget* parent)
    : PremiumPanel(QStringLiteral("Custom Space"),
                   QStringLiteral("slider.horizontal.below.rectangle"), accent, parent),
      m_state(state) {
    setObjectName(QStringLiteral("customSpacePanel"));
    m_totalPicker = new SegmentedPicker(totalBarsLabels(), this);
    m_totalPicker->setObjectName(QStringLiteral("totalBarsPicker"));
    m_prePicker = new SegmentedPicker(preDivisionLabels(), this);
    m_prePicker->setObjectName(QStringLiteral("preDivisionPicker"));

    // Caption over each picker, the picker followed by its unit; the two
    // stack so the panel fits the narrowest window.
    auto* pickers = new QVBoxLayout;
    pickers->setSpacing(6);
    auto addPicker = [&](const QString& title, SegmentedPicker* picker, const QString& unit) {
        pickers->addWidget(caption(title, this));
        auto* row = new QHBoxLayout;
        row->setSpacing(8);
        row->addWidget(picker);
        row->addWidget(caption(unit, this));
        row->addStretch(1);
        pickers->addLayout(row);
    };
    addPicker(QStringLiteral("TOTAL LENGTH"), m_totalPicker, QStringLiteral("bars"));
    pickers->addSpacing(4);
    addPicker(QStringLiteral("PRE-DELAY NOTE"), m_prePicker, QStringLiteral("of a bar"));
    contentLayout()->addLayout(pickers);

    auto* tiles = new QHBoxLayout;
    tiles->setSpacing(10);
    m_preDelay = new ResultTile(QStringLiteral("Pre-delay"), false, accent, this);
    m_decay = new ResultTile(QStringLiteral("Decay"), true, accent, this);
    m_total = new ResultTile(QStringLiteral("Total"), false, accent, this);
    for (ResultTile* tile : {m_preDelay, m_decay, m_total})
        tiles->addWidget(tile, 1);
    contentLayout()->addLayout(tiles);

    // The state is the context of its writers: they stop when it goes.
    connect(m_totalPicker, &SegmentedPicker::chosen, &state, [this](int index) {
        m_state.setCustomTotalBars(tempo::customTotalBarsChoices()[index].totalBars);
    });
    connect(m_prePicker, &SegmentedPicker::chosen, &state, [this](int index) {
        m_state.setCustomPreDivision(tempo::customPreDivisionChoices()[index]);
    });
    connect(&state, &CalculatorState::bpmChanged, this, &CustomSpacePanel::refresh);
    connect(&state, &CalculatorState::customTotalBarsChanged, this, &CustomSpacePanel::refresh);
    connect(&state, &CalculatorState::customPreDivisionChanged, this, &CustomSpacePanel::refresh);
    refresh();
}

void CustomSpacePanel::refresh() {
    m_totalPicker->setSelectedIndex(indexOfTotalBars(m_state.customTotalBars()));
    m_prePicker->setSelectedIndex(indexOfPreDivision(m_state.customPreDivision()));
    const tempo::ReverbTimes times = tempo::customReverbTimes(
        tempo::barMs(m_state.bpm()), m_state.customTotalBars(), m_state.customPreDivision());
    m_preDelay->setMs(times.preDelayMs);
    m_decay->setMs(times.decayMs);
    m_total->setMs(times.totalMs);
}

} // namespace quorlen
