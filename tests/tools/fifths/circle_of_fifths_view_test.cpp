#include "state/calculator_state.h"
#include "support/recording_synthesiser.h"
#include "support/wait.h"
#include "tools/fifths/chord_tile.h"
#include "tools/fifths/circle_of_fifths_view.h"
#include "tools/fifths/fifths_wheel.h"
#include "tools/fifths/key_detail_panel.h"
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
    testing::RecordingSynthesiser synthesiser;
    CircleOfFifthsView view;
    std::vector<testing::RecordingSynthesiser::Triad>& played = synthesiser.triads;

    explicit HarmonyScreen(harmony::KeySelection key = {})
        : view(state, QColor(178, 34, 34), key, synthesiser) {
        view.resize(960, 1100);
        view.show();
        QApplication::setActiveWindow(&view);
    }
    void clickSegment(int index, bool minor) {
        FifthsWheel* wheel = view.wheel();
        QTest::mouseClick(wheel, Qt::LeftButton, {}, wheel->segmentCentre(index, minor).toPoint());
    }
};

TEST(CircleOfFifthsView, ClickingASegmentAndAChordGrowsTheProgression) {
    HarmonyScreen s;
    QSignalSpy selected(&s.view, &CircleOfFifthsView::selectionChanged);
    s.clickSegment(3, false); // A major: A3 = 220 Hz
    ASSERT_EQ(s.played.size(), 1u);
    EXPECT_EQ(s.played[0].rootHz, 220.0);
    EXPECT_EQ(s.view.selection(), (harmony::KeySelection{3, false}));
    ASSERT_EQ(selected.count(), 1);
    // The names are the core's; the header and the details follow the key.
    EXPECT_EQ(s.view.header()->tiles()[2]->metric().value, QStringLiteral("F♯m"));
    EXPECT_EQ(s.view.details()->signatureNotes(), QStringLiteral("F♯  C♯  G♯"));

    s.played.clear();
    QTest::mouseClick(s.view.details()->chordTile(4), Qt::LeftButton);             // E
    QTest::mouseClick(s.view.progressionPanel()->degreeButton(5), Qt::LeftButton); // F♯m
    // Roots wrap into C3…B3: F♯3 = 440 × 2^(−15/12).
    ASSERT_EQ(s.played.size(), 2u);
    EXPECT_NEAR(s.played[1].rootHz, 184.997, 1e-3);
    EXPECT_EQ(s.played[1].quality, harmony::TriadQuality::minor);
    EXPECT_EQ(s.state.progression(), (Degrees{4, 5}));

    // The loop keeps degrees: a new key renames its chips.
    s.clickSegment(0, true); // Am
    EXPECT_EQ(s.view.progressionPanel()->chips()[1]->name(), QStringLiteral("F"));
    // Clicking the selected segment again plays it but changes nothing.
    s.played.clear();
    s.clickSegment(0, true);
    EXPECT_EQ(selected.count(), 2);
    ASSERT_EQ(s.played.size(), 1u);
}

TEST(CircleOfFifthsView, ClipboardTextIsSpelledInAscii) {
    HarmonyScreen s({6, true}); // D♯ minor
    QClipboard* clipboard = QGuiApplication::clipboard();
    QTest::mouseClick(s.view.header()->tiles()[0], Qt::LeftButton);
    EXPECT_EQ(clipboard->text(), QStringLiteral("D#m"));

    s.clickSegment(6, false); // F♯ major: vii° is E♯°
    std::unique_ptr<QMenu> menu(s.view.details()->chordTile(6)->createContextMenu(nullptr));
    ASSERT_TRUE(menu);
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions()[0]->text(), QStringLiteral("Copy E#°"));
    s.played.clear();
    menu->actions()[0]->trigger();
    EXPECT_EQ(clipboard->text(), QStringLiteral("E#°"));
    EXPECT_TRUE(s.played.empty()) << "copying sounds nothing";
    EXPECT_TRUE(s.state.progression().empty()) << "copying adds nothing";
}

