#include "tools/tempo/tempo_controls.h"

#include "state/calculator_state.h"
#include "tempo/tap_tempo.h"
#include "tempo/tempo_field.h"
#include "tools/tempo/tap_button.h"
#include "ui/fonts.h"
#include "ui/kit_slider.h"
#include "ui/premium_input_field.h"
#include "ui/scheme_label.h"
#include "ui/stepper.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QShortcut>
#include <QSignalBlocker>
#include <QTextEdit>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <memory>

namespace quorlen {
namespace {

// Typing a space is the one thing Space does besides tapping here.
bool typesText(const QWidget* widget) {
    return qobject_cast<const QLineEdit*>(widget) || qobject_cast<const QTextEdit*>(widget) ||
           qobject_cast<const QPlainTextEdit*>(widget) ||
           qobject_cast<const QAbstractSpinBox*>(widget);
}

// While the tempo tool is shown Space taps, whatever button or row has the
// keyboard focus: a focused control would otherwise claim Space through
// ShortcutOverride (a sidebar row would switch tools). Text fields keep it,
// and so does a control that says Space is its own ("ownsSpaceKey").
class SpaceTaps final : public QObject {
public:
    explicit SpaceTaps(QWidget* tool) : QObject(tool), m_tool(tool) {}

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::ShortcutOverride)
            return false;
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() != Qt::Key_Space || key->modifiers() != Qt::NoModifier)
            return false;
        const auto* widget = qobject_cast<const QWidget*>(watched);
        const QWidget* focus = QApplication::focusWidget();
        if (!widget || !focus || widget->window() != m_tool->window() || !m_tool->isVisible() ||
            typesText(focus) || focus->property("ownsSpaceKey").toBool())
            return false;
        // Unclaimed, the key goes to the window's Space shortcut.
        return true;
    }

private:
    QWidget* m_tool;
};

TempoControls::Clock steadyClock() {
    auto timer = std::make_shared<QElapsedTimer>();
    timer->start();
    return [timer] { return static_cast<double>(timer->nsecsElapsed()) / 1e9; };
}

} // namespace

TempoControls::TempoControls(CalculatorState& state, const QColor& accent, QWidget* parent)
    : PremiumPanel(QStringLiteral("Tempo Control"), QStringLiteral("slider.horizontal.3"), accent,
                   parent),
      m_state(state), m_clock(steadyClock()) {
    setObjectName(QStringLiteral("tempoControls"));
    auto* row = new QHBoxLayout;
    row->setSpacing(18);

    m_field = new PremiumInputField(QStringLiteral("BPM"), {}, this);
    m_field->setObjectName(QStringLiteral("bpmField"));
    row->addWidget(m_field, 0, Qt::AlignBottom);

    m_stepper = new Stepper(this);
    m_stepper->setObjectName(QStringLiteral("bpmStepper"));
    m_stepper->setAccessibleName(QStringLiteral("BPM"));
    row->addWidget(m_stepper, 0, Qt::AlignBottom);

    auto* sliderColumn = new QVBoxLayout;
    sliderColumn->setSpacing(2);
    m_slider = new KitSlider(accent, this);
    m_slider->setObjectName(QStringLiteral("bpmSlider"));
    m_slider->setAccessibleName(QStringLiteral("BPM"));
    m_slider->setRange(static_cast<int>(tempo::kControlBpmRange.min),
                       static_cast<int>(tempo::kControlBpmRange.max));
    sliderColumn->addWidget(m_slider);
    auto* captions = new QHBoxLayout;
    captions->addWidget(new SchemeLabel(QStringLiteral("20 · Slow"), uiFont(11),
                                        SchemeLabel::Role::Secondary, this));
    captions->addStretch();
    captions->addWidget(new SchemeLabel(QStringLiteral("400 · Fast"), uiFont(11),
                                        SchemeLabel::Role::Secondary, this));
    sliderColumn->addLayout(captions);
    row->addLayout(sliderColumn, 1);
    row->setAlignment(sliderColumn, Qt::AlignBottom);

    m_tapButton = new TapButton(accent, this);
    m_tapButton->setObjectName(QStringLiteral("tapButton"));
    m_tapButton->setToolTip(QStringLiteral("Tap the beat — or press Space"));
    row->addWidget(m_tapButton, 0, Qt::AlignBottom);
    row->addWidget(new KeyCap(QStringLiteral("Space"), this), 0, Qt::AlignBottom);
    contentLayout()->addLayout(row);

    // Everything that writes the state uses the state as its context, so it
    // stops when the state goes: a window may destroy its state before its
    // widgets, and a focused field loses focus as the window closes.
    CalculatorState* const context = &state;
    // A focused line edit claims Space through ShortcutOverride, so the
    // shortcut taps only while no text field is being typed in.
    auto* spaceShortcut = new QShortcut(QKeySequence(Qt::Key_Space), this);
    spaceShortcut->setContext(Qt::WindowShortcut);
    connect(spaceShortcut, &QShortcut::activated, context, [this] { tap(); });
    qApp->installEventFilter(new SpaceTaps(this));
    connect(m_tapButton, &QAbstractButton::pressed, context, [this] { tap(); });

    bindTypedNumber(
        m_field, context, [this](const QString& text) { onTextEdited(text); },
        [this] { commitText(); });
    connect(m_stepper, &Stepper::steppedDown, context,
            [this] { m_state.setBpm(tempo::steppedBpm(m_state.bpm(), -1)); });
    connect(m_stepper, &Stepper::steppedUp, context,
            [this] { m_state.setBpm(tempo::steppedBpm(m_state.bpm(), +1)); });
    connect(m_slider, &KitSlider::picked, context, [this](int value) { m_state.setBpm(value); });

    connect(&state, &CalculatorState::bpmChanged, this, [this] {
        if (!m_field->isFocused())
            syncTextFromValue();
        syncControls();
    });
    connect(&state, &CalculatorState::bpmTextChanged, this,
            [this] { m_field->setText(m_state.bpmText()); });
    // The tempo may have changed while this screen was not shown, with no one
    // to rewrite the text then.
    syncTextFromValue();
    m_field->setText(m_state.bpmText());
    syncControls();
}

void TempoControls::onTextEdited(const QString& text) {
    m_state.setBpmText(text);
    if (!m_field->isFocused())
        return;
    if (const auto bpm = tempo::liveBpm(text.toStdString()))
        m_state.setBpm(*bpm);
}

void TempoControls::commitText() {
    m_state.setBpm(tempo::commitBpmText(m_field->text().toStdString(), m_state.bpm()));
    syncTextFromValue();
}

void TempoControls::syncTextFromValue() {
    m_state.setBpmText(QString::fromStdString(tempo::bpmFieldText(m_state.bpm())));
}

void TempoControls::syncControls() {
    const double bpm = m_state.bpm();
    // The slider shows the nearest position it has; moving it there is not
    // a user change, so it must not write back.
    const QSignalBlocker blocker(m_slider);
    m_slider->setValue(static_cast<int>(std::lround(bpm)));
    m_stepper->setCanStep(bpm > tempo::kControlBpmRange.min, bpm < tempo::kControlBpmRange.max);
    m_stepper->setValueText(m_state.bpmText() + QStringLiteral(" BPM"));
}

void TempoControls::tap() {
    tempo::TapOutcome outcome = tempo::tap(m_tapTimesSeconds, m_clock());
    m_tapTimesSeconds = std::move(outcome.tapTimesSeconds);
    if (outcome.bpm)
        m_state.setBpm(*outcome.bpm);
}

} // namespace quorlen
