#include "app/calculator_state.h"
#include "tools/fifths/chord_tile.h"
#include "tools/fifths/circle_of_fifths_view.h"
#include "tools/fifths/fifths_wheel.h"
#include "tools/fifths/key_detail_panel.h"
#include "tools/fifths/note_chip.h"
#include "tools/fifths/progression_panel.h"
#include "ui/kit_button.h"
#include "ui/metric_tile.h"

#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

using Degrees = std::vector<int>;

struct HarmonyScreen {
    CalculatorState state;
    CircleOfFifthsView view;

    explicit HarmonyScreen(KeySelection key = {}) : view(state, QColor(178, 34, 34), key) {
        view.resize(960, 1100);
        view.show();
        QApplication::setActiveWindow(&view);
    }
    void clickSegment(int index, bool minor) {
        FifthsWheel* wheel = view.wheel();
        QTest::mouseClick(wheel, Qt::LeftButton, {},
                          wheel->segmentCentre(index, minor).toPoint());
    }
    QStringList chipNames() const {
        QStringList names;
        for (const ChordTile* chip : view.progressionPanel()->chips())
            names << chip->name();
        return names;
    }
    QString metric(int tile) const { return view.header()->tiles()[tile]->metric().value; }
};

TEST(HarmonyView, ClickingASegmentAndAChordGrowsTheProgression) {
    HarmonyScreen s;
    EXPECT_EQ(s.metric(0), QStringLiteral("C"));
    EXPECT_EQ(s.view.details()->longName(), QStringLiteral("C major"));
    EXPECT_EQ(s.view.details()->signatureNotes(), QStringLiteral("no accidentals"));

    QSignalSpy selected(&s.view, &CircleOfFifthsView::selectionChanged);
    s.clickSegment(3, false); // A major
    EXPECT_EQ(s.view.selection(), (KeySelection{3, false}));
    ASSERT_EQ(selected.count(), 1);
    EXPECT_EQ(s.metric(0), QStringLiteral("A"));
    EXPECT_EQ(s.metric(1), QStringLiteral("3♯"));
    EXPECT_EQ(s.metric(2), QStringLiteral("F♯m"));
    EXPECT_EQ(s.view.details()->signatureNotes(), QStringLiteral("F♯  C♯  G♯"));
    EXPECT_EQ(s.view.details()->relatedKey(1), QStringLiteral("E"));

    QTest::mouseClick(s.view.details()->chordTile(4), Qt::LeftButton); // E
    QTest::mouseClick(s.view.progressionPanel()->degreeButton(5), Qt::LeftButton); // F♯m
    EXPECT_EQ(s.state.progression(), (Degrees{4, 5}));
    EXPECT_EQ(s.chipNames(), (QStringList{QStringLiteral("E"), QStringLiteral("F♯m")}));
    EXPECT_TRUE(s.view.progressionPanel()->emptyText().isEmpty());
    EXPECT_TRUE(s.view.progressionPanel()->playButton()->isEnabled());

    // The loop keeps degrees: a new key renames its chips.
    s.clickSegment(0, true); // Am
    EXPECT_EQ(s.view.selection(), (KeySelection{0, true}));
    EXPECT_EQ(s.chipNames(), (QStringList{QStringLiteral("Em"), QStringLiteral("F")}));
    // Clicking the selected segment again plays it but changes nothing.
    s.clickSegment(0, true);
    EXPECT_EQ(selected.count(), 2);
}

TEST(HarmonyView, WheelFillsFollowTheSelection) {
    HarmonyScreen s;
    const QColor accent(178, 34, 34);
    FifthsWheel* wheel = s.view.wheel();
    // C major: C opaque; G, F and Am at 22 %; the rest neutral.
    EXPECT_EQ(wheel->fillColor(0, false, std::nullopt), accent);
    for (const auto& [index, minor] : {std::pair{1, false}, {11, false}, {0, true}})
        EXPECT_NEAR(wheel->fillColor(index, minor, std::nullopt).alphaF(), 0.22, 0.001) << index;
    EXPECT_EQ(wheel->fillColor(2, false, std::nullopt), wheel->fillColor(5, true, std::nullopt));
    EXPECT_NEAR(wheel->fillColor(2, false, wheel::SegmentID{wheel::Ring::major, 2}).alphaF(), 0.12,
                0.001);

    // Hover goes by the full sector; leaving clears it.
    QTest::mouseMove(wheel, wheel->segmentCentre(9, true).toPoint());
    EXPECT_EQ(wheel->hoveredSegment(), QStringLiteral("min-9"));
    QTest::mouseMove(wheel, QPoint(wheel->width() / 2, wheel->height() / 2));
    EXPECT_FALSE(wheel->hoveredSegment());
}

