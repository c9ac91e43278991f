#include "tools/note_frequencies/frequency_matrix.h"

#include "pitch/note_names.h"
#include "text/number_format.h"
#include "tools/common/formatted.h"
#include "tools/note_frequencies/frequency_cell.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"

#include <QGridLayout>
#include <QPainter>

namespace quorlen {
namespace {
constexpr int kPaddingX = 10;
constexpr int kReferencePitchClass = 9; // A
constexpr int kReferenceOctave = 4;
constexpr int kDividerGap = 6;

bool isSharp(size_t pitchClass) {
    return pitch::NoteFrequency::names[pitchClass].find('#') != std::string_view::npos;
}
} // namespace

FrequencyMatrix::FrequencyMatrix(const QColor& accent, QWidget* parent)
    : QWidget(parent), m_accent(accent) {
    setObjectName(QStringLiteral("frequencyMatrix"));
    setFont(uiFont(13, QFont::DemiBold));
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(kPaddingX, headerHeight() + kDividerGap, kPaddingX, 0);
    grid->setHorizontalSpacing(0);
    grid->setVerticalSpacing(0);
    grid->setColumnMinimumWidth(0, kNoteColumnWidth);
    for (int pitchClass = 0; pitchClass < 12; ++pitchClass) {
        grid->setRowMinimumHeight(pitchClass, kRowHeight);
        for (int octave : pitch::NoteFrequency::octaves) {
            const bool reference = pitchClass == kReferencePitchClass && octave == kReferenceOctave;
            auto* cell = new FrequencyCell(reference, accent, this);
            cell->setObjectName(
                QStringLiteral("cell_%1%2")
                    .arg(QLatin1String(pitch::NoteFrequency::names[pitchClass].data(),
                                       pitch::NoteFrequency::names[pitchClass].size()))
                    .arg(octave));
            grid->addWidget(cell, pitchClass, octave + 1);
            grid->setColumnStretch(octave + 1, 1);
            m_cells.append(cell);
        }
    }
    setMinimumHeight(headerHeight() + kDividerGap + 12 * kRowHeight);
}

void FrequencyMatrix::setA4(double a4Hz) {
    for (int pitchClass = 0; pitchClass < 12; ++pitchClass) {
        for (int octave : pitch::NoteFrequency::octaves) {
            const double hz = pitch::noteFrequencyHz(pitch::midiNote(pitchClass, octave), a4Hz);
            cell(pitchClass, octave)->setValueText(formatted("%.1f", hz));
        }
    }
}

FrequencyCell* FrequencyMatrix::cell(int pitchClass, int octave) const {
    return m_cells.value(pitchClass * static_cast<int>(pitch::NoteFrequency::octaves.size()) +
                         octave);
}

int FrequencyMatrix::headerHeight() const { return fontMetrics().height() + 4; }

QRect FrequencyMatrix::rowRect(int pitchClass) const {
    const QWidget* first = cell(pitchClass, 0);
    return QRect(0, first->y(), width(), first->height());
}

void FrequencyMatrix::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const SchemeColors colors = currentColors();
    const int cellWidth = cell(0, 0)->width();
    const int firstCellX = cell(0, 0)->x();

    // Header: "Note", then the octave numbers over their columns.
    painter.setFont(font());
    painter.setPen(colors.secondaryText);
    painter.drawText(QRect(kPaddingX, 0, kNoteColumnWidth, headerHeight()),
                     Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Note"));
    for (int octave : pitch::NoteFrequency::octaves) {
        painter.setPen(octave == kReferenceOctave ? textInk(m_accent, currentScheme())
                                                  : colors.secondaryText);
        painter.drawText(QRect(firstCellX + octave * cellWidth, 0, cellWidth - 6, headerHeight()),
                         Qt::AlignRight | Qt::AlignVCenter, QString::number(octave));
    }
    painter.fillRect(QRectF(0, headerHeight() + kDividerGap / 2.0 - 0.5, width(), 1),
                     colors.border);

    const QFont nameFont = uiFont(13, QFont::Bold);
    for (int pitchClass = 0; pitchClass < 12; ++pitchClass) {
        const QRect row = rowRect(pitchClass);
        if (pitchClass % 2 == 1)
            painter.fillRect(row, withOpacity(colors.primaryText, 0.028));
        const bool sharp = isSharp(static_cast<size_t>(pitchClass));
        painter.setPen(Qt::NoPen);
        painter.setBrush(sharp ? withOpacity(colors.secondaryText, 0.35)
                               : withOpacity(m_accent, 0.85));
        painter.drawRoundedRect(QRectF(kPaddingX, row.center().y() - 9, 4, 18), 2, 2);
        painter.setFont(nameFont);
        painter.setPen(sharp ? colors.secondaryText : colors.primaryText);
        const auto name = pitch::NoteFrequency::names[static_cast<size_t>(pitchClass)];
        painter.drawText(QRect(kPaddingX + 10, row.top(), kNoteColumnWidth - 10, row.height()),
                         Qt::AlignLeft | Qt::AlignVCenter,
                         QString::fromLatin1(name.data(), static_cast<int>(name.size())));
    }
}

} // namespace quorlen
