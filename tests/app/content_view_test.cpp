#include "app/appearance.h"
#include "app/content_view.h"
#include "app/main_window.h"
#include "app/preferences.h"
#include "app/sidebar.h"
#include "app/sidebar_tool_row.h"
#include "tools/euclidean/euclid_playback.h"
#include "tools/euclidean/euclidean_rhythm_view.h"
#include "tools/fifths/circle_of_fifths_view.h"
#include "tools/fifths/fifths_wheel.h"
#include "ui/tool_header.h"

#include <QApplication>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <tuple>

namespace quorlen {
namespace {

QString shownTitle(const ContentView& view) {
    auto* title = view.toolView()->findChild<QWidget*>(QStringLiteral("toolTitle"));
    return title ? title->accessibleName() : QString();
}

std::vector<CalculatorTool> selectedRows(const ContentView& view) {
    std::vector<CalculatorTool> selected;
    for (const ToolInfo& info : allTools()) {
        if (view.sidebar()->row(info.tool)->isSelected())
            selected.push_back(info.tool);
    }
    return selected;
}

TEST(ContentView, RestoresTheStoredToolAndFallsBackToTempo) {
    ContentView pitch(QStringLiteral("frequency"));
    EXPECT_EQ(selectedRows(pitch), std::vector{CalculatorTool::frequency});
    EXPECT_EQ(shownTitle(pitch), QStringLiteral("Note Frequencies"));

    for (const char* unknown : {"", "metronome", "BPM", "harmony "}) {
        ContentView view(QString::fromLatin1(unknown));
        EXPECT_EQ(view.shownTool(), CalculatorTool::bpm) << unknown;
        EXPECT_EQ(selectedRows(view), std::vector{CalculatorTool::bpm}) << unknown;
        EXPECT_EQ(shownTitle(view), QStringLiteral("BPM to Milliseconds")) << unknown;
    }
}

TEST(ContentView, RowClicksSelectOnceAndAreAllReportedButArrowKeysAreNoClicks) {
    ContentView view(QStringLiteral("bpm"));
    view.show();
    QSignalSpy selected(&view, &ContentView::selectedToolChanged);
    QSignalSpy clicked(&view, &ContentView::toolRowClicked);

    QTest::mouseClick(view.sidebar()->row(CalculatorTool::harmony), Qt::LeftButton);
    EXPECT_EQ(view.shownTool(), CalculatorTool::harmony);
    EXPECT_EQ(view.selectedToolID(), QStringLiteral("harmony"));
    EXPECT_EQ(selectedRows(view), std::vector{CalculatorTool::harmony});
    EXPECT_NE(view.toolView()->findChild<ToolHeader*>(), nullptr);

    QWidget* screen = view.toolView();
    QTest::mouseClick(view.sidebar()->row(CalculatorTool::harmony), Qt::LeftButton);
    EXPECT_EQ(view.toolView(), screen) << "the selected row's click changes nothing";
    EXPECT_EQ(selected.count(), 1);
    EXPECT_EQ(clicked.count(), 2);

    // Up and Down walk the list and stop at its ends; only clicks are
    // reported as tool use.
    const std::tuple<CalculatorTool, Qt::Key, CalculatorTool> keys[] = {
        {CalculatorTool::harmony, Qt::Key_Down, CalculatorTool::harmony},
        {CalculatorTool::harmony, Qt::Key_Up, CalculatorTool::overtones},
        {CalculatorTool::rhythm, Qt::Key_Up, CalculatorTool::bpm},
        {CalculatorTool::bpm, Qt::Key_Up, CalculatorTool::bpm},
    };
    for (const auto& [from, key, shown] : keys) {
        view.showTool(from);
        QTest::keyClick(view.sidebar()->row(from), key);
        EXPECT_EQ(view.shownTool(), shown) << toolInfo(from).rawValue;
    }
    EXPECT_EQ(clicked.count(), 2);
}

TEST(ContentView, SelectingAnotherToolStopsTheRhythmPlayer) {
    // The player sounds through the real output; with no sound device the
    // clicks are dropped silently and the steps still advance.
    ContentView view(QStringLiteral("rhythm"));
    view.show();
    auto* rhythm = qobject_cast<EuclideanRhythmView*>(view.toolView());
    ASSERT_NE(rhythm, nullptr);
    rhythm->playback().start();
    ASSERT_TRUE(view.state().euclidPlaying());

    view.selectTool(CalculatorTool::space);
    EXPECT_FALSE(view.state().euclidPlaying());
    EXPECT_EQ(view.state().euclidStep(), std::nullopt);
    QTest::qWait(300); // longer than two steps: no stale timer writes the step
    EXPECT_EQ(view.state().euclidStep(), std::nullopt);
}

TEST(MainWindow, KeepsTheSelectionForTheNextLaunch) {
    Preferences().setSelectedCalculatorTool(QStringLiteral("bpm"));
    AppearanceController appearance;
    {
        MainWindow window(appearance);
        window.show();
        QTest::mouseClick(window.content()->sidebar()->row(CalculatorTool::overtones),
                          Qt::LeftButton);
    }
    EXPECT_EQ(Preferences().selectedCalculatorTool(), QStringLiteral("overtones"));
    MainWindow reopened(appearance);
    EXPECT_EQ(reopened.content()->shownTool(), CalculatorTool::overtones);
    reopened.show();
    QApplication::setActiveWindow(&reopened);
    QSignalSpy clicks(reopened.content(), &ContentView::toolRowClicked);
    QTest::keyClick(&reopened, Qt::Key_3, Qt::ControlModifier);
    EXPECT_EQ(reopened.content()->shownTool(), CalculatorTool::space);
    EXPECT_EQ(clicks.count(), 0) << "a shortcut is no row click";
    EXPECT_EQ(Preferences().selectedCalculatorTool(), QStringLiteral("space"));
    Preferences().setSelectedCalculatorTool(QStringLiteral("overtones"));

    // A screenshot window leaves the stored choice alone.
    MainWindow screenshot(appearance, false);
    screenshot.content()->selectTool(CalculatorTool::space);
    EXPECT_EQ(Preferences().selectedCalculatorTool(), QStringLiteral("overtones"));
}

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
    EXPECT_EQ(fifthsView(view)->selection(), (harmony::KeySelection{4, true}));

    // A stored index out of range is wrapped onto the circle.
    for (const auto& [stored, shown] : {std::pair{14, 2}, {-1, 11}, {7, 7}}) {
        store.setValue(QStringLiteral("MainWindow/fifthsSelectedIndex"), stored);
        store.sync();
        EXPECT_EQ(Preferences().fifthsSelectedIndex(), shown) << stored;
    }
}

} // namespace
} // namespace quorlen
