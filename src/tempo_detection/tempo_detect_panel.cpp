#include "tempo_detection/tempo_detect_panel.h"

#include "detection/display_text.h"
#include "key/key_names.h"
#include "key/key_text.h"
#include "pitch/pitch_fields.h"
#include "state/calculator_state.h"
#include "tempo_detection/chroma_strip.h"
#include "tempo_detection/confidence_bar.h"
#include "tempo_detection/drop_zone.h"
#include "tempo_detection/tempo_detect_model.h"
#include "tempo_detection/waveform_grid.h"
#include "text/number_format.h"
#include "ui/color_scheme.h"
#include "ui/copyable_value.h"
#include "ui/fonts.h"
#include "ui/kit_button.h"
#include "ui/scheme_label.h"
#include "ui/theme.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace quorlen {
namespace {

const QString kEllipsis = QString(QChar(0x2026));

// The large tempo figure is as wide as its digits, so the unit follows it
// closely; "Copied" shrinks to that width rather than widening the figure.
class TempoFigure final : public CopyableText {
public:
    using CopyableText::CopyableText;

    QSize sizeHint() const override {
        return {fontMetrics().horizontalAdvance(display()) + 4, fontMetrics().height() + 4};
    }

protected:
    void paintLabel(QPainter& painter, bool copied) override {
        if (!copied) {
            CopyableText::paintLabel(painter, copied);
            return;
        }
        painter.setFont(fittedFont(font(), QStringLiteral("Copied"), width() - 2, 0.3));
        painter.setPen(QuorlenTheme::saffron());
        painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Copied"));
    }
};

} // namespace

TempoDetectPanel::TempoDetectPanel(CalculatorState& state, TempoDetectModel& model, QWidget* parent)
    : PremiumPanel(QStringLiteral("Detect BPM from Audio"), QStringLiteral("waveform"),
                   QuorlenTheme::dusk(), parent),
      m_state(state), m_model(model) {
    setObjectName(QStringLiteral("tempoDetectPanel"));
    const QColor accent = QuorlenTheme::dusk();
    m_dropZone = new DropZone(accent, this);
    addContent(m_dropZone);

    m_results = new QWidget(this);
    m_results->setObjectName(QStringLiteral("detectionResults"));
    auto* column = new QVBoxLayout(m_results);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    auto* header = new QHBoxLayout;
    header->addLayout(makeTempoColumn(), 1);
    header->addLayout(makeConfidenceColumn());
    column->addLayout(header);
    m_keyRow = makeKeyRow(accent);
    column->addWidget(m_keyRow);
    m_grid = new WaveformGrid(accent, m_results);
    column->addWidget(m_grid);
    column->addLayout(makeButtonRow(accent));
    m_alternatives = new QWidget(m_results);
    m_alternatives->setObjectName(QStringLiteral("alternatives"));
    auto* alternatives = new QHBoxLayout(m_alternatives);
    alternatives->setContentsMargins(0, 0, 0, 0);
    alternatives->setSpacing(6);
    alternatives->addWidget(new SchemeLabel(QStringLiteral("Also plausible"), uiFont(11),
                                            SchemeLabel::Role::Secondary, m_alternatives));
    alternatives->addStretch();
    column->addWidget(m_alternatives);
    // One line: a note longer than the panel ends in "…" and reads whole in
    // its tooltip.
    m_note = new SchemeLabel({}, uiFont(11), SchemeLabel::Role::Secondary, m_results);
    m_note->setObjectName(QStringLiteral("detectionNote"));
    m_note->setFit(SchemeLabel::Fit::Elide);
    column->addWidget(m_note);
    addContent(m_results);

    m_ticker.setInterval(kTickerMs);
    connectControls();
    refresh();
    refreshPlayhead();
}