TEST(CircleOfFifthsView, PlaybackLoopsAndFollowsEditsWhilePlaying) {
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
    EXPECT_DOUBLE_EQ(s.view.stepSeconds(), 120.0 / 90.0); // not rounded to 1333 ms
    EXPECT_TRUE(panel->chips()[0]->isHighlighted());

    s.view.advancePlayback();
    s.view.advancePlayback();
    // Removing the sounding chip leaves the step (where the next one is, is
    // the core's rule).
    QTest::mouseClick(panel->chips()[2], Qt::LeftButton);
    EXPECT_EQ(s.state.progression(), (Degrees{0, 3}));
    EXPECT_EQ(s.state.playingStep(), 2);

    // A preset replaces the loop without stopping it.
    panel->presetsButton()->menu()->actions().at(2)->trigger(); // "ii–V–I"
    EXPECT_EQ(s.state.progression(), (Degrees{1, 4, 0}));
    EXPECT_TRUE(s.state.progressionPlaying());

    s.view.hide(); // leaving the tool stops the player
    EXPECT_FALSE(s.state.progressionPlaying());
    EXPECT_FALSE(s.view.isTimerRunning());
    EXPECT_EQ(s.state.progression(), (Degrees{1, 4, 0})) << "the loop outlives the screen";
}

TEST(CircleOfFifthsView, EachStepSoundsInTheKeySelectedWhenItSounds) {
    HarmonyScreen s;
    s.clickSegment(0, false); // C: 440 × 2^(−21/12) = 130.81 Hz
    ASSERT_EQ(s.played.size(), 1u);
    EXPECT_NEAR(s.played[0].rootHz, 130.813, 1e-3);

    s.state.setBpm(400); // 0.3 s a chord, 13230 frames
    s.state.setProgression({0, 6});
    s.view.startPlayback();
    ASSERT_EQ(s.played.size(), 2u) << "the first chord sounds at once";
    ASSERT_TRUE(testing::waitUntil([&] { return s.played.size() == 3; }));
    EXPECT_NEAR(s.played[1].rootHz, 130.813, 1e-3);
    EXPECT_NEAR(s.played[2].rootHz, 246.942, 1e-3); // B°: B3 = 246.94 Hz
    EXPECT_EQ(s.played[2].quality, harmony::TriadQuality::diminished);
    EXPECT_EQ(s.played[2].dueFrame - s.played[1].dueFrame, 13230);

    s.clickSegment(0, true); // Am mid-loop: the tonic sounds, degree 0 is now Am
    s.state.setA4(432);
    ASSERT_TRUE(testing::waitUntil([&] { return s.played.size() == 5; }));
    EXPECT_EQ(s.played[3].rootHz, 220.0);
    EXPECT_EQ(s.played[4].rootHz, 216.0); // A3 at A4 = 432
    EXPECT_TRUE(testing::waitUntil([&] { return s.state.playingStep() == 0; }))
        << "the chip lights once its chord is due";
}

TEST(CircleOfFifthsView, StoppingRules) {
    HarmonyScreen s({0, true});
    ProgressionPanel* panel = s.view.progressionPanel();
    // In a minor key the presets are the minor ones: the first is i–VI–III–VII.
    panel->presetsButton()->menu()->actions().at(0)->trigger();
    EXPECT_EQ(s.state.progression(), (Degrees{0, 5, 2, 6}));
    s.state.setProgression({});

    // Removing the only step stops and clears the highlight.
    s.view.tapDegree(0);
    s.view.startPlayback();
    s.view.removeStep(0);
    EXPECT_FALSE(s.state.progressionPlaying());
    EXPECT_FALSE(s.state.playingStep());

    // A firing that finds the loop emptied elsewhere stops too.
    s.state.setProgression({2});
    s.view.startPlayback();
    s.state.setProgression({});
    s.view.advancePlayback();
    EXPECT_FALSE(s.state.progressionPlaying());

    // Clear stops and empties; the tempo note follows the shared tempo.
    s.state.setProgression({1, 2});
    s.view.startPlayback();
    s.state.setBpm(97.8);
    EXPECT_EQ(panel->tempoNote(), QStringLiteral("97 BPM · 2 beats/chord"));
    QTest::mouseClick(panel->clearButton(), Qt::LeftButton);
    EXPECT_TRUE(s.state.progression().empty());
    EXPECT_FALSE(s.state.progressionPlaying());
    EXPECT_EQ(panel->playButton()->text(), QStringLiteral("Play"));
}

} // namespace
} // namespace quorlen
