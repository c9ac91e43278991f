#include "app/appearance.h"
#include "app/preferences.h"
#include "app/settings_dialog.h"
#include "config/deployment.h"
#include "ui/color_scheme.h"

#include <QCheckBox>
#include <QComboBox>
#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

TEST(Settings, TheToggleSharesAndStoresTheInverseAsOptOut) {
    Preferences().setStatsOptOut(false);
    AppearanceController appearance;
    {
        SettingsDialog dialog(appearance);
        EXPECT_TRUE(dialog.statsToggle()->isChecked()) << "sharing is on by default";
        EXPECT_EQ(dialog.statsToggle()->text(), QStringLiteral("Share anonymous usage statistics"));
        dialog.show();
        QTest::mouseClick(dialog.statsToggle(), Qt::LeftButton);
        EXPECT_TRUE(Preferences().statsOptOut());
    }
    SettingsDialog reopened(appearance);
    EXPECT_FALSE(reopened.statsToggle()->isChecked());

    // The store is the one file of the app's organisation and name.
    QSettings store(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("quorlen"),
                    QStringLiteral("calculator"));
    EXPECT_TRUE(store.value(QStringLiteral("statsOptOut")).toBool());
    EXPECT_TRUE(store.fileName().endsWith(QStringLiteral("quorlen/calculator.conf")));
}

TEST(Settings, ExplanationNamesTheStatisticsHost) {
    const QString text = SettingsDialog::statsExplanation();
    EXPECT_TRUE(text.startsWith(QStringLiteral("Counts app launches and which tools get used — "
                                               "nothing else. No cookies, no identifiers, no "
                                               "personal data. Collected by our own server (")));
    EXPECT_TRUE(text.endsWith(QStringLiteral("), never shared with third parties.")));
    EXPECT_TRUE(text.contains(QString::fromLatin1(config::kStatsHost)));
}

TEST(Settings, AppearanceChoiceRepaintsAtOnceAndIsRemembered) {
    AppearanceController appearance;
    SettingsDialog dialog(appearance);
    dialog.appearancePicker()->setCurrentIndex(2);
    EXPECT_EQ(currentScheme(), ColorScheme::Dark);
    EXPECT_EQ(Preferences().appearance(), AppearanceChoice::dark);
    dialog.appearancePicker()->setCurrentIndex(1);
    EXPECT_EQ(currentScheme(), ColorScheme::Light);
    EXPECT_EQ(AppearanceController().choice(), AppearanceChoice::light);
}

} // namespace
} // namespace quorlen