QLayout* TempoDetectPanel::makeTempoColumn() {
    auto* column = new QVBoxLayout;
    column->setSpacing(0);
    column->addWidget(new SchemeLabel(QStringLiteral("Detected tempo"), uiFont(11),
                                      SchemeLabel::Role::Secondary, m_results));
    auto* row = new QHBoxLayout;
    row->setSpacing(6);
    m_tempo = new TempoFigure(m_results);
    m_tempo->setObjectName(QStringLiteral("detectedTempo"));
    m_tempo->setFont(uiFont(30, QFont::Bold));
    row->addWidget(m_tempo, 0, Qt::AlignBottom);
    // The unit sits on the figure's baseline: the figure's box ends its
    // descent (and the 2 px padding of copyable text) below it.
    auto* unit = new SchemeLabel(QStringLiteral("BPM"), uiFont(12, QFont::DemiBold),
                                 SchemeLabel::Role::Secondary, m_results);
    unit->setContentsMargins(0, 0, 0,
                             m_tempo->fontMetrics().descent() + 2 - unit->fontMetrics().descent());
    unit->setFixedHeight(unit->sizeHint().height() + unit->contentsMargins().bottom());
    unit->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    row->addWidget(unit, 0, Qt::AlignBottom);
    row->addStretch();
    column->addLayout(row);
    return column;
}

QLayout* TempoDetectPanel::makeConfidenceColumn() {
    auto* column = new QVBoxLayout;
    column->setSpacing(6);
    auto* caption = new SchemeLabel(QStringLiteral("Confidence"), uiFont(11),
                                    SchemeLabel::Role::Secondary, m_results);
    caption->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    column->addWidget(caption, 0, Qt::AlignRight);
    m_confidenceBar = new ConfidenceBar(m_results);
    m_confidenceBar->setObjectName(QStringLiteral("confidenceBar"));
    column->addWidget(m_confidenceBar, 0, Qt::AlignRight);
    m_confidence = new CopyableText(m_results);
    m_confidence->setObjectName(QStringLiteral("confidenceLabel"));
    m_confidence->setFont(uiFont(12, QFont::DemiBold));
    m_confidence->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    column->addWidget(m_confidence, 0, Qt::AlignRight);
    return column;
}

// Under the tempo: the key with its Camelot code and confidence, the
// tuning, the chroma strip, and the two buttons that hand them on.
QWidget* TempoDetectPanel::makeKeyRow(const QColor& accent) {
    auto* row = new QWidget(m_results);
    row->setObjectName(QStringLiteral("detectedKeyRow"));
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(18);
    const auto value = [&](const char* name, const QFont& font) {
        auto* created = new CopyableText(row);
        created->setObjectName(QString::fromLatin1(name));
        created->setFont(font);
        return created;
    };
    const auto captioned = [&](const QString& caption, std::initializer_list<QWidget*> values) {
        auto* column = new QWidget(row);
        auto* stack = new QVBoxLayout(column);
        stack->setContentsMargins(0, 0, 0, 0);
        stack->setSpacing(2);
        stack->addWidget(
            new SchemeLabel(caption, uiFont(11), SchemeLabel::Role::Secondary, column));
        auto* line = new QHBoxLayout;
        line->setSpacing(8);
        for (QWidget* v : values) {
            v->setParent(column);
            line->addWidget(v, 0, Qt::AlignBottom);
        }
        line->addStretch();
        stack->addLayout(line);
        return column;
    };
    m_keyName = value("detectedKey", uiFont(20, QFont::Bold));
    m_camelot = value("detectedCamelot", uiFont(12, QFont::DemiBold));
    m_keyConfidence = value("detectedKeyConfidence", uiFont(12, QFont::DemiBold));
    m_noKey = new SchemeLabel(QString::fromLatin1(key::kNoKeyText), uiFont(12),
                              SchemeLabel::Role::Secondary, row);
    m_noKey->setObjectName(QStringLiteral("noKeyNote"));
    // Key over tuning, so that the row fits beside the strip and the
    // buttons in the narrowest window.
    auto* figures = new QVBoxLayout;
    figures->setSpacing(6);
    figures->addWidget(captioned(QStringLiteral("Detected key"),
                                 {m_keyName, m_camelot, m_keyConfidence, m_noKey}));
    m_tuningCents = value("detectedTuning", uiFont(12, QFont::DemiBold));
    m_a4 = value("detectedA4", uiFont(12, QFont::DemiBold));
    m_tuning = captioned(QStringLiteral("Tuning"), {m_tuningCents, m_a4});
    figures->addWidget(m_tuning);
    figures->addStretch();
    layout->addLayout(figures);
    layout->addStretch();
    m_chroma = new ChromaStrip(accent, row);
    m_chroma->setObjectName(QStringLiteral("chromaStrip"));
    layout->addWidget(m_chroma, 0, Qt::AlignVCenter);
    auto* buttons = new QVBoxLayout;
    buttons->addStretch();
    buttons->setSpacing(6);
    m_useKey =
        new KitButton(QStringLiteral("Use this key"), QStringLiteral("smallcircle.filled.circle"),
                      KitButton::Style::Bordered, accent, row);
    m_useKey->setObjectName(QStringLiteral("useKeyButton"));
    m_useKey->setToolTip(QStringLiteral("Select this key on the circle of fifths"));
    m_useA4 = new KitButton(QStringLiteral("Use this A4"), QStringLiteral("tuningfork"),
                            KitButton::Style::Bordered, accent, row);
    m_useA4->setObjectName(QStringLiteral("useA4Button"));
    m_useA4->setToolTip(QStringLiteral("Set the pitch tools' A4 to the file's tuning"));
    buttons->addWidget(m_useKey);
    buttons->addWidget(m_useA4);
    buttons->addStretch();
    layout->addLayout(buttons);
    return row;
}

