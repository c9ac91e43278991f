#include "support/wait.h"
#include "ui/focus_ring.h"
#include "ui/kit_slider.h"
#include "ui/segmented_picker.h"
#include "ui/stepper.h"
#include "ui/theme.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QApplication>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

TEST(Stepper, KeysAccessibleActionsAndPressesStepAndHoldingRepeatsUntilRelease) {
    Stepper stepper;
    stepper.setValueText(QStringLiteral("120 BPM"));
    stepper.show();
    QSignalSpy up(&stepper, &Stepper::steppedUp);
    QSignalSpy down(&stepper, &Stepper::steppedDown);
    const QPoint upHalf(stepper.width() * 3 / 4, stepper.height() / 2);
    const QPoint downHalf(stepper.width() / 4, stepper.height() / 2);
    for (const Qt::Key key : {Qt::Key_Up, Qt::Key_Right, Qt::Key_Down})
        QTest::keyClick(&stepper, key);
    EXPECT_EQ(up.count(), 2);
    EXPECT_EQ(down.count(), 1);

    // A screen reader reads it as a spin box with its value, and can step it.
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&stepper);
    EXPECT_EQ(accessible->role(), QAccessible::SpinBox);
    EXPECT_EQ(accessible->text(QAccessible::Value), "120 BPM");
    accessible->actionInterface()->doAction(QAccessibleActionInterface::increaseAction());
    ASSERT_EQ(up.count(), 3);

    QTest::mousePress(&stepper, Qt::LeftButton, {}, upHalf);
    EXPECT_EQ(up.count(), 4) << "the step comes with the press, not the release";
    ASSERT_TRUE(testing::waitUntil([&] { return up.count() >= 7; }, 3000)) << "held: repeats";
    QTest::mouseRelease(&stepper, Qt::LeftButton, {}, upHalf);
    const qsizetype released = up.count();
    QTest::qWait(3 * Stepper::kRepeatIntervalMs);
    EXPECT_EQ(up.count(), released) << "release ends the repeat";

    // A half at the end of its range ignores presses, and holding there
    // does not step either.
    stepper.setCanStep(false, true);
    QTest::mousePress(&stepper, Qt::LeftButton, {}, downHalf);
    QTest::qWait(Stepper::kRepeatDelayMs + 2 * Stepper::kRepeatIntervalMs);
    QTest::mouseRelease(&stepper, Qt::LeftButton, {}, downHalf);
    EXPECT_EQ(down.count(), 1);
}

// The knob shows a rounded or clamped position of a value typed elsewhere
// (10 BPM sits at 20); a press there must still set that position.
TEST(KitSlider, APressAtTheShownValueStillPicksIt) {
    KitSlider slider(QuorlenTheme::saffron());
    slider.setRange(20, 400);
    slider.resize(300, 22);
    slider.setValue(20);
    slider.show();
    QSignalSpy picked(&slider, &KitSlider::picked);
    QSignalSpy changed(&slider, &QSlider::valueChanged);

    QTest::mousePress(&slider, Qt::LeftButton, {}, QPoint(1, 11));
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, QPoint(1, 11));
    ASSERT_EQ(picked.count(), 1);
    EXPECT_EQ(picked.at(0).at(0).toInt(), 20);
    EXPECT_EQ(changed.count(), 0) << "nothing moved, yet the press was reported";

    QTest::keyClick(&slider, Qt::Key_Right);
    ASSERT_EQ(picked.count(), 2);
    EXPECT_EQ(picked.at(1).at(0).toInt(), 21);
    QTest::keyClick(&slider, Qt::Key_End);
    EXPECT_EQ(picked.last().at(0).toInt(), 400);
}

TEST(SegmentedPicker, ArrowsChooseNeighboursAndEachSegmentIsAnAccessibleChoice) {
    SegmentedPicker picker({QStringLiteral("1/4"), QStringLiteral("1/8"), QStringLiteral("1/16")});
    picker.resize(picker.sizeHint());
    picker.setSelectedIndex(1);
    QSignalSpy chosen(&picker, &SegmentedPicker::chosen);
    QTest::keyClick(&picker, Qt::Key_Right);
    QTest::keyClick(&picker, Qt::Key_Left);
    ASSERT_EQ(chosen.count(), 2);
    EXPECT_EQ(chosen.at(0).at(0).toInt(), 2);
    EXPECT_EQ(chosen.at(1).at(0).toInt(), 0);
    picker.setSelectedIndex(2);
    QTest::keyClick(&picker, Qt::Key_Right); // already last
    EXPECT_EQ(chosen.count(), 2);

    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&picker);
    ASSERT_EQ(accessible->childCount(), 3);
    for (int i = 0; i < 3; ++i) {
        QAccessibleInterface* segment = accessible->child(i);
        EXPECT_EQ(segment->role(), QAccessible::RadioButton);
        EXPECT_EQ(segment->state().checked, i == 2) << i;
        EXPECT_EQ(accessible->indexOfChild(segment), i);
    }
    accessible->child(0)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(chosen.last().at(0).toInt(), 0);
}

// WCAG 2 contrast: text needs 4.5:1, a focus indicator 3:1.
TEST(Contrast, DarkSchemeInkReadsAndKeepsItsHue) {
    const QColor background = darkSurfaceReference();
    // The palette's own lacquer is about 2.1:1 there.
    EXPECT_LT(contrastRatio(QuorlenTheme::lacquer(), background), 2.5);
    const QColor hues[] = {QuorlenTheme::lacquer(), QuorlenTheme::fern(), QuorlenTheme::saffron(),
                           QuorlenTheme::dusk(), QuorlenTheme::lake()};
    for (const QColor& hue : hues) {
        const QColor ink = textInk(hue, ColorScheme::Dark);
        EXPECT_GE(contrastRatio(ink, background), 4.5) << hue.name().toStdString();
        if (contrastRatio(hue, background) >= 4.5)
            EXPECT_EQ(ink.rgb(), hue.rgb()) << "a hue that reads stays as it is";
        else
            EXPECT_LT(contrastRatio(ink, background), 5.0) << "no lighter than needed";
        EXPECT_NEAR(ink.hslHueF(), hue.toHsl().hslHueF(), 0.01) << hue.name().toStdString();
        EXPECT_EQ(textInk(hue, ColorScheme::Light), hue);
    }

    const QColor lightSurface = QColor::fromRgbF(0.97f, 0.95f, 0.91f);
    EXPECT_GE(contrastRatio(focusRingColor(ColorScheme::Light), lightSurface), 3.0);
    EXPECT_GE(contrastRatio(focusRingColor(ColorScheme::Dark), background), 3.0);
    // On a filled button the inner ring stands out from every fill a tool
    // gives its prominent button, pale or dark.
    std::vector<QColor> fills(std::begin(hues), std::end(hues));
    fills.insert(fills.end(), {QuorlenTheme::teal(), Qt::white, Qt::black, QColor(128, 128, 128)});
    for (const QColor& fill : fills)
        EXPECT_GE(contrastRatio(focusRingInnerColor(fill), fill), 4.5) << fill.name().toStdString();
    // Reference points of the formula: black on white is 21:1.
    EXPECT_NEAR(contrastRatio(Qt::black, Qt::white), 21.0, 1e-9);
}

} // namespace
} // namespace quorlen
