#include "tools/euclidean/euclid_controls.h"

#include "state/calculator_state.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"
#include "ui/kit_button.h"
#include "ui/segmented_picker.h"
#include "ui/stepper.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace quorlen {
namespace {

// Note values of the picker's segments, in order.
constexpr int kNotes[] = {4, 8, 16};

// A label that paints in the scheme's colour at paint time, so a switch
// between light and dark shows at once.
class SchemeLabel : public QLabel {
public:
    SchemeLabel(const QFont& font, bool secondary, QWidget* parent)
        : QLabel(parent), m_secondary(secondary) {
        setFont(font);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setFont(font());
        const SchemeColors colors = currentColors();
        painter.setPen(m_secondary ? colors.secondaryText : colors.primaryText);
        painter.drawText(contentsRect(), static_cast<int>(alignment()), text());
    }

private:
    bool m_secondary;
};

} // namespace

EuclidControls::EuclidControls(CalculatorState& state, const QColor& accent, QWidget* parent)
    : PremiumPanel(QStringLiteral("Pattern Controls"), QStringLiteral("slider.horizontal.3"),
                   accent, parent),
      m_state(state) {
    setFixedWidth(kWidth);

    m_steps = new Stepper(this);
    m_pulses = new Stepper(this);
    m_rotation = new Stepper(this);
    m_steps->setObjectName(QStringLiteral("euclidStepsStepper"));
    m_pulses->setObjectName(QStringLiteral("euclidPulsesStepper"));
    m_rotation->setObjectName(QStringLiteral("euclidRotationStepper"));
    addContent(counterRow(QStringLiteral("Steps (n)"), m_stepsValue, m_steps));
    addContent(counterRow(QStringLiteral("Pulses (k)"), m_pulsesValue, m_pulses));
    addContent(counterRow(QStringLiteral("Rotation"), m_rotationValue, m_rotation));
    // The steppers only offer steps inside the ranges (refresh), so each
    // step is the value one away.
    CalculatorState* const shared = &m_state;
    auto steps = [shared](Stepper* stepper, int (CalculatorState::*read)() const,
                          void (CalculatorState::*write)(int)) {
        connect(stepper, &Stepper::steppedDown, shared,
                [shared, read, write] { (shared->*write)((shared->*read)() - 1); });
        connect(stepper, &Stepper::steppedUp, shared,
                [shared, read, write] { (shared->*write)((shared->*read)() + 1); });
    };
    steps(m_steps, &CalculatorState::euclidSteps, &CalculatorState::setEuclidSteps);
    steps(m_pulses, &CalculatorState::euclidPulses, &CalculatorState::setEuclidPulses);
    steps(m_rotation, &CalculatorState::euclidRotation, &CalculatorState::setEuclidRotation);

    auto* stepLength = new QWidget(this);
    auto* stepColumn = new QVBoxLayout(stepLength);
    stepColumn->setContentsMargins(0, 0, 0, 0);
    stepColumn->setSpacing(6);
    auto* caption = new SchemeLabel(uiFont(11, QFont::DemiBold), true, stepLength);
    caption->setText(QStringLiteral("STEP LENGTH"));
    stepColumn->addWidget(caption);
    m_note = new SegmentedPicker(
        {QStringLiteral("1/4"), QStringLiteral("1/8"), QStringLiteral("1/16")}, stepLength);
    m_note->setObjectName(QStringLiteral("euclidNotePicker"));
    m_note->setAccessibleName(QStringLiteral("Step length"));
    stepColumn->addWidget(m_note);
    m_tempoSource = new SchemeLabel(uiFont(11), true, stepLength);
    m_tempoSource->setObjectName(QStringLiteral("euclidTempoSource"));
    stepColumn->addWidget(m_tempoSource);
    addContent(stepLength);
    connect(m_note, &SegmentedPicker::chosen, this,
            [this](int index) { m_state.setEuclidNote(kNotes[index]); });

    m_presets = new KitButton(QStringLiteral("Presets"), QStringLiteral("sparkles"),
                              KitButton::Style::Bordered, accent, this);
    m_presets->setMenu(new QMenu(m_presets));
    m_presets->setObjectName(QStringLiteral("euclidPresets"));
    addPreset(QStringLiteral("Tresillo · E(3,8)"), 3, 8);
    addPreset(QStringLiteral("Cinquillo · E(5,8)"), 5, 8);
    addPreset(QStringLiteral("Bembé · E(7,12)"), 7, 12);
    addPreset(QStringLiteral("Bossa · E(5,16)"), 5, 16);
    addContent(m_presets);

    m_play = new KitButton(QStringLiteral("Play"), QStringLiteral("play.fill"),
                           KitButton::Style::Prominent, accent, this);
    m_play->setObjectName(QStringLiteral("euclidPlayButton"));
    addContent(m_play);
    connect(m_play, &KitButton::clicked, this, &EuclidControls::playToggled);

    refresh();
}

QWidget* EuclidControls::counterRow(const QString& label, QLabel*& value, Stepper* stepper) {
    auto* row = new QWidget(this);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    auto* name = new SchemeLabel(uiFont(12, QFont::Medium), true, row);
    name->setText(label);
    layout->addWidget(name);
    layout->addStretch(1);
    value = new SchemeLabel(monoFont(15, QFont::DemiBold), false, row);
    value->setObjectName(
        stepper->objectName().replace(QStringLiteral("Stepper"), QStringLiteral("Value")));
    value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    value->setMinimumWidth(28);
    layout->addWidget(value);
    stepper->setAccessibleName(label);
    stepper->setParent(row);
    layout->addWidget(stepper);
    return row;
}

void EuclidControls::addPreset(const QString& title, int pulses, int steps) {
    QAction* action = m_presets->menu()->addAction(title);
    connect(action, &QAction::triggered, this, [this, pulses, steps] {
        // Steps first: the steps' consistency rule must not clip the new k.
        m_state.setEuclidSteps(steps);
        m_state.setEuclidPulses(pulses);
        m_state.setEuclidRotation(0);
    });
}

void EuclidControls::refresh() {
    const int steps = m_state.euclidSteps();
    const int pulses = m_state.euclidPulses();
    const int rotation = m_state.euclidRotation();
    m_steps->setCanStep(steps > 1, steps < kMaxSteps);
    m_pulses->setCanStep(pulses > 0, pulses < steps);
    m_rotation->setCanStep(rotation > 0, rotation < std::max(steps - 1, 0));
    for (auto [stepper, label, value] :
         {std::tuple{m_steps, m_stepsValue, steps}, std::tuple{m_pulses, m_pulsesValue, pulses},
          std::tuple{m_rotation, m_rotationValue, rotation}}) {
        label->setText(QString::number(value));
        stepper->setValueText(QString::number(value));
    }

    const int* note = std::find(std::begin(kNotes), std::end(kNotes), m_state.euclidNote());
    if (note != std::end(kNotes))
        m_note->setSelectedIndex(static_cast<int>(note - std::begin(kNotes)));
    // The whole BPM, truncated: 119.9 reads 119.
    m_tempoSource->setText(QString::number(static_cast<long long>(std::trunc(m_state.bpm()))) +
                           QStringLiteral(" BPM from the Tempo tab"));

    const bool playing = m_state.euclidPlaying();
    m_play->setLabel(playing ? QStringLiteral("Stop") : QStringLiteral("Play"),
                     playing ? QStringLiteral("stop.fill") : QStringLiteral("play.fill"));
    m_play->setEnabled(m_state.euclidPulses() != 0);
}

} // namespace quorlen
