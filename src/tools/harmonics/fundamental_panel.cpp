#include "tools/harmonics/fundamental_panel.h"

#include "pitch/note_names.h"
#include "state/calculator_state.h"
#include "text/number_format.h"
#include "tools/common/formatted.h"
#include "ui/copyable_value.h"
#include "ui/fonts.h"
#include "ui/kit_button.h"
#include "ui/kit_picker.h"

#include <QHBoxLayout>

namespace quorlen {
namespace {

// Octaves 0 … 4 keep the sixteenth harmonic within hearing.
constexpr int kHighestOctave = 4;

QList<KitPicker::Item> pitchItems() {
    QList<KitPicker::Item> items;
    for (size_t i = 0; i < pitch::NoteFrequency::names.size(); ++i) {
        const auto name = pitch::NoteFrequency::names[i];
        items.append(
            {QString::fromLatin1(name.data(), static_cast<int>(name.size())), static_cast<int>(i)});
    }
    return items;
}

QList<KitPicker::Item> octaveItems() {
    QList<KitPicker::Item> items;
    for (int octave = 0; octave <= kHighestOctave; ++octave)
        items.append({QStringLiteral("Octave %1").arg(octave), octave});
    return items;
}

std::set<int> allHarmonics() {
    std::set<int> all;
    for (int n = 1; n <= 16; ++n)
        all.insert(n);
    return all;
}

} // namespace

FundamentalPanel::FundamentalPanel(CalculatorState& state, const QColor& accent, QWidget* parent)
    : PremiumPanel(QStringLiteral("Fundamental"), QStringLiteral("tuningfork"), accent, parent),
      m_state(state) {
    setObjectName(QStringLiteral("fundamentalPanel"));
    auto* row = new QHBoxLayout;
    row->setSpacing(10);

    m_pitch = new KitPicker(pitchItems(), accent, this);
    m_pitch->setObjectName(QStringLiteral("pitchPicker"));
    m_pitch->setFixedWidth(76);
    m_octave = new KitPicker(octaveItems(), accent, this);
    m_octave->setObjectName(QStringLiteral("octavePicker"));
    m_octave->setFixedWidth(110);
    m_fundamental = new CopyableText(this);
    m_fundamental->setObjectName(QStringLiteral("fundamentalValue"));
    m_fundamental->setFont(monoFont(15, QFont::DemiBold));
    m_fundamental->setCopiedColor(accent);
    row->addWidget(m_pitch);
    row->addWidget(m_octave);
    row->addWidget(m_fundamental);
    row->addStretch(1);

    auto* all = new KitButton(QStringLiteral("All"), QStringLiteral("checkmark.circle"),
                              KitButton::Style::Bordered, accent, this);
    all->setObjectName(QStringLiteral("allHarmonics"));
    all->setToolTip(QStringLiteral("Enable all 16 harmonics"));
    auto* triad = new KitButton(QStringLiteral("4:5:6"), QStringLiteral("music.note"),
                                KitButton::Style::Bordered, accent, this);
    triad->setObjectName(QStringLiteral("majorTriad"));
    triad->setToolTip(QStringLiteral("Just the major-triad harmonics"));
    m_sweep = new KitButton(QStringLiteral("Sweep"), QStringLiteral("arrow.up.right"),
                            KitButton::Style::Bordered, accent, this);
    m_sweep->setObjectName(QStringLiteral("sweep"));
    m_sweep->setToolTip(QStringLiteral("Play harmonics 1× to 16× in order"));
    m_sweep->setFixedWidth(66);
    m_play = new KitButton(QStringLiteral("Play"), QStringLiteral("play.fill"),
                           KitButton::Style::Prominent, accent, this);
    m_play->setObjectName(QStringLiteral("playHarmonics"));
    m_play->setToolTip(QStringLiteral("Play the sum of enabled harmonics"));
    m_play->setFixedWidth(56);
    for (QWidget* button : {static_cast<QWidget*>(all), static_cast<QWidget*>(triad),
                            static_cast<QWidget*>(m_sweep), static_cast<QWidget*>(m_play)})
        row->addWidget(button);
    contentLayout()->addLayout(row);

    CalculatorState* const context = &state;
    connect(m_pitch, &KitPicker::valueChosen, context,
            [this](int value) { m_state.setOvertonePitchClass(value); });
    connect(m_octave, &KitPicker::valueChosen, context,
            [this](int value) { m_state.setOvertoneOctave(value); });
    connect(all, &QAbstractButton::clicked, context,
            [this] { m_state.setOvertonesEnabled(allHarmonics()); });
    // Replaces the set: only 4, 5 and 6 remain.
    connect(triad, &QAbstractButton::clicked, context, [this] {
        m_state.setOvertonesEnabled({4, 5, 6});
    });
    connect(m_sweep, &QAbstractButton::clicked, context, [this] { emit sweepToggled(); });
    connect(m_play, &QAbstractButton::clicked, context, [this] { emit playRequested(); });

    connect(&state, &CalculatorState::overtonePitchClassChanged, this,
            &FundamentalPanel::syncFromState);
    connect(&state, &CalculatorState::overtoneOctaveChanged, this,
            &FundamentalPanel::syncFromState);
    connect(&state, &CalculatorState::overtonesEnabledChanged, this,
            &FundamentalPanel::syncFromState);
    connect(&state, &CalculatorState::overtoneSweepingChanged, this,
            &FundamentalPanel::syncFromState);
    syncFromState();
}

void FundamentalPanel::setFundamental(double hz) {
    m_fundamental->setValue(formatted("%.2f Hz", hz), formatted("%.2f", hz));
}

void FundamentalPanel::syncFromState() {
    m_pitch->setValue(m_state.overtonePitchClass());
    m_octave->setValue(m_state.overtoneOctave());
    m_play->setEnabled(!m_state.overtonesEnabled().empty());
    if (m_state.overtoneSweeping())
        m_sweep->setLabel(QStringLiteral("Stop"), QStringLiteral("stop.fill"));
    else
        m_sweep->setLabel(QStringLiteral("Sweep"), QStringLiteral("arrow.up.right"));
}

} // namespace quorlen