TEST(HarmonyView, ClipboardTextIsSpelledInAscii) {
    HarmonyScreen s({6, true}); // D♯ minor
    QClipboard* clipboard = QGuiApplication::clipboard();
    QTest::mouseClick(s.view.header()->tiles()[0], Qt::LeftButton);
    EXPECT_EQ(clipboard->text(), QStringLiteral("D#m"));
    QTest::mouseClick(s.view.details()->scaleChip(1), Qt::LeftButton);
    EXPECT_EQ(clipboard->text(), QStringLiteral("E#"));
    EXPECT_TRUE(s.view.details()->scaleChip(0)->isTonic());

    s.clickSegment(6, false); // F♯ major: vii° is E♯°
    std::unique_ptr<QMenu> menu(s.view.details()->chordTile(6)->createContextMenu(nullptr));
    ASSERT_TRUE(menu);
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions()[0]->text(), QStringLiteral("Copy E#°"));
    menu->actions()[0]->trigger();
    EXPECT_EQ(clipboard->text(), QStringLiteral("E#°"));
    EXPECT_TRUE(s.state.progression().empty()) << "copying adds nothing";
    EXPECT_FALSE(s.view.progressionPanel()->chips().value(0));
}

TEST(HarmonyView, PlaybackLoopsAndFollowsEditsWhilePlaying) {
    HarmonyScreen s;
    ProgressionPanel* panel = s.view.progressionPanel();
    s.view.startPlayback(); // empty: nothing happens
    EXPECT_FALSE(s.state.progressionPlaying());
    EXPECT_FALSE(panel->playButton()->isEnabled());

    s.state.setBpm(90);
    s.state.setProgression({0, 3, 4});
    QTest::mouseClick(panel->playButton(), Qt::LeftButton);
    EXPECT_TRUE(s.state.progressionPlaying());
    EXPECT_EQ(s.state.playingStep(), 0);
    EXPECT_EQ(s.view.timerIntervalMs(), 1333); // 120 / 90 s
    EXPECT_EQ(panel->playButton()->text(), QStringLiteral("Stop"));
    EXPECT_TRUE(panel->chips()[0]->isHighlighted());

    s.view.advancePlayback();
    s.view.advancePlayback();
    EXPECT_EQ(s.state.playingStep(), 2);
    EXPECT_TRUE(panel->chips()[2]->isHighlighted());
    // Removing the sounding chip leaves the step; the next is (2 + 1) mod 2.
    QTest::mouseClick(panel->chips()[2], Qt::LeftButton);
    EXPECT_EQ(s.state.progression(), (Degrees{0, 3}));
    EXPECT_EQ(s.state.playingStep(), 2);
    s.view.advancePlayback();
    EXPECT_EQ(s.state.playingStep(), 1);

    // A preset replaces the loop without stopping it.
    panel->presetsButton()->menu()->actions().at(2)->trigger(); // "ii–V–I"
    EXPECT_EQ(s.state.progression(), (Degrees{1, 4, 0}));
    EXPECT_TRUE(s.state.progressionPlaying());
    s.view.advancePlayback();
    EXPECT_EQ(s.state.playingStep(), 2);

    s.view.hide(); // leaving the tool stops the player
    EXPECT_FALSE(s.state.progressionPlaying());
    EXPECT_FALSE(s.state.playingStep());
    EXPECT_FALSE(s.view.isTimerRunning());
    EXPECT_EQ(s.state.progression(), (Degrees{1, 4, 0})) << "the loop outlives the screen";
}

TEST(HarmonyView, StoppingRules) {
    HarmonyScreen s({0, true});
    ProgressionPanel* panel = s.view.progressionPanel();
    const QStringList presetNames = [&] {
        QStringList names;
        for (const QAction* action : panel->presetsButton()->menu()->actions())
            names << action->text();
        return names;
    }();
    EXPECT_EQ(presetNames, (QStringList{QStringLiteral("i–VI–III–VII"), QStringLiteral("i–iv–v–i"),
                                        QStringLiteral("i–VII–VI–v"), QStringLiteral("ii°–v–i")}));

    // Removing the only step stops and clears the highlight.
    s.view.tapDegree(0);
    s.view.startPlayback();
    s.view.advancePlayback(); // one chord re-strikes
    EXPECT_EQ(s.state.playingStep(), 0);
    s.view.removeStep(0);
    EXPECT_FALSE(s.state.progressionPlaying());
    EXPECT_FALSE(s.state.playingStep());
    EXPECT_EQ(panel->emptyText(), QStringLiteral("Tap chords above to build a loop"));

    // A firing that finds the loop emptied elsewhere stops too.
    s.state.setProgression({2});
    s.view.startPlayback();
    s.state.setProgression({});
    s.view.advancePlayback();
    EXPECT_FALSE(s.state.progressionPlaying());

    // Clear stops and empties; the tempo note truncates.
    s.state.setProgression({1, 2});
    s.view.startPlayback();
    s.state.setBpm(97.8);
    EXPECT_EQ(panel->tempoNote(), QStringLiteral("97 BPM · 2 beats/chord"));
    QTest::mouseClick(panel->clearButton(), Qt::LeftButton);
    EXPECT_TRUE(s.state.progression().empty());
    EXPECT_FALSE(s.state.progressionPlaying());
    EXPECT_FALSE(panel->clearButton()->isEnabled());
    EXPECT_EQ(panel->playButton()->text(), QStringLiteral("Play"));
}

} // namespace
} // namespace quorlen
