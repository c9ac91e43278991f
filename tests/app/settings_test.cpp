#include "app/appearance.h"
#include "app/config.h"
#include "app/preferences.h"
#include "app/settings_dialog.h"
#include "ui/color_scheme.h"

#include <QCheckBox>
#include <QComboBox>
#include <QImage>
#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>

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

// The unchecked box must show on the dark window: its rim, drawn by the
// platform style, stands out from the window behind it (3:1 for a
// control's outline).
TEST(Settings, TheUncheckedBoxIsVisibleOnTheDarkScheme) {
    ColorSchemeHub::instance().setScheme(ColorScheme::Dark);
    AppearanceController appearance;
    SettingsDialog dialog(appearance);
    QCheckBox* box = dialog.statsToggle();
    box->setChecked(false);
    box->resize(box->sizeHint());
    const QColor window = schemeColors(ColorScheme::Dark).windowBackground;
    QImage image(box->size(), QImage::Format_ARGB32);
    image.fill(window);
    box->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    double strongest = 1;
    // The indicator sits at the leading edge, before the label.
    for (int x = 0; x < 20; ++x) {
        for (int y = 0; y < image.height(); ++y)
            strongest = std::max(strongest, contrastRatio(image.pixelColor(x, y), window));
    }
    EXPECT_GE(strongest, 3.0);
    ColorSchemeHub::instance().setScheme(ColorScheme::Light);
    Preferences().setStatsOptOut(false);
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