QLayout* TempoDetectPanel::makeButtonRow(const QColor& accent) {
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    auto button = [&](const char* name, const QString& label, const QString& symbol,
                      KitButton::Style style) {
        auto* created = new KitButton(label, symbol, style, accent, m_results);
        created->setObjectName(QString::fromLatin1(name));
        return created;
    };
    m_halve = button("halveButton", {}, {}, KitButton::Style::Bordered);
    m_double = button("doubleButton", {}, {}, KitButton::Style::Bordered);
    m_preview = button("previewButton", QStringLiteral("Preview"), QStringLiteral("play.fill"),
                       KitButton::Style::Bordered);
    m_click = button("clickButton", QStringLiteral("Click"), QStringLiteral("metronome"),
                     KitButton::Style::Bordered);
    m_click->setCheckable(true);
    m_click->setToolTip(QStringLiteral("Play a click on the grid's beats over the preview"));
    m_click->setAccessibleDescription(
        QStringLiteral("A click on every beat of the grid shown, accented on the first beat of "
                       "each bar, over the preview"));
    m_useBpm = button("useBpmButton", QStringLiteral("Use this BPM"),
                      QStringLiteral("checkmark.circle"), KitButton::Style::Prominent);
    m_saveTags =
        button("saveTagsButton", QStringLiteral("Save to file"), {}, KitButton::Style::Bordered);
    m_saveTags->setToolTip(QStringLiteral("Write the tempo into the file's tags"));
    row->addWidget(m_halve);
    row->addWidget(m_double);
    row->addWidget(m_preview);
    row->addWidget(m_click);
    row->addStretch();
    row->addWidget(m_saveTags);
    row->addWidget(m_useBpm);
    return row;
}

