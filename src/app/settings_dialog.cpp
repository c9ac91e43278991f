#include "app/settings_dialog.h"

#include "app/appearance.h"
#include "app/octave_picker.h"
#include "app/octave_setting.h"
#include "app/preferences.h"
#include "config/deployment.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace quorlen {

QString SettingsDialog::statsExplanation() {
    return QStringLiteral("Counts app launches and which tools get used — nothing else. No "
                          "cookies, no identifiers, no personal data. Collected by our own "
                          "server (%1), never shared with third parties.")
        .arg(QString::fromLatin1(config::kStatsHost));
}

SettingsDialog::SettingsDialog(AppearanceController& appearance, OctaveSetting& octave,
                               QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("settings"));
    setWindowTitle(QStringLiteral("Settings"));
    setMinimumWidth(420);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 18, 20, 14);
    column->setSpacing(8);

    // The toggle says "share"; the stored preference is the opt-out.
    m_stats = new QCheckBox(QStringLiteral("Share anonymous usage statistics"), this);
    m_stats->setObjectName(QStringLiteral("statsToggle"));
    m_stats->setChecked(!Preferences().statsOptOut());
    connect(m_stats, &QCheckBox::toggled, this,
            [](bool share) { Preferences().setStatsOptOut(!share); });
    column->addWidget(m_stats);
    outlineCheckBox();
    connect(&ColorSchemeHub::instance(), &ColorSchemeHub::schemeChanged, this,
            &SettingsDialog::outlineCheckBox);

    auto* explanation = new QLabel(statsExplanation(), this);
    explanation->setWordWrap(true);
    explanation->setFont(uiFont(12));
    explanation->setForegroundRole(QPalette::PlaceholderText);
    column->addWidget(explanation);
    column->addSpacing(12);

    auto* form = new QFormLayout;
    m_appearancePicker = new QComboBox(this);
    m_appearancePicker->setObjectName(QStringLiteral("appearancePicker"));
    m_appearancePicker->addItems(
        {QStringLiteral("System"), QStringLiteral("Light"), QStringLiteral("Dark")});
    m_appearancePicker->setCurrentIndex(static_cast<int>(appearance.choice()));
    connect(m_appearancePicker, &QComboBox::currentIndexChanged, this, [&appearance](int index) {
        appearance.setChoice(static_cast<AppearanceChoice>(index));
    });
    form->addRow(QStringLiteral("Appearance"), m_appearancePicker);
    m_octavePicker = new OctavePicker(octave.mode(), this);
    connect(m_octavePicker, &OctavePicker::modeChanged, &octave, &OctaveSetting::setMode);
    form->addRow(QStringLiteral("Tempo detection"), m_octavePicker);
    column->addLayout(form);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    column->addWidget(buttons);
}

// The platform style outlines a check box in a darker shade of the window
// colour, which vanishes on the dark window; a light "window" for the box
// alone gives it a visible rim and fill there.
void SettingsDialog::outlineCheckBox() {
    QPalette palette = QApplication::palette();
    if (currentScheme() == ColorScheme::Dark) {
        palette.setColor(QPalette::Window, QColor(170, 170, 176));
        palette.setColor(QPalette::Base, QColor(62, 62, 66));
    }
    m_stats->setPalette(palette);
}

} // namespace quorlen
