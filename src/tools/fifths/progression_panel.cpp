#include "tools/fifths/progression_panel.h"

#include "harmony/progression.h"
#include "tools/common/formatted.h"
#include "tools/fifths/chord_tile.h"
#include "ui/fonts.h"
#include "ui/hairline.h"
#include "ui/kit_button.h"
#include "ui/scheme_label.h"

#include <QHBoxLayout>
#include <QMenu>
#include <QScrollArea>
#include <QScrollBar>
#include <QWheelEvent>

namespace quorlen {
namespace {

constexpr int kPlayWidth = 58; // px: "Play" and "Stop" alike, so the row never shifts

} // namespace

ProgressionPanel::ProgressionPanel(const QColor& accent, QWidget* parent)
    : PremiumPanel(QStringLiteral("Progression Player"), QStringLiteral("play.circle"), accent,
                   parent),
      m_accent(accent) {
    setObjectName(QStringLiteral("progressionPanel"));

    auto* degreeRow = new QHBoxLayout;
    degreeRow->setSpacing(6);
    for (int degree = 0; degree < 7; ++degree) {
        auto* button = new ChordTile(ChordTile::kDegreeLook, accent, this);
        button->setObjectName(QStringLiteral("degree-%1").arg(degree));
        button->setToolTip(QStringLiteral("Play and add to progression · right-click to copy"));
        button->setCopyMenuEnabled(true);
        button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        connect(button, &QAbstractButton::clicked, this,
                [this, degree] { emit degreeTapped(degree); });
        degreeRow->addWidget(button);
        m_degrees[static_cast<size_t>(degree)] = button;
    }
    contentLayout()->addLayout(degreeRow);
    addContent(new Hairline(0.4, this));

    auto* sequenceRow = new QHBoxLayout;
    sequenceRow->setSpacing(10);
    m_empty = new SchemeLabel(QStringLiteral("Tap chords above to build a loop"), uiFont(12),
                              SchemeLabel::Role::Secondary, this);
    // In the narrowest window the hint takes a second line beside the
    // buttons rather than being cut.
    m_empty->setFit(SchemeLabel::Fit::Wrap);
    sequenceRow->addWidget(m_empty, 1);

    m_chipRow = new QWidget;
    m_chipLayout = new QHBoxLayout(m_chipRow);
    m_chipLayout->setContentsMargins(0, 0, 0, 0);
    m_chipLayout->setSpacing(6);
    m_chipLayout->addStretch(1);
    m_chipScroller = new QScrollArea(this);
    m_chipScroller->setObjectName(QStringLiteral("progressionChips"));
    m_chipScroller->setWidget(m_chipRow);
    m_chipScroller->setWidgetResizable(true);
    // The chips take focus one by one; the strip itself is no stop.
    m_chipScroller->setFocusPolicy(Qt::NoFocus);
    m_chipScroller->setFrameShape(QFrame::NoFrame);
    m_chipScroller->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_chipScroller->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_chipScroller->setFixedHeight(ChordTile::kChipLook.height);
    m_chipScroller->setStyleSheet(QStringLiteral("QScrollArea, QScrollArea > QWidget > QWidget "
                                                 "{ background: transparent; }"));
    m_chipScroller->viewport()->installEventFilter(this);
    sequenceRow->addWidget(m_chipScroller, 1);

    m_tempoNote = new SchemeLabel({}, uiFont(11), SchemeLabel::Role::Secondary, this);
    sequenceRow->addWidget(m_tempoNote);

    m_presets = new KitButton(QStringLiteral("Presets"), QStringLiteral("sparkles"),
                              KitButton::Style::Bordered, accent, this);
    m_presets->setObjectName(QStringLiteral("presets"));
    m_presetMenu = new QMenu(m_presets);
    m_presets->setMenu(m_presetMenu);
    sequenceRow->addWidget(m_presets);

    m_clear = new KitButton(QStringLiteral("Clear"), {}, KitButton::Style::Bordered, accent, this);
    m_clear->setObjectName(QStringLiteral("clear"));
    connect(m_clear, &QAbstractButton::clicked, this, &ProgressionPanel::clearRequested);
    sequenceRow->addWidget(m_clear);

    m_play = new KitButton(QStringLiteral("Play"), QStringLiteral("play.fill"),
                           KitButton::Style::Prominent, accent, this);
    m_play->setObjectName(QStringLiteral("play"));
    connect(m_play, &QAbstractButton::clicked, this, &ProgressionPanel::toggleRequested);
    sequenceRow->addWidget(m_play);
    contentLayout()->addLayout(sequenceRow);

    setSelection(m_selection);
    setProgression({}, std::nullopt, false);
    setBpm(120);
}

void ProgressionPanel::setSelection(harmony::KeySelection selection) {
    m_selection = selection;
    const auto chords = selection.chords();
    const auto numerals = selection.romanNumerals();
    for (size_t i = 0; i < chords.size(); ++i)
        m_degrees[i]->setChord(QString::fromStdString(chords[i]), qs(numerals[i]));
    rebuildPresets();
    rebuildChips();
}

void ProgressionPanel::setProgression(const std::vector<int>& degrees,
                                      std::optional<int> playingStep, bool playing) {
    const bool changed = degrees != m_progression;
    m_progression = degrees;
    m_playingStep = playingStep;
    if (changed)
        rebuildChips();
    for (int k = 0; k < m_chips.size(); ++k)
        m_chips[k]->setHighlighted(playingStep == k);
    if (playingStep && *playingStep >= 0 && *playingStep < m_chips.size())
        m_chipScroller->ensureWidgetVisible(m_chips[*playingStep], 6, 0);
    const bool empty = degrees.empty();
    m_empty->setVisible(empty);
    m_chipScroller->setVisible(!empty);
    m_clear->setEnabled(!empty);
    m_play->setEnabled(!empty);
    m_play->setLabel(playing ? QStringLiteral("Stop") : QStringLiteral("Play"),
                     playing ? QStringLiteral("stop.fill") : QStringLiteral("play.fill"));
    m_play->setFixedWidth(std::max(kPlayWidth, m_play->sizeHint().width()));
}

void ProgressionPanel::setBpm(double bpm) {
    m_tempoNote->setText(QString::fromStdString(harmony::progressionTempoNote(bpm)));
}

QString ProgressionPanel::tempoNote() const { return m_tempoNote->text(); }

// The chip row scrolls sideways only; an ordinary mouse wheel moves it too.
bool ProgressionPanel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_chipScroller->viewport() && event->type() == QEvent::Wheel) {
        const auto* wheel = static_cast<QWheelEvent*>(event);
        const QPoint delta = wheel->angleDelta();
        const int steps = delta.x() != 0 ? delta.x() : delta.y();
        QScrollBar* bar = m_chipScroller->horizontalScrollBar();
        bar->setValue(bar->value() - steps / 2);
        return true;
    }
    return PremiumPanel::eventFilter(watched, event);
}