void TempoDetectPanel::connectControls() {
    connect(&m_ticker, &QTimer::timeout, &m_model, &TempoDetectModel::tickPlayhead);
    connect(m_dropZone, &DropZone::clicked, this, [this] { m_model.chooseFile(this); });
    connect(m_dropZone, &DropZone::fileDropped, this, &TempoDetectPanel::analyse);
    connect(m_grid, &WaveformGrid::previewRequested, this,
            [this](double seconds) { m_model.startPreview(seconds); });
    connect(m_halve, &QAbstractButton::clicked, this, [this] { m_model.rescale(0.5); });
    connect(m_double, &QAbstractButton::clicked, this, [this] { m_model.rescale(2); });
    connect(m_preview, &QAbstractButton::clicked, this, [this] {
        if (m_model.playhead())
            m_model.stopPreview();
        else
            m_model.startPreview();
    });
    connect(m_click, &QAbstractButton::toggled, this,
            [this](bool on) { m_model.player().setClickOn(on); });
    connect(m_useBpm, &QAbstractButton::clicked, this, &TempoDetectPanel::useDetectedBpm);
    connect(m_useKey, &QAbstractButton::clicked, this, &TempoDetectPanel::useDetectedKey);
    connect(m_useA4, &QAbstractButton::clicked, this, &TempoDetectPanel::useDetectedA4);
    connect(m_saveTags, &QAbstractButton::clicked, this, &TempoDetectPanel::saveTags);
    connect(&m_model, &TempoDetectModel::changed, this, &TempoDetectPanel::refresh);
    connect(&m_model, &TempoDetectModel::playheadChanged, this, &TempoDetectPanel::refreshPlayhead);
}

TempoDetectPanel::~TempoDetectPanel() { m_ticker.stop(); }

void TempoDetectPanel::analyse(const QString& path) { m_model.analyse(path); }

void TempoDetectPanel::showEvent(QShowEvent* event) {
    PremiumPanel::showEvent(event);
    if (m_model.result())
        m_model.player().prepare();
}

void TempoDetectPanel::leave() { m_model.stopPreview(); }

QString TempoDetectPanel::tagNote(const tags::TagOutcome& outcome) {
    const auto text = [](const std::string& s) { return QString::fromStdString(s); };
    switch (outcome.result) {
    case tags::TagResult::written:
        return QStringLiteral("saved ") + text(outcome.writtenBpm) +
               QStringLiteral(" BPM to the file") +
               (outcome.taggedBpm ? QStringLiteral(", replacing ") + text(*outcome.taggedBpm)
                                  : QString());
    case tags::TagResult::kept:
        return QStringLiteral("the file already says ") + text(outcome.taggedBpm.value_or("")) +
               QStringLiteral(" BPM; \"Replace tag\" overwrites it");
    case tags::TagResult::failed:
        return QStringLiteral("could not write tags: ") + text(outcome.reason);
    }
    return {};
}

QString TempoDetectPanel::heading(const TempoDetectModel& model) {
    if (model.isAnalysing())
        return model.status().value_or(QStringLiteral("Analysing") + kEllipsis);
    if (model.failed())
        return QStringLiteral("Could not analyse that file");
    if (model.result())
        return QStringLiteral("Drop another file");
    return QStringLiteral("Drop an audio file here");
}

// One button per tempo other than the shown one: the alternatives, and the
// candidates of an octave mode; a click makes it the shown tempo.
void TempoDetectPanel::refreshAlternatives(const TempoDetectModel::Detection& d) {
    std::vector<double> tempos;
    auto add = [&](double bpm) {
        const auto same = [bpm](double other) { return std::abs(other - bpm) < 0.005; };
        if (!same(d.bpm) && std::none_of(tempos.begin(), tempos.end(), same))
            tempos.push_back(bpm);
    };
    for (const double bpm : d.estimate.alternatives)
        add(bpm);
    for (const detection::RankedTempo& candidate : d.estimate.candidates)
        add(candidate.bpm);
    if (tempos == m_alternativeTempos)
        return;
    m_alternativeTempos = tempos;
    for (KitButton* old : m_alternatives->findChildren<KitButton*>())
        delete old;
    auto* row = static_cast<QHBoxLayout*>(m_alternatives->layout());
    int at = 1; // after the caption
    for (const double bpm : tempos) {
        const QString text = QString::fromStdString(detection::tempoText(bpm, true));
        auto* button = new KitButton(text + QStringLiteral(" BPM"), {}, KitButton::Style::Bordered,
                                     QuorlenTheme::dusk(), m_alternatives);
        button->setObjectName(QStringLiteral("alternativeButton"));
        button->setAccessibleName(QStringLiteral("Show ") + text + QStringLiteral(" BPM"));
        button->setToolTip(QStringLiteral("Show this tempo and its grid"));
        button->setEnabled(bpm >= tempo::kControlBpmRange.min &&
                           bpm <= tempo::kControlBpmRange.max);
        connect(button, &QAbstractButton::clicked, this, [this, bpm] { m_model.showTempo(bpm); });
        row->insertWidget(at++, button);
    }
    m_alternatives->setVisible(!tempos.empty());
}

