#pragma once

#include "tempo/note_division.h"

#include <QList>
#include <QWidget>

#include <span>

namespace quorlen {

class CalculatorState;
class CopyableText;
class MatrixRow;

// The tempo table: a header row, a faint divider, then one row per note
// division with copyable straight, dotted and triplet lengths and the rate
// in Hz. It follows `bpm` on its own. The table is one Tab stop: Tab enters
// at the cell last visited, the arrows (and Home/End) move between cells.
class SubdivisionMatrix : public QWidget {
    Q_OBJECT
public:
    SubdivisionMatrix(CalculatorState& state, std::span<const tempo::NoteDivision> divisions,
                      const QColor& accent, QWidget* parent = nullptr);

    // The row of `id` ("1/4"), or null.
    MatrixRow* row(const QString& id) const;
    // The cell Tab enters the table at.
    CopyableText* currentCell() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void refresh();
    void moveTo(int row, int column);

    CalculatorState& m_state;
    QList<MatrixRow*> m_rows;
    int m_currentRow = 0;
    int m_currentColumn = 0;
};

// One division: the coloured bar and name, then four copy cells.
class MatrixRow : public QWidget {
    Q_OBJECT
public:
    MatrixRow(tempo::NoteDivision division, int index, const QColor& accent,
              QWidget* parent = nullptr);

    tempo::NoteDivision division() const { return m_division; }
    void setLengths(const tempo::NoteLengths& lengths);

    static constexpr int kColumns = 4;
    CopyableText* straightCell() const { return m_straight; }
    CopyableText* hzCell() const { return m_hz; }
    // Straight, dotted, triplet, Hz.
    CopyableText* cell(int column) const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    tempo::NoteDivision m_division;
    int m_index;
    QColor m_accent;
    QString m_id;
    CopyableText* m_straight;
    CopyableText* m_dotted;
    CopyableText* m_triplet;
    CopyableText* m_hz;
};

} // namespace quorlen
