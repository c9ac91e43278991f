#pragma once

#include <QDialog>

class QCheckBox;
class QComboBox;

namespace quorlen {

class AppearanceController;

// Preferences: the usage-statistics opt-out and the appearance choice, both
// stored the moment they change.
class SettingsDialog : public QDialog {
    Q_OBJECT
public:
    explicit SettingsDialog(AppearanceController& appearance, QWidget* parent = nullptr);

    QCheckBox* statsToggle() const { return m_stats; }
    QComboBox* appearancePicker() const { return m_appearancePicker; }

    static QString statsExplanation();

private:
    void outlineCheckBox();

    QCheckBox* m_stats;
    QComboBox* m_appearancePicker;
};

} // namespace quorlen