void TempoDetectPanel::refresh() {
    const auto& result = m_model.result();
    m_dropZone->setTexts(
        heading(m_model),
        m_model.status().value_or(QStringLiteral("WAV, AIFF, MP3, CAF · analysed on your device, "
                                                 "nothing is uploaded")),
        !result && !m_model.isAnalysing());
    m_results->setVisible(result.has_value());
    if (!result)
        return;
    const TempoDetectModel::Detection& d = *result;
    const QString tempo = QString::fromStdString(detection::tempoText(d.bpm, false));
    m_tempo->setValue(tempo);
    const double confidence = d.estimate.confidence;
    m_confidenceBar->setValue(confidence);
    m_confidence->setValue(
        QString::fromStdString(detection::confidenceLabel(confidence)),
        QString::fromStdString(text::format("%.0f", text::roundHalfAway(confidence * 100))));
    m_grid->setDetection(d);
    // The click follows the grid shown, whichever tempo that is.
    m_model.player().setClickGrid(d.bpm, d.beatOffsetSeconds, d.estimate.downbeat);
    // A result on screen is about to be listened to.
    if (isVisible() && !m_model.playhead())
        m_model.player().prepare();
    m_halve->setLabel(QStringLiteral("÷2 → ") +
                          QString::fromStdString(detection::tempoText(d.bpm * 0.5, true)),
                      {});
    m_halve->setEnabled(d.bpm * 0.5 >= tempo::kControlBpmRange.min);
    m_double->setLabel(QStringLiteral("×2 → ") +
                           QString::fromStdString(detection::tempoText(d.bpm * 2, true)),
                       {});
    m_double->setEnabled(d.bpm * 2 <= tempo::kControlBpmRange.max);
    const auto& saved = m_model.tagOutcome();
    const bool kept = saved && saved->result == tags::TagResult::kept;
    m_saveTags->setLabel(m_model.isSavingTags() ? QStringLiteral("Saving") + kEllipsis
                         : kept                 ? QStringLiteral("Replace tag")
                                                : QStringLiteral("Save to file"),
                         {});
    m_saveTags->setEnabled(!m_model.isSavingTags());
    // The alternatives are buttons of their own below.
    const QString note = QString::fromStdString(
        detection::detectionNote({d.name.toStdString(),
                                  d.estimate.durationSeconds,
                                  d.snappedBars,
                                  confidence,
                                  {},
                                  d.damaged,
                                  saved ? tagNote(*saved).toStdString() : ""}));
    refreshAlternatives(d);
    m_note->setText(note);
    m_note->setToolTip(note);
    m_note->setAccessibleName(note);
    m_tempo->setAccessibleName(QStringLiteral("Detected tempo ") + tempo + QStringLiteral(" BPM"));
    m_confidence->setAccessibleName(QStringLiteral("Confidence ") + m_confidence->display());
    refreshKey(d);
}

