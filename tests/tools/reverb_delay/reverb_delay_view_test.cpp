#include "app/content_view.h"
#include "tools/reverb_delay/custom_space_panel.h"
#include "tools/reverb_delay/delay_strip.h"
#include "tools/reverb_delay/reverb_delay_view.h"
#include "tools/reverb_delay/reverb_row.h"
#include "tools/reverb_delay/reverb_table.h"
#include "tools/reverb_delay/space_tiles.h"
#include "ui/copyable_value.h"
#include "ui/metric_tile.h"
#include "ui/segmented_picker.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTest>

#include <gtest/gtest.h>

#include <ostream>

QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& text, std::ostream* out) { *out << text.toStdString(); }
QT_END_NAMESPACE

namespace quorlen {
namespace {

class ReverbDelayViewTest : public ::testing::Test {
protected:
    void SetUp() override {
        content.resize(1000, 1000);
        content.show();
        view = qobject_cast<ReverbDelayView*>(content.toolView());
        ASSERT_NE(view, nullptr);
    }

    QStringList metrics() const {
        QStringList values;
        for (const MetricTile* tile : view->header()->tiles())
            values << tile->metric().value;
        return values;
    }
    QStringList customTiles() const {
        const CustomSpacePanel* panel = view->customPanel();
        return {panel->preDelayTile()->display(), panel->decayTile()->display(),
                panel->totalTile()->display()};
    }
    const ReverbRow* row(int index) const { return view->reverbTable()->rows().at(index); }

    ContentView content{QStringLiteral("space")};
    ReverbDelayView* view = nullptr;
};

TEST_F(ReverbDelayViewTest, FollowsTheSharedTempoClampedTo20Through400) {
    // bar 240000 / clamp(bpm, 20, 400); beat bar/4; pre 1/64 bar/64; the
    // Medium Room decays bar - bar/64; the 1/8T delay is bar/12.
    const std::tuple<double, QStringList, const char*, const char*> cases[] = {
        {120, {"2000.0 ms", "500.0 ms", "31.2 ms"}, "1968.8 ms", "166.7 ms"},
        {10, {"12000.0 ms", "3000.0 ms", "187.5 ms"}, "11812.5 ms", "1000.0 ms"},
        {1000, {"600.0 ms", "150.0 ms", "9.4 ms"}, "590.6 ms", "50.0 ms"},
    };
    for (const auto& [bpm, header, mediumDecay, eighthTriplet] : cases) {
        SCOPED_TRACE(bpm);
        content.state().setBpm(bpm);
        EXPECT_EQ(metrics(), header);
        EXPECT_EQ(row(2)->decayCell()->display(), mediumDecay);
        EXPECT_EQ(view->delayStrip()->chips().at(3)->display(), eighthTriplet);
    }
    EXPECT_EQ(content.state().bpm(), 1000); // read, never written
}

TEST_F(ReverbDelayViewTest, PresetRowsAt120Bpm) {
    const QStringList expected[] = {
        {"7.8 ms", "492.2 ms", "500.0 ms"},     {"15.6 ms", "984.4 ms", "1000.0 ms"},
        {"31.2 ms", "1968.8 ms", "2000.0 ms"},  {"62.5 ms", "3937.5 ms", "4000.0 ms"},
        {"125.0 ms", "7875.0 ms", "8000.0 ms"},
    };
    ASSERT_EQ(view->reverbTable()->rows().size(), 5);
    for (int i = 0; i < 5; ++i) {
        const QStringList shown = {row(i)->preDelayCell()->display(),
                                   row(i)->decayCell()->display(), row(i)->totalCell()->display()};
        EXPECT_EQ(shown, expected[i]) << row(i)->preset().name;
    }
}

TEST_F(ReverbDelayViewTest, PickersStoreTheCustomSpaceInTheSharedState) {
    CustomSpacePanel* panel = view->customPanel();
    EXPECT_EQ(customTiles(), (QStringList{"31.2 ms", "1968.8 ms", "2000.0 ms"}));
    EXPECT_EQ(panel->totalPicker()->selectedIndex(), 2);
    EXPECT_EQ(panel->prePicker()->selectedIndex(), 2);

    // Quarter bar with a 1/16 pre-delay at 120 BPM: 125, 375, 500.
    SegmentedPicker* total = panel->totalPicker();
    SegmentedPicker* pre = panel->prePicker();
    QTest::mouseClick(total, Qt::LeftButton, {}, total->segmentRect(0).center());
    QTest::mouseClick(pre, Qt::LeftButton, {}, pre->segmentRect(4).center());
    EXPECT_EQ(content.state().customTotalBars(), 0.25);
    EXPECT_EQ(content.state().customPreDivision(), 16);
    EXPECT_EQ(total->selectedIndex(), 0);
    EXPECT_EQ(customTiles(), (QStringList{"125.0 ms", "375.0 ms", "500.0 ms"}));

    // Eight bars with 1/256 at 400 BPM: 600/256 = 2.34, 4800 - 2.34.
    QTest::mouseClick(total, Qt::LeftButton, {}, total->segmentRect(5).center());
    QTest::mouseClick(pre, Qt::LeftButton, {}, pre->segmentRect(0).center());
    content.state().setBpm(400);
    EXPECT_EQ(customTiles(), (QStringList{"2.3 ms", "4797.7 ms", "4800.0 ms"}));
}

TEST_F(ReverbDelayViewTest, EveryValueCopiesWithOneDecimalAndNoUnit) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    CopyableText* decay = row(2)->decayCell();
    QTest::mouseClick(decay, Qt::LeftButton);
    EXPECT_EQ(clipboard->text(), "1968.8");
    EXPECT_TRUE(decay->isCopied());

    QTest::mouseClick(view->customPanel()->preDelayTile(), Qt::LeftButton);
    EXPECT_EQ(clipboard->text(), "31.2");
    QTest::mouseClick(view->delayStrip()->chips().at(1), Qt::LeftButton);
    EXPECT_EQ(clipboard->text(), "375.0");
    QTest::mouseClick(view->header()->tiles().at(2), Qt::LeftButton);
    EXPECT_EQ(clipboard->text(), "31.2");
}

TEST(ReverbDelayView, ShowsTheTempoSetInTheTempoTool) {
    ContentView content{QStringLiteral("bpm")};
    content.state().setBpm(90);
    content.selectTool(CalculatorTool::space);
    auto* view = qobject_cast<ReverbDelayView*>(content.toolView());
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->header()->tiles().at(0)->metric().value, "2666.7 ms"); // 240000 / 90
}

} // namespace
} // namespace quorlen
