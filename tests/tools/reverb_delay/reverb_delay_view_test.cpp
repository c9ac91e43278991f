#include "app/content_view.h"
#include "support/print_qstring.h"
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

namespace quorlen {
namespace {

// The times themselves are the core's; these tests check that every part of
// the screen shows them and follows the shared state.
class ReverbDelayViewTest : public ::testing::Test {
protected:
    void SetUp() override {
        content.resize(1000, 1000);
        content.show();
        view = qobject_cast<ReverbDelayView*>(content.toolView());
        ASSERT_NE(view, nullptr);
    }

    QStringList customTiles() const {
        const CustomSpacePanel* panel = view->customPanel();
        return {panel->preDelayTile()->display(), panel->decayTile()->display(),
                panel->totalTile()->display()};
    }
    CopyableText* mediumRoomDecay() const { return view->reverbTable()->rows().at(2)->decayCell(); }

    ContentView content{QStringLiteral("space")};
    ReverbDelayView* view = nullptr;
};

TEST_F(ReverbDelayViewTest, EveryPartFollowsTheSharedTempoWithoutWritingItAndCopies) {
    // At 120: values copy with one decimal and no unit.
    QClipboard* clipboard = QGuiApplication::clipboard();
    const std::pair<QWidget*, const char*> copies[] = {
        {mediumRoomDecay(), "1968.8"},
        {view->customPanel()->preDelayTile(), "31.2"},
        {view->delayStrip()->chips().at(1), "375.0"},
        {view->header()->tiles().at(2), "31.2"}};
    for (const auto& [widget, text] : copies) {
        QTest::mouseClick(widget, Qt::LeftButton);
        EXPECT_EQ(clipboard->text(), text);
    }
    EXPECT_TRUE(mediumRoomDecay()->isCopied());

    // 1000 BPM counts as 400: bar 600 ms, beat 150, 1/64 9.4; the Medium
    // Room decays bar - bar/64; the 1/8T delay is bar/12.
    content.state().setBpm(1000);
    QStringList header;
    for (const MetricTile* tile : view->header()->tiles())
        header << tile->metric().value;
    EXPECT_EQ(header, (QStringList{"600.0 ms", "150.0 ms", "9.4 ms"}));
    const ReverbRow* mediumRoom = view->reverbTable()->rows().at(2);
    EXPECT_EQ((QStringList{mediumRoom->preDelayCell()->display(), mediumRoomDecay()->display(),
                           mediumRoom->totalCell()->display()}),
              (QStringList{"9.4 ms", "590.6 ms", "600.0 ms"}));
    EXPECT_EQ(view->delayStrip()->chips().at(3)->display(), "50.0 ms");
    EXPECT_EQ(customTiles(), (QStringList{"9.4 ms", "590.6 ms", "600.0 ms"}));
    EXPECT_EQ(content.state().bpm(), 1000);
}

TEST_F(ReverbDelayViewTest, PickersStoreTheCustomSpaceInTheSharedState) {
    SegmentedPicker* total = view->customPanel()->totalPicker();
    SegmentedPicker* pre = view->customPanel()->prePicker();
    // Quarter bar with a 1/16 pre-delay at 120 BPM: 125, 375, 500.
    QTest::mouseClick(total, Qt::LeftButton, {}, total->segmentRect(0).center());
    QTest::mouseClick(pre, Qt::LeftButton, {}, pre->segmentRect(4).center());
    EXPECT_EQ(content.state().customTotalBars(), 0.25);
    EXPECT_EQ(content.state().customPreDivision(), 16);
    EXPECT_EQ(total->selectedIndex(), 0);
    EXPECT_EQ(customTiles(), (QStringList{"125.0 ms", "375.0 ms", "500.0 ms"}));
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