void TempoDetectPanel::refreshKey(const TempoDetectModel::Detection& d) {
    m_keyRow->setVisible(d.key.has_value());
    if (!d.key)
        return;
    const key::KeyEstimate& estimate = *d.key;
    const bool found = estimate.key.has_value();
    for (QWidget* shown :
         std::initializer_list<QWidget*>{m_camelot, m_keyConfidence, m_tuning, m_chroma})
        shown->setVisible(found);
    m_noKey->setVisible(!found);
    m_useKey->setEnabled(found);
    m_useA4->setEnabled(found);
    if (!found) {
        m_keyName->setValue(QStringLiteral("None"));
        m_keyName->setAccessibleName(QStringLiteral("Detected key: none, ") +
                                     QString::fromLatin1(key::kNoKeyText));
        return;
    }
    const harmony::KeySelection& k = *estimate.key;
    const QString name = QString::fromUtf8(k.shortName().data(), qsizetype(k.shortName().size()));
    m_keyName->setValue(name, QString::fromStdString(key::asciiKeyName(k)));
    m_keyName->setAccessibleName(QStringLiteral("Detected key ") +
                                 QString::fromStdString(k.longName()));
    const QString camelot = QString::fromStdString(key::camelotCode(k));
    m_camelot->setValue(camelot);
    m_camelot->setAccessibleName(QStringLiteral("Camelot code ") + camelot);
    const QString percent = QString::fromStdString(key::percentText(estimate.confidence));
    m_keyConfidence->setValue(percent, percent.chopped(1));
    m_keyConfidence->setAccessibleName(QStringLiteral("Key confidence ") + percent);
    const double cents = estimate.tuningCents.value_or(0.0);
    const QString centsText = QString::fromStdString(key::centsText(cents));
    m_tuningCents->setValue(centsText + QStringLiteral(" cents"), centsText);
    m_tuningCents->setAccessibleName(QStringLiteral("Tuning ") + centsText +
                                     QStringLiteral(" cents"));
    const QString a4 = QString::fromStdString(key::a4Text(cents));
    m_a4->setValue(QStringLiteral("A4 ") + a4 + QStringLiteral(" Hz"), a4);
    m_a4->setAccessibleName(QStringLiteral("A4 ") + a4 + QStringLiteral(" hertz"));
    m_chroma->setEvidence(estimate.chroma, estimate.profile, k.tonicPitchClass());
    m_chroma->setAccessibleName(
        QStringLiteral("Pitch classes of the file against the profile of ") +
        QString::fromStdString(k.longName()));
}

void TempoDetectPanel::refreshPlayhead() {
    const std::optional<double> playhead = m_model.playhead();
    m_grid->setPlayhead(playhead);
    if (playhead) {
        m_preview->setLabel(QStringLiteral("Stop"), QStringLiteral("stop.fill"));
        if (!m_ticker.isActive())
            m_ticker.start();
    } else {
        m_preview->setLabel(QStringLiteral("Preview"), QStringLiteral("play.fill"));
        m_ticker.stop();
    }
}

void TempoDetectPanel::saveTags() {
    // After a kept tag the button reads "Replace tag": the second click
    // overwrites.
    const auto& saved = m_model.tagOutcome();
    m_model.saveTags(saved && saved->result == tags::TagResult::kept);
}

void TempoDetectPanel::useDetectedBpm() {
    const auto& result = m_model.result();
    if (!result)
        return;
    const double rounded = text::roundHalfAway(result->bpm * 100) / 100;
    m_state.setBpm(std::clamp(rounded, tempo::kControlBpmRange.min, tempo::kControlBpmRange.max));
}

void TempoDetectPanel::useDetectedKey() {
    const auto& result = m_model.result();
    if (!result || !result->key || !result->key->key)
        return;
    emit keyChosen(result->key->key->index, result->key->key->isMinor);
}

// As shown (two decimals) and clamped like the A4 field; the field's text
// follows, as after any change that is not typed.
void TempoDetectPanel::useDetectedA4() {
    const auto& result = m_model.result();
    if (!result || !result->key || !result->key->tuningCents)
        return;
    const double a4 = std::clamp(key::shownA4(*result->key->tuningCents), pitch::kA4Range.min,
                                 pitch::kA4Range.max);
    m_state.setA4(a4);
    m_state.setA4Text(QString::fromStdString(pitch::a4FieldText(a4)));
}

} // namespace quorlen
