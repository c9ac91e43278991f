#include "state/calculator_state.h"
#include "support/recording_synthesiser.h"
#include "tools/harmonics/fundamental_panel.h"
#include "tools/harmonics/harmonic_bar.h"
#include "tools/harmonics/harmonic_series_view.h"
#include "ui/copyable_value.h"
#include "ui/kit_button.h"
#include "ui/kit_picker.h"
#include "ui/metric_tile.h"

#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace quorlen {
namespace {

struct OvertoneScreen {
    CalculatorState state;
    testing::RecordingSynthesiser synthesiser;
    HarmonicSeriesView view{state, QColor(184, 107, 64), synthesiser};
    FundamentalPanel* panel = view.fundamentalPanel();

    OvertoneScreen() {
        view.resize(900, 800);
        view.show();
    }
    void click(QWidget* widget) { QTest::mouseClick(widget, Qt::LeftButton); }
};

// The series itself is the core's; the screen must follow the pickers, and
// each bar tells and copies its own partial.
TEST(HarmonicSeriesView, PickersMoveTheFundamentalHeaderAndBars) {
    OvertoneScreen s;
    const auto tiles = s.view.header()->tiles();
    EXPECT_EQ(tiles[0]->metric().label, QStringLiteral("f₀ · A1"));
    EXPECT_EQ(tiles[0]->copyText(), QStringLiteral("55.00"));
    EXPECT_EQ(s.view.bar(7)->toolTip(), QStringLiteral("7× = 385.0 Hz · G4 -31¢"));
    std::unique_ptr<QMenu> menu(s.view.bar(7)->createContextMenu(nullptr));
    ASSERT_EQ(menu->actions().size(), 2);
    EXPECT_EQ(menu->actions()[0]->text(), QStringLiteral("Copy 385.00 Hz"));
    EXPECT_EQ(menu->actions()[1]->text(), QStringLiteral("Copy G4"));
    menu->actions()[1]->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("G4"));
    menu->actions()[0]->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("385.00"));

    s.panel->pitchPicker()->menu()->actions().at(0)->trigger();  // C
    s.panel->octavePicker()->menu()->actions().at(0)->trigger(); // Octave 0
    EXPECT_EQ(s.state.overtonePitchClass(), 0);
    EXPECT_EQ(s.state.overtoneOctave(), 0);
    EXPECT_EQ(s.panel->fundamentalValue()->display(), QStringLiteral("16.35 Hz"));
    EXPECT_EQ(tiles[0]->metric().label, QStringLiteral("f₀ · C0"));
    s.state.setOvertonePitchClass(11);
    s.state.setOvertoneOctave(4);
    EXPECT_EQ(s.panel->fundamentalValue()->copyText(), QStringLiteral("493.88"));
    EXPECT_EQ(s.panel->pitchPicker()->text(), QStringLiteral("B"));
    EXPECT_EQ(s.panel->octavePicker()->text(), QStringLiteral("Octave 4"));
}

TEST(HarmonicSeriesView, TogglesAndTheEnabledSet) {
    OvertoneScreen s;
    s.click(s.view.bar(3));
    EXPECT_FALSE(s.state.overtonesEnabled().contains(3));
    EXPECT_FALSE(s.view.bar(3)->isHarmonicEnabled());
    s.click(s.view.bar(3));
    EXPECT_TRUE(s.state.overtonesEnabled().contains(3));
    s.click(s.view.findChild<QAbstractButton*>(QStringLiteral("majorTriad")));
    EXPECT_EQ(s.state.overtonesEnabled(), (std::set<int>{4, 5, 6})) << "replaced, not added";
    for (int n : {4, 5, 6})
        s.click(s.view.bar(n));
    EXPECT_FALSE(s.panel->playButton()->isEnabled()) << "nothing to play";
    s.click(s.view.findChild<QAbstractButton*>(QStringLiteral("allHarmonics")));
    EXPECT_EQ(s.state.overtonesEnabled().size(), 16u);
    EXPECT_TRUE(s.panel->playButton()->isEnabled());
}

TEST(HarmonicSeriesView, SweepPlaysSixteenStepsThenEnds) {
    OvertoneScreen s;
    s.click(s.panel->sweepButton());
    EXPECT_EQ(s.state.overtoneStep(), 1);
    EXPECT_TRUE(s.view.bar(1)->isCurrent());
    EXPECT_EQ(s.panel->sweepButton()->text(), QStringLiteral("Stop"));
    for (int firing = 1; firing <= 15; ++firing)
        s.view.advanceSweep();
    EXPECT_EQ(s.state.overtoneStep(), 16);
    s.view.advanceSweep(); // the sixteenth firing ends it
    EXPECT_FALSE(s.state.overtoneSweeping());
    EXPECT_FALSE(s.state.overtoneStep());
    EXPECT_FALSE(s.view.isTimerRunning());
    EXPECT_EQ(s.panel->sweepButton()->text(), QStringLiteral("Sweep"));
    s.view.startSweep();
    s.view.hide(); // leaving the tool stops the sweep
    EXPECT_FALSE(s.state.overtoneSweeping());
}

} // namespace
} // namespace quorlen
