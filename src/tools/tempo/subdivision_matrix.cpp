#include "tools/tempo/subdivision_matrix.h"

#include "state/calculator_state.h"
#include "tempo/tempo_field.h"
#include "ui/color_scheme.h"
#include "ui/column_header.h"
#include "ui/copyable_value.h"
#include "ui/fonts.h"
#include "ui/hairline.h"

#include <QKeyEvent>
#include <QPainter>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

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

CopyableText* MatrixRow::cell(int column) const {
    CopyableText* const cells[] = {m_straight, m_dotted, m_triplet, m_hz};
    return column >= 0 && column < kColumns ? cells[column] : nullptr;
}

void MatrixRow::resizeEvent(QResizeEvent*) {
    CopyableText* const cells[] = {m_straight, m_dotted, m_triplet, m_hz};
    for (int i = 0; i < 4; ++i)
        cells[i]->setGeometry(valueColumn(i, rect()));
}

void MatrixRow::setLengths(const tempo::NoteLengths& lengths) {
    // Cells copy the bare number with the decimals shown; a reader hears
    // the row and the column before the value, as a sighted user sees them.
    const QString note = QString::fromStdString(m_division.spokenName());
    auto showMs = [&note](CopyableText* cell, const char* column, double ms) {
        const QString number = QString::fromStdString(tempo::msText(ms));
        cell->setValue(number + QStringLiteral(" ms"), number);
        cell->setAccessibleName(note + QStringLiteral(", ") + QLatin1String(column) +
                                QStringLiteral(": ") + number + QStringLiteral(" ms"));
    };
    showMs(m_straight, "straight", lengths.straightMs);
    showMs(m_dotted, "dotted", lengths.dottedMs);
    showMs(m_triplet, "triplet", lengths.tripletMs);
    const QString hz = QString::fromStdString(tempo::hzText(lengths.hz));
    m_hz->setValue(hz, hz);
    m_hz->setAccessibleName(note + QStringLiteral(", rate: ") + hz + QStringLiteral(" Hz"));
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
    for (MatrixRow* row : m_rows) {
        for (int c = 0; c < MatrixRow::kColumns; ++c) {
            CopyableText* cell = row->cell(c);
            cell->setFocusPolicy(Qt::NoFocus);
            cell->setAccessibleDescription(
                QStringLiteral("Arrow keys move through the table; Return copies"));
            cell->installEventFilter(this);
        }
    }
    if (!m_rows.isEmpty())
        currentCell()->setFocusPolicy(Qt::TabFocus);
    connect(&state, &CalculatorState::bpmChanged, this, &SubdivisionMatrix::refresh);
    refresh();
}

CopyableText* SubdivisionMatrix::currentCell() const {
    return m_rows.isEmpty() ? nullptr : m_rows[m_currentRow]->cell(m_currentColumn);
}

bool SubdivisionMatrix::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress || watched != currentCell())
        return false;
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->modifiers() & ~Qt::KeypadModifier)
        return false;
    const int lastRow = static_cast<int>(m_rows.size()) - 1;
    switch (key->key()) {
    case Qt::Key_Up:
        moveTo(m_currentRow - 1, m_currentColumn);
        return true;
    case Qt::Key_Down:
        moveTo(m_currentRow + 1, m_currentColumn);
        return true;
    case Qt::Key_Left:
        moveTo(m_currentRow, m_currentColumn - 1);
        return true;
    case Qt::Key_Right:
        moveTo(m_currentRow, m_currentColumn + 1);
        return true;
    case Qt::Key_Home:
        moveTo(0, 0);
        return true;
    case Qt::Key_End:
        moveTo(lastRow, MatrixRow::kColumns - 1);
        return true;
    default:
        return false;
    }
}

// Only the current cell takes Tab, so the table is one stop however many
// cells it has; the arrows hand that stop on.
void SubdivisionMatrix::moveTo(int row, int column) {
    row = std::clamp(row, 0, static_cast<int>(m_rows.size()) - 1);
    column = std::clamp(column, 0, MatrixRow::kColumns - 1);
    if (row == m_currentRow && column == m_currentColumn)
        return;
    CopyableText* previous = currentCell();
    m_currentRow = row;
    m_currentColumn = column;
    CopyableText* next = currentCell();
    next->setFocusPolicy(Qt::TabFocus);
    next->setFocus(Qt::TabFocusReason);
    previous->setFocusPolicy(Qt::NoFocus);
    for (QWidget* w = parentWidget(); w; w = w->parentWidget()) {
        if (auto* area = qobject_cast<QScrollArea*>(w)) {
            area->ensureWidgetVisible(next);
            break;
        }
    }
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
