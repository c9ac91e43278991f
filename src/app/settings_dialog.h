#pragma once

#include <QDialog>

class QCheckBox;
class QComboBox;

namespace quorlen {

class AppearanceController;
class OctavePicker;
class OctaveSetting;

// Preferences: the usage-statistics opt-out, the appearance choice and how
// tempo detection picks the octave, all stored the moment they change.
class SettingsDialog : public QDialog {
    Q_OBJECT
public:
    SettingsDialog(AppearanceController& appearance, OctaveSetting& octave,
                   QWidget* parent = nullptr);

    QCheckBox* statsToggle() const { return m_stats; }
    QComboBox* appearancePicker() const { return m_appearancePicker; }
    OctavePicker* octavePicker() const { return m_octavePicker; }

    static QString statsExplanation();

private:
    void outlineCheckBox();

    QCheckBox* m_stats;
    QComboBox* m_appearancePicker;
    OctavePicker* m_octavePicker;
};

} // namespace quorlen
