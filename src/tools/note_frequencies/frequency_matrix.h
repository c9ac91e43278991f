#pragma once

#include <QColor>
#include <QList>
#include <QWidget>

namespace quorlen {

class FrequencyCell;

// Twelve note rows by nine octave columns of copyable frequencies, with A4
// highlighted as the reference.
class FrequencyMatrix : public QWidget {
    Q_OBJECT
public:
    static constexpr int kNoteColumnWidth = 46;
    static constexpr int kRowHeight = 30;

    FrequencyMatrix(const QColor& accent, QWidget* parent = nullptr);

    void setA4(double a4Hz);
    // Row `pitchClass` (0 = C), column `octave` (0 … 8).
    FrequencyCell* cell(int pitchClass, int octave) const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int headerHeight() const;
    QRect rowRect(int pitchClass) const;

    QColor m_accent;
    QList<FrequencyCell*> m_cells; // row-major
};

} // namespace quorlen
