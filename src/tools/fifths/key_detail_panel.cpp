#include "tools/fifths/key_detail_panel.h"

#include "tools/common/formatted.h"
#include "tools/fifths/chord_tile.h"
#include "tools/fifths/note_chip.h"
#include "ui/fonts.h"
#include "ui/hairline.h"
#include "ui/scheme_label.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace quorlen {
namespace {

SchemeLabel* sectionTitle(const QString& text, QWidget* parent) {
    return new SchemeLabel(text, uiFont(11, QFont::DemiBold), SchemeLabel::Role::Secondary, parent);
}

} // namespace

KeyDetailPanel::KeyDetailPanel(const QColor& accent, QWidget* parent)
    : PremiumPanel(QStringLiteral("Key Details"), QStringLiteral("music.note.list"), accent,
                   parent) {
    setObjectName(QStringLiteral("keyDetails"));
    setFixedWidth(kWidth);
    contentLayout()->setSpacing(10);

    m_longName = new SchemeLabel({}, uiFont(22, QFont::DemiBold), SchemeLabel::Role::Primary, this);
    addContent(m_longName);

    auto* signatureRow = new QHBoxLayout;
    signatureRow->setSpacing(10);
    m_signature = new SchemeLabel({}, monoFont(13, QFont::Bold), SchemeLabel::Role::Primary, this);
    m_signature->setColor(accent);
    m_signatureNotes =
        new SchemeLabel({}, monoFont(12, QFont::Medium), SchemeLabel::Role::Secondary, this);
    signatureRow->addWidget(m_signature);
    signatureRow->addWidget(m_signatureNotes, 1);
    contentLayout()->addLayout(signatureRow);
    addContent(new Hairline(this));

    addContent(sectionTitle(QStringLiteral("Scale"), this));
    auto* scaleRow = new QHBoxLayout;
    scaleRow->setSpacing(4);
    for (auto& chip : m_scale) {
        chip = new NoteChip(accent, this);
        scaleRow->addWidget(chip);
    }
    contentLayout()->addLayout(scaleRow);

    addContent(sectionTitle(QStringLiteral("Diatonic chords"), this));
    auto* grid = new QGridLayout;
    grid->setSpacing(5);
    for (int degree = 0; degree < 7; ++degree) {
        auto* tile = new ChordTile(ChordTile::kGridLook, accent, this);
        tile->setObjectName(QStringLiteral("chord-%1").arg(degree));
        tile->setToolTip(QStringLiteral("Play and add to progression · right-click to copy"));
        tile->setCopyMenuEnabled(true);
        tile->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        connect(tile, &QAbstractButton::clicked, this,
                [this, degree] { emit chordTapped(degree); });
        grid->addWidget(tile, degree / 4, degree % 4);
        m_chords[static_cast<size_t>(degree)] = tile;
    }
    for (int column = 0; column < 4; ++column)
        grid->setColumnStretch(column, 1);
    contentLayout()->addLayout(grid);
    addContent(new Hairline(this));

    const QString labels[] = {QStringLiteral("Relative"), QStringLiteral("Dominant"),
                              QStringLiteral("Subdominant")};
    for (size_t row = 0; row < m_related.size(); ++row) {
        auto* line = new QHBoxLayout;
        line->addWidget(
            new SchemeLabel(labels[row], uiFont(11), SchemeLabel::Role::Secondary, this));
        line->addStretch(1);
        m_related[row] =
            new SchemeLabel({}, monoFont(13, QFont::DemiBold), SchemeLabel::Role::Primary, this);
        line->addWidget(m_related[row]);
        contentLayout()->addLayout(line);
    }
}

void KeyDetailPanel::setSelection(harmony::KeySelection selection) {
    const int accidentals = selection.slot().accidentals;
    m_longName->setText(QString::fromStdString(selection.longName()));
    m_signature->setText(
        QString::fromStdString(harmony::CircleOfFifths::signatureText(accidentals)));
    QStringList notes;
    for (const std::string_view note : harmony::CircleOfFifths::signatureNotes(accidentals))
        notes << qs(note);
    m_signatureNotes->setText(notes.isEmpty() ? QStringLiteral("no accidentals")
                                              : notes.join(QStringLiteral("  ")));

    const auto scale = selection.scale();
    for (size_t i = 0; i < scale.size(); ++i)
        m_scale[i]->setNote(qs(scale[i]), i == 0);
    const auto chords = selection.chords();
    const auto numerals = selection.romanNumerals();
    for (size_t i = 0; i < chords.size(); ++i)
        m_chords[i]->setChord(QString::fromStdString(chords[i]), qs(numerals[i]));
    const harmony::KeySelection related[] = {selection.relative(), selection.dominant(),
                                             selection.subdominant()};
    for (size_t row = 0; row < m_related.size(); ++row)
        m_related[row]->setText(qs(related[row].shortName()));
}

QString KeyDetailPanel::longName() const { return m_longName->text(); }

QString KeyDetailPanel::signatureNotes() const { return m_signatureNotes->text(); }

} // namespace quorlen
