#pragma once

#include "pitch/tet_scale.h"

#include <QColor>
#include <QList>
#include <QWidget>

#include <optional>

class QVBoxLayout;

namespace quorlen {

class StepRow;

// The steps of an equal temperament, one clickable row each: a click on a
// value copies it, a click elsewhere in the row auditions the step.
class ScaleTable : public QWidget {
    Q_OBJECT
public:
    explicit ScaleTable(const QColor& accent, QWidget* parent = nullptr);

    // Rows are reused while the number of steps stays the same.
    void setSteps(const std::vector<pitch::TetStep>& steps);
    void setPlayingStep(std::optional<int> index);
    StepRow* row(int index) const { return m_rows.value(index); }
    int rowCount() const { return static_cast<int>(m_rows.size()); }

signals:
    void stepClicked(int index);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_accent;
    QVBoxLayout* m_column;
    QList<StepRow*> m_rows;
};

} // namespace quorlen
