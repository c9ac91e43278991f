#include "tools/tempo/subdivision_matrix.h"

#include "state/calculator_state.h"
#include "tempo/tempo_field.h"
#include "ui/color_scheme.h"
#include "ui/column_header.h"
#include "ui/copyable_value.h"
#include "ui/fonts.h"
#include "ui/hairline.h"

#include <QPainter>
#include <QVBoxLayout>

namespace quorlen {
namespace {

// Columns: the note takes a fixed width, the four values share the rest.
constexpr int kNoteColumnWidth = 96;
constexpr int kRowHeight = 30;
constexpr int kRowPaddingX = 10;

QFont valueFont() { return monoFont(13, QFont::Medium); }

// A row's background: the whole-note row is tinted teal so the bar stands
// out, the others are striped for reading across.
QColor rowBackground(const tempo::NoteDivision& division, int index) {
    if (division == tempo::NoteDivision{1, 1})
        return withOpacity(QuorlenTheme::teal(), 0.07);
    if (index % 2 == 1)
        return withOpacity(currentColors().primaryText, 0.028);
    return {};
}

// The marker before the name: teal for the bar, the accent for the beat.
QColor noteBarColor(const tempo::NoteDivision& division, const QColor& accent) {
    if (division == tempo::NoteDivision{1, 1})
        return QuorlenTheme::teal();
    if (division == tempo::NoteDivision{1, 4})
        return accent;
    return withOpacity(currentColors().secondaryText, 0.35);
}

// The four value columns share the width after the note column equally,
// in the header and in every row alike, so the columns line up.
QRect valueColumn(int index, const QRect& row) {
    const int left = row.left() + kRowPaddingX + kNoteColumnWidth;
    const int span = row.right() - kRowPaddingX - left;
    const int from = left + span * index / 4;
    const int to = left + span * (index + 1) / 4;
    return QRect(from, row.top(), to - from, row.height());
}

CopyableText* valueCell(CopyableText::Tone tone, const QColor& accent, QWidget* parent) {
    return new CopyableText(valueFont(), tone, accent, parent);
}

} // namespace

MatrixRow::MatrixRow(tempo::NoteDivision division, int index, const QColor& accent, QWidget* parent)
    : QWidget(parent), m_division(division), m_index(index), m_accent(accent),
      m_id(QString::fromStdString(division.id())) {
    setObjectName(QStringLiteral("matrixRow ") + m_id);
    setFixedHeight(kRowHeight);
    m_straight = valueCell(CopyableText::Tone::Primary, accent, this);
    m_dotted = valueCell(CopyableText::Tone::Primary, accent, this);
    m_triplet = valueCell(CopyableText::Tone::Primary, accent, this);
    m_hz = valueCell(CopyableText::Tone::Muted, accent, this);
}

void MatrixRow::resizeEvent(QResizeEvent*) {
    CopyableText* const cells[] = {m_straight, m_dotted, m_triplet, m_hz};
    for (int i = 0; i < 4; ++i)
        cells[i]->setGeometry(valueColumn(i, rect()));
}

void MatrixRow::setLengths(const tempo::NoteLengths& lengths) {
    // Cells copy the bare number with the decimals shown.
    auto showMs = [](CopyableText* cell, double ms) {
        const QString number = QString::fromStdString(tempo::msText(ms));
        cell->setValue(number + QStringLiteral(" ms"), number);
    };
    showMs(m_straight, lengths.straightMs);
    showMs(m_dotted, lengths.dottedMs);
    showMs(m_triplet, lengths.tripletMs);
    const QString hz = QString::fromStdString(tempo::hzText(lengths.hz));
    m_hz->setValue(hz, hz);
}

void MatrixRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (const QColor background = rowBackground(m_division, m_index); background.isValid()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(background);
        painter.drawRoundedRect(rect(), 5, 5);
    }
    const QRectF bar(kRowPaddingX, (height() - 18) / 2.0, 4, 18);
    painter.setPen(Qt::NoPen);
    painter.setBrush(noteBarColor(m_division, m_accent));
    painter.drawRoundedRect(bar, 2, 2);

    painter.setFont(monoFont(13, QFont::Bold));
    painter.setPen(currentColors().primaryText);
    painter.drawText(QRectF(bar.right() + 10, 0, kNoteColumnWidth, height()),
                     Qt::AlignLeft | Qt::AlignVCenter, m_id);
}

SubdivisionMatrix::SubdivisionMatrix(CalculatorState& state,
                                     std::span<const tempo::NoteDivision> divisions,
                                     const QColor& accent, QWidget* parent)
    : QWidget(parent), m_state(state) {
    setObjectName(QStringLiteral("subdivisionMatrix"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    // The note name, then the value columns the rows use.
    column->addWidget(new ColumnHeader(
        {{QStringLiteral("Note"), Qt::AlignLeft},
         {QStringLiteral("Straight"), Qt::AlignRight},
         {QStringLiteral("Dotted"), Qt::AlignRight},
         {QStringLiteral("Triplet"), Qt::AlignRight},
         {QStringLiteral("Hz"), Qt::AlignRight}},
        [](int index, const QRect& bounds) {
            return index == 0 ? bounds.adjusted(kRowPaddingX, 0, 0, 0)
                              : valueColumn(index - 1, bounds);
        },
        this));
    column->addSpacing(6);
    column->addWidget(new Hairline(this));
    column->addSpacing(4);
    for (size_t i = 0; i < divisions.size(); ++i) {
        auto* row = new MatrixRow(divisions[i], static_cast<int>(i), accent, this);
        column->addWidget(row);
        m_rows.append(row);
    }
    connect(&state, &CalculatorState::bpmChanged, this, &SubdivisionMatrix::refresh);
    refresh();
}

MatrixRow* SubdivisionMatrix::row(const QString& id) const {
    for (MatrixRow* row : m_rows) {
        if (QString::fromStdString(row->division().id()) == id)
            return row;
    }
    return nullptr;
}

void SubdivisionMatrix::refresh() {
    for (MatrixRow* row : m_rows)
        row->setLengths(tempo::noteLengths(m_state.bpm(), row->division()));
}

} // namespace quorlen
