#include "tools/note_frequencies/tuning_controls.h"

#include "pitch/pitch_fields.h"
#include "state/calculator_state.h"
#include "text/number_format.h"
#include "ui/fonts.h"
#include "ui/kit_button.h"
#include "ui/kit_slider.h"
#include "ui/premium_input_field.h"
#include "ui/scheme_label.h"
#include "ui/stepper.h"

#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace quorlen {

using pitch::a4FieldText;
using pitch::kA4Range;

TuningControls::TuningControls(CalculatorState& state, const QColor& accent, QWidget* parent)
    : PremiumPanel(QStringLiteral("Concert Pitch"), QStringLiteral("tuningfork"), accent, parent),
      m_state(state) {
    setObjectName(QStringLiteral("tuningControls"));
    auto* row = new QHBoxLayout;
    row->setSpacing(18);

    m_field = new PremiumInputField(QStringLiteral("A4 tuning"), QStringLiteral("Hz"), this);
    m_field->setObjectName(QStringLiteral("a4Field"));
    m_field->setText(state.a4Text());
    row->addWidget(m_field, 0, Qt::AlignVCenter);

    m_stepper = new Stepper(this);
    m_stepper->setObjectName(QStringLiteral("a4Stepper"));
    m_stepper->setAccessibleName(QStringLiteral("A4 tuning"));
    auto* stepperColumn = new QVBoxLayout;
    stepperColumn->addSpacing(18); // level with the field's text, below its title
    stepperColumn->addWidget(m_stepper);
    row->addLayout(stepperColumn);

    auto* sliderColumn = new QVBoxLayout;
    sliderColumn->setSpacing(2);
    m_slider = new KitSlider(accent, this);
    m_slider->setObjectName(QStringLiteral("a4Slider"));
    m_slider->setAccessibleName(QStringLiteral("A4 tuning"));
    m_slider->setRange(static_cast<int>(kA4Range.min), static_cast<int>(kA4Range.max));
    sliderColumn->addWidget(m_slider);
    auto* captions = new QHBoxLayout;
    const QFont captionFont = uiFont(10, QFont::Medium);
    captions->addWidget(
        new SchemeLabel(QStringLiteral("400 Hz"), captionFont, SchemeLabel::Role::Secondary, this));
    captions->addStretch();
    captions->addWidget(
        new SchemeLabel(QStringLiteral("480 Hz"), captionFont, SchemeLabel::Role::Secondary, this));
    sliderColumn->addLayout(captions);
    row->addLayout(sliderColumn, 1);

    auto* reset =
        new KitButton(QStringLiteral("Reset 440"), QStringLiteral("arrow.counterclockwise"),
                      KitButton::Style::Bordered, accent, this);
    reset->setObjectName(QStringLiteral("resetA4"));
    reset->setToolTip(QStringLiteral("Reset A4 to 440 Hz"));
    row->addWidget(reset, 0, Qt::AlignVCenter);
    contentLayout()->addLayout(row);

    // Connections use the state as context: a closing window may destroy
    // the state before its widgets lose focus.
    CalculatorState* const context = &state;
    bindTypedNumber(
        m_field, context, [this](const QString& text) { m_state.setA4Text(text); },
        [this] { commitText(); });
    // The stepper moves by 1 Hz without rounding: 441.5 steps to 442.5.
    connect(m_stepper, &Stepper::steppedDown, context,
            [this] { m_state.setA4(std::clamp(m_state.a4() - 1, kA4Range.min, kA4Range.max)); });
    connect(m_stepper, &Stepper::steppedUp, context,
            [this] { m_state.setA4(std::clamp(m_state.a4() + 1, kA4Range.min, kA4Range.max)); });
    // The slider's positions are whole hertz, so dragging leaves whole numbers.
    connect(m_slider, &KitSlider::picked, context, [this](int value) { m_state.setA4(value); });
    connect(reset, &QAbstractButton::clicked, context, [this] {
        m_state.setA4(440.0);
        m_state.setA4Text(QStringLiteral("440"));
    });

    connect(&state, &CalculatorState::a4Changed, this, [this] {
        syncTextFromValue();
        syncControls();
    });
    connect(&state, &CalculatorState::a4TextChanged, this,
            [this] { m_field->setText(m_state.a4Text()); });
    syncControls();
}

void TuningControls::commitText() {
    m_state.setA4(text::commitTypedNumber(m_field->text().toStdString(), m_state.a4(), kA4Range));
    syncTextFromValue();
}

void TuningControls::syncTextFromValue() {
    m_state.setA4Text(QString::fromStdString(a4FieldText(m_state.a4())));
    m_field->setText(m_state.a4Text());
}

void TuningControls::syncControls() {
    const double a4 = m_state.a4();
    const QSignalBlocker blocker(m_slider);
    m_slider->setValue(static_cast<int>(std::lround(a4)));
    m_stepper->setCanStep(a4 > kA4Range.min, a4 < kA4Range.max);
    m_stepper->setValueText(m_state.a4Text() + QStringLiteral(" Hz"));
}

} // namespace quorlen
