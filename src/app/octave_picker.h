#pragma once

#include "detection/octave_mode.h"

#include <QWidget>

class QComboBox;
class QSpinBox;

namespace quorlen {

// The "Tempo detection" choice: "As analysed", "Automatic octave" or
// "Preferred range" with its bounds in BPM. The upper bound never falls
// below twice the lower one, so every tempo folds into the range.
class OctavePicker : public QWidget {
    Q_OBJECT
public:
    explicit OctavePicker(const detection::OctaveMode& mode, QWidget* parent = nullptr);

    detection::OctaveMode mode() const;

    QComboBox* choice() const { return m_choice; }
    QSpinBox* lowBound() const { return m_low; }
    QSpinBox* highBound() const { return m_high; }

signals:
    void modeChanged(const quorlen::detection::OctaveMode& mode);

private:
    void changed();

    QComboBox* m_choice;
    QSpinBox* m_low;
    QSpinBox* m_high;
};

} // namespace quorlen
