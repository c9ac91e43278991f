#include "app/appearance.h"
#include "app/octave_picker.h"
#include "app/octave_setting.h"
#include "app/preferences.h"
#include "app/settings_dialog.h"
#include "ui/color_scheme.h"

#include <QCheckBox>
#include <QComboBox>
#include <QImage>
#include <QSettings>
#include <QSpinBox>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>

namespace quorlen {
namespace {

// The store is the one file of the app's organisation and name.
class Settings : public ::testing::Test {
protected:
    AppearanceController appearance;
    OctaveSetting octave;
    QSettings store{QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("quorlen"),
                    QStringLiteral("calculator")};
};

TEST_F(Settings, TheToggleSharesAndStoresTheInverseAsOptOut) {
    Preferences().setStatsOptOut(false);
    {
        SettingsDialog dialog(appearance, octave);
        EXPECT_TRUE(dialog.statsToggle()->isChecked()) << "sharing is on by default";
        dialog.show();
        QTest::mouseClick(dialog.statsToggle(), Qt::LeftButton);
        EXPECT_TRUE(Preferences().statsOptOut());
    }
    SettingsDialog reopened(appearance, octave);
    EXPECT_FALSE(reopened.statsToggle()->isChecked());

    EXPECT_TRUE(store.value(QStringLiteral("statsOptOut")).toBool());
    EXPECT_TRUE(store.fileName().endsWith(QStringLiteral("quorlen/calculator.conf")));
}

// The unchecked box must show on the dark window: its rim, drawn by the
// platform style, stands out from the window behind it (3:1 for a
// control's outline).
TEST_F(Settings, TheUncheckedBoxIsVisibleOnTheDarkScheme) {
    ColorSchemeHub::instance().setScheme(ColorScheme::Dark);
    SettingsDialog dialog(appearance, octave);
    QCheckBox* box = dialog.statsToggle();
    box->setChecked(false);
    box->resize(box->sizeHint());
    const QColor window = schemeColors(ColorScheme::Dark).windowBackground;
    QImage image(box->size(), QImage::Format_ARGB32);
    image.fill(window);
    box->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    double strongest = 1;
    // The indicator sits at the leading edge, before the label.
    for (int x = 0; x < 20; ++x)
        for (int y = 0; y < image.height(); ++y)
            strongest = std::max(strongest, contrastRatio(image.pixelColor(x, y), window));
    EXPECT_GE(strongest, 3.0);
    ColorSchemeHub::instance().setScheme(ColorScheme::Light);
    Preferences().setStatsOptOut(false);
}

TEST_F(Settings, AppearanceChoiceRepaintsAtOnceAndIsRemembered) {
    SettingsDialog dialog(appearance, octave);
    dialog.appearancePicker()->setCurrentIndex(2);
    EXPECT_EQ(currentScheme(), ColorScheme::Dark);
    EXPECT_EQ(Preferences().appearance(), AppearanceChoice::dark);
    dialog.appearancePicker()->setCurrentIndex(1);
    EXPECT_EQ(currentScheme(), ColorScheme::Light);
    EXPECT_EQ(AppearanceController().choice(), AppearanceChoice::light);
}

TEST_F(Settings, TempoDetectionModeIsStoredSharedAndShownAgain) {
    Preferences().setTempoOctave(detection::OctaveMode::classic());
    {
        SettingsDialog dialog(appearance, octave);
        OctavePicker* picker = dialog.octavePicker();
        EXPECT_FALSE(picker->lowBound()->isEnabled()) << "the range only counts when chosen";
        picker->choice()->setCurrentIndex(1);
        EXPECT_EQ(Preferences().tempoOctave(), detection::OctaveMode::automatic());
        EXPECT_EQ(octave.mode(), detection::OctaveMode::automatic());

        picker->choice()->setCurrentIndex(2);
        EXPECT_EQ(picker->choice()->currentText(), QStringLiteral("Preferred range"));
        EXPECT_TRUE(picker->lowBound()->isEnabled());
        // Raising the lower bound past half the upper one pushes the upper one.
        picker->lowBound()->setValue(95);
        EXPECT_EQ(picker->highBound()->value(), 190);
        picker->highBound()->setValue(100);
        EXPECT_EQ(picker->highBound()->value(), 190) << "an upper bound below 2 x 95 is refused";
        EXPECT_EQ(octave.mode(), detection::OctaveMode::range(95, 190));
    }
    // A setting made anew reads what was stored.
    OctaveSetting reread;
    SettingsDialog reopened(appearance, reread);
    EXPECT_EQ(reopened.octavePicker()->choice()->currentIndex(), 2);
    EXPECT_EQ(reopened.octavePicker()->highBound()->value(), 190);
    EXPECT_EQ(store.value(QStringLiteral("tempoDetectionOctave")).toString(), "95-190");

    // A stored text that names no mode, or a range beyond the picker's
    // bounds, reads as the classic one.
    for (const char* stored : {"80-100", "100000000000-200000000000", "0.0000000001-1"}) {
        store.setValue(QStringLiteral("tempoDetectionOctave"), QString::fromLatin1(stored));
        store.sync();
        EXPECT_EQ(Preferences().tempoOctave(), detection::OctaveMode::classic()) << stored;
    }
    Preferences().setTempoOctave(detection::OctaveMode::classic());
}

} // namespace
} // namespace quorlen
