#include "app/content_view.h"
#include "app/preferences.h"
#include "tools/fifths/circle_of_fifths_view.h"
#include "tools/fifths/fifths_wheel.h"

#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

CircleOfFifthsView* fifthsView(const ContentView& view) {
    return qobject_cast<CircleOfFifthsView*>(view.toolView());
}

TEST(FifthsSelection, IsRememberedBesideTheWindowStateAcrossToolSwitches) {
    Preferences().setFifthsSelectedIndex(0);
    Preferences().setFifthsMinorSelected(false);
    ContentView view(QStringLiteral("harmony"));
    view.resize(960, 1100);
    view.show();
    ASSERT_TRUE(fifthsView(view));
    FifthsWheel* wheel = fifthsView(view)->wheel();
    QTest::mouseClick(wheel, Qt::LeftButton, {}, wheel->segmentCentre(4, true).toPoint()); // C♯m

    QSettings store(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("quorlen"),
                    QStringLiteral("calculator"));
    EXPECT_EQ(store.value(QStringLiteral("MainWindow/fifthsSelectedIndex")).toInt(), 4);
    EXPECT_TRUE(store.value(QStringLiteral("MainWindow/fifthsMinorSelected")).toBool());

    // The screen is rebuilt on every visit and comes back on the same key.
    view.selectTool(CalculatorTool::frequency);
    view.selectTool(CalculatorTool::harmony);
    ASSERT_TRUE(fifthsView(view));
    EXPECT_EQ(fifthsView(view)->selection(), (KeySelection{4, true}));

    // A stored index out of range is wrapped onto the circle.
    for (const auto& [stored, shown] : {std::pair{14, 2}, {-1, 11}, {7, 7}}) {
        store.setValue(QStringLiteral("MainWindow/fifthsSelectedIndex"), stored);
        store.sync();
        EXPECT_EQ(Preferences().fifthsSelectedIndex(), shown) << stored;
    }
}

} // namespace
} // namespace quorlen