// One chip per step, rebuilt when the loop or the key changes; old chips go
// later, since one of them may be the chip whose click is being handled.
void ProgressionPanel::rebuildChips() {
    for (ChordTile* chip : m_chips) {
        chip->hide();
        chip->deleteLater();
    }
    m_chips.clear();
    const auto chords = m_selection.chords();
    const auto numerals = m_selection.romanNumerals();
    for (size_t k = 0; k < m_progression.size(); ++k) {
        const auto degree = static_cast<size_t>(((m_progression[k] % 7) + 7) % 7);
        auto* chip = new ChordTile(ChordTile::kChipLook, m_accent, m_chipRow);
        chip->setChord(QString::fromStdString(chords[degree]), qs(numerals[degree]));
        chip->setToolTip(QStringLiteral("Remove from progression"));
        chip->setHighlighted(m_playingStep == static_cast<int>(k));
        const int step = static_cast<int>(k);
        connect(chip, &QAbstractButton::clicked, this, [this, step] { emit stepRemoved(step); });
        m_chipLayout->insertWidget(static_cast<int>(k), chip);
        m_chips.append(chip);
    }
}

void ProgressionPanel::rebuildPresets() {
    m_presetMenu->clear();
    for (const harmony::ProgressionPreset& preset :
         harmony::progressionPresets(m_selection.isMinor)) {
        const std::vector<int> degrees = preset.degrees;
        m_presetMenu->addAction(qs(preset.name), this,
                                [this, degrees] { emit presetChosen(degrees); });
    }
}

} // namespace quorlen
