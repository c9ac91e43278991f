#include "tools/temperament/tuning_lab.h"

#include "pitch/pitch_fields.h"
#include "state/calculator_state.h"
#include "ui/fonts.h"
#include "ui/kit_button.h"
#include "ui/premium_input_field.h"
#include "ui/scheme_label.h"
#include "ui/stepper.h"

#include <QHBoxLayout>
#include <QMenu>
#include <QVBoxLayout>

#include <algorithm>

namespace quorlen {

using pitch::kMaxTetDivisions;
using pitch::kMinTetDivisions;
using pitch::kTetReferenceRange;
using pitch::tetReferenceFieldText;

const TuningLab::Preset TuningLab::kPresets[8] = {
    {"12 — standard tuning", 12}, {"24 — quarter tones", 24}, {"19 — near just thirds", 19},
    {"31 — meantone-like", 31},   {"10 — decaphonic", 10},    {"9 — experimental", 9},
    {"7 — Thai-like", 7},         {"5 — near slendro", 5},
};

TuningLab::TuningLab(CalculatorState& state, const QColor& accent, QWidget* parent)
    : PremiumPanel(QStringLiteral("Tuning Lab"), QStringLiteral("slider.horizontal.3"), accent,
                   parent),
      m_state(state) {
    setObjectName(QStringLiteral("tuningLab"));
    auto* row = new QHBoxLayout;
    row->setSpacing(14);

    m_field = new PremiumInputField(QStringLiteral("Reference · Hz"), {}, this);
    m_field->setObjectName(QStringLiteral("referenceField"));
    m_field->setText(state.tetReferenceText());
    row->addWidget(m_field, 0, Qt::AlignVCenter);
    m_referenceStepper = new Stepper(this);
    m_referenceStepper->setObjectName(QStringLiteral("referenceStepper"));
    m_referenceStepper->setAccessibleName(QStringLiteral("Reference · Hz"));
    auto* stepperColumn = new QVBoxLayout;
    stepperColumn->addSpacing(18); // level with the field's text, below its title
    stepperColumn->addWidget(m_referenceStepper);
    row->addLayout(stepperColumn);
    row->addSpacing(10);

    auto* divisions = new QVBoxLayout;
    divisions->setSpacing(2);
    divisions->addWidget(new SchemeLabel(QStringLiteral("Divisions per octave"),
                                         uiFont(11, QFont::Medium), SchemeLabel::Role::Secondary,
                                         this));
    auto* divisionsRow = new QHBoxLayout;
    m_divisionsLabel =
        new SchemeLabel({}, uiFont(24, QFont::DemiBold), SchemeLabel::Role::Primary, this);
    m_divisionsLabel->setObjectName(QStringLiteral("divisionsLabel"));
    m_divisionsLabel->setMinimumWidth(40);
    divisionsRow->addWidget(m_divisionsLabel);
    m_divisionsStepper = new Stepper(this);
    m_divisionsStepper->setObjectName(QStringLiteral("divisionsStepper"));
    m_divisionsStepper->setAccessibleName(QStringLiteral("Divisions per octave"));
    divisionsRow->addWidget(m_divisionsStepper);
    divisions->addLayout(divisionsRow);
    row->addLayout(divisions);
    row->addStretch(1);

    auto* presets = new KitButton(QStringLiteral("Presets"), QStringLiteral("sparkles"),
                                  KitButton::Style::Bordered, accent, this);
    presets->setObjectName(QStringLiteral("presets"));
    auto* menu = new QMenu(presets);
    for (const Preset& preset : kPresets) {
        menu->addAction(QString::fromUtf8(preset.label), this,
                        [this, n = preset.divisions] { emit divisionsRequested(n); });
    }
    presets->setMenu(menu);
    row->addWidget(presets, 0, Qt::AlignVCenter);

    m_play = new KitButton(QStringLiteral("Play scale"), QStringLiteral("play.fill"),
                           KitButton::Style::Prominent, accent, this);
    m_play->setObjectName(QStringLiteral("playScale"));
    m_play->setToolTip(QStringLiteral("Play all steps up to the octave"));
    row->addWidget(m_play, 0, Qt::AlignVCenter);
    contentLayout()->addLayout(row);

    CalculatorState* const context = &state;
    bindTypedNumber(
        m_field, context, [this](const QString& text) { m_state.setTetReferenceText(text); },
        [this] { commitReferenceText(); });
    connect(m_referenceStepper, &Stepper::steppedDown, context, [this] { stepReference(-1); });
    connect(m_referenceStepper, &Stepper::steppedUp, context, [this] { stepReference(+1); });
    connect(m_divisionsStepper, &Stepper::steppedDown, context,
            [this] { emit divisionsRequested(m_state.tetDivisions() - 1); });
    connect(m_divisionsStepper, &Stepper::steppedUp, context,
            [this] { emit divisionsRequested(m_state.tetDivisions() + 1); });
    connect(m_play, &QAbstractButton::clicked, context, [this] { emit playToggled(); });

    connect(&state, &CalculatorState::tetReferenceChanged, this, [this] {
        syncReferenceText();
        syncControls();
    });
    connect(&state, &CalculatorState::tetReferenceTextChanged, this,
            [this] { m_field->setText(m_state.tetReferenceText()); });
    connect(&state, &CalculatorState::tetDivisionsChanged, this, &TuningLab::syncControls);
    connect(&state, &CalculatorState::tetPlayingChanged, this, &TuningLab::syncControls);
    syncControls();
}

void TuningLab::commitReferenceText() {
    m_state.setTetReference(text::commitTypedNumber(m_field->text().toStdString(),
                                                    m_state.tetReference(), kTetReferenceRange));
    syncReferenceText();
}

void TuningLab::syncReferenceText() {
    m_state.setTetReferenceText(
        QString::fromStdString(tetReferenceFieldText(m_state.tetReference())));
    m_field->setText(m_state.tetReferenceText());
}

// Text typed but not yet committed is taken first, so one click moves the
// committed value by exactly 1 Hz (300.4 typed, one click up: 301.4).
void TuningLab::stepReference(double delta) {
    commitReferenceText();
    m_state.setTetReference(
        std::clamp(m_state.tetReference() + delta, kTetReferenceRange.min, kTetReferenceRange.max));
    syncReferenceText();
}

void TuningLab::syncControls() {
    const double reference = m_state.tetReference();
    const int divisions = m_state.tetDivisions();
    m_referenceStepper->setCanStep(reference > kTetReferenceRange.min,
                                   reference < kTetReferenceRange.max);
    m_divisionsStepper->setCanStep(divisions > kMinTetDivisions, divisions < kMaxTetDivisions);
    m_divisionsLabel->setText(QString::number(divisions));
    m_divisionsStepper->setValueText(QString::number(divisions));
    m_referenceStepper->setValueText(m_state.tetReferenceText() + QStringLiteral(" Hz"));
    if (m_state.tetPlaying())
        m_play->setLabel(QStringLiteral("Stop"), QStringLiteral("stop.fill"));
    else
        m_play->setLabel(QStringLiteral("Play scale"), QStringLiteral("play.fill"));
}

} // namespace quorlen
