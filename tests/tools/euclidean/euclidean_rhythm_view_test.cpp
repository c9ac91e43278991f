#include "audio/chord_player.h"
#include "audio/fake_audio_backend.h"
#include "state/calculator_state.h"
#include "support/wait.h"
#include "tools/euclidean/euclid_playback.h"
#include "tools/euclidean/euclid_wheel.h"
#include "tools/euclidean/euclidean_rhythm_view.h"
#include "ui/kit_button.h"
#include "ui/segmented_picker.h"
#include "ui/stepper.h"
#include "ui/theme.h"
#include "ui/tool_header.h"

#include <QLabel>
#include <QMenu>
#include <QTest>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace quorlen {
namespace {

// A rhythm screen on its own state, sounding into a fake output.
struct Screen {
    // In real time a thread pulls the output, so the audio clock the clicks
    // are placed on moves; otherwise the test pulls it.
    explicit Screen(bool realTime = true) {
        auto backend = std::make_unique<testing::FakeAudioBackend>(realTime);
        output = backend.get();
        player = std::make_unique<ChordPlayer>(std::move(backend));
        view = std::make_unique<EuclideanRhythmView>(state, QuorlenTheme::fern(), *player);
        view->resize(760, 640);
        view->show();
    }
    template <typename T> T* find(const char* name) const {
        T* widget = view->findChild<T*>(QString::fromLatin1(name));
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }
    QString label(const char* name) const { return find<QLabel>(name)->text(); }
    void pickNote(int segment) {
        auto* picker = find<SegmentedPicker>("euclidNotePicker");
        QTest::mouseClick(picker, Qt::LeftButton, {}, picker->segmentRect(segment).center());
    }
    Metric metric(int tile) const { return view->header()->tiles()[tile]->metric(); }
    QStringList metricValues() const { return {metric(0).value, metric(1).value, metric(2).value}; }
    // Sounds requested so far (each takes the next of 16 voices).
    int soundsModulo16() const { return player->nextPlayer(); }

    CalculatorState state;
    testing::FakeAudioBackend* output;
    std::unique_ptr<ChordPlayer> player;
    std::unique_ptr<EuclideanRhythmView> view;
};

TEST(EuclideanRhythmView, HeaderAndWheelFollowPatternTempoAndNote) {
    Screen screen;
    // 120 BPM in sixteenths: 125 ms a step, 8 steps 1000 ms; the pattern
    // has nothing to copy.
    EXPECT_EQ(screen.metricValues(), (QStringList{"E(3,8)", "125 ms", "1000 ms"}));
    EXPECT_FALSE(screen.metric(0).copy.has_value());
    EXPECT_EQ(*screen.metric(1).copy, QStringLiteral("125.0"));
    EXPECT_EQ(screen.find<EuclidWheel>("euclidWheel")->subtitle(),
              QStringLiteral("1/16 · 125.0 ms"));

    // 1/4 at 98.7 BPM is a 607.9 ms step, 8 of them 4863 ms; the note
    // reads 98.
    screen.pickNote(0);
    screen.state.setBpm(98.7);
    EXPECT_EQ(screen.state.euclidNote(), 4);
    EXPECT_EQ(screen.metric(1).label, QStringLiteral("Step 1/4"));
    EXPECT_EQ(screen.metricValues(), (QStringList{"E(3,8)", "608 ms", "4863 ms"}));
    EXPECT_EQ(screen.label("euclidTempoSource"), QStringLiteral("98 BPM from the Tempo tab"));
}

TEST(EuclideanRhythmView, SteppersAndPresetsSetThePatternAndNoPulsesDisablePlay) {
    Screen screen;
    // Fewer steps pull pulses and rotation in with them (the rule is the
    // core's; the labels must follow).
    screen.state.setEuclidSteps(12);
    screen.state.setEuclidPulses(7);
    screen.state.setEuclidRotation(9);
    auto* steps = screen.find<Stepper>("euclidStepsStepper");
    for (int i = 0; i < 7; ++i) // on its − half
        QTest::mouseClick(steps, Qt::LeftButton, {},
                          QPoint(steps->width() / 4, steps->height() / 2));
    EXPECT_EQ(screen.state.euclidSteps(), 5);
    EXPECT_EQ(screen.label("euclidPulsesValue"), QStringLiteral("5"));
    EXPECT_EQ(screen.label("euclidRotationValue"), QStringLiteral("4"));
    auto* pulses = screen.find<Stepper>("euclidPulsesStepper");
    QTest::mouseClick(pulses, Qt::LeftButton, {}, QPoint(pulses->width() * 3 / 4, 5)); // its + half
    EXPECT_EQ(screen.state.euclidPulses(), 5) << "no more pulses than steps";

    const auto actions = screen.find<KitButton>("euclidPresets")->menu()->actions();
    ASSERT_EQ(actions.size(), 4);
    actions[2]->trigger(); // Bembé
    EXPECT_EQ(screen.state.euclidPulses(), 7);
    EXPECT_EQ(screen.state.euclidSteps(), 12);
    EXPECT_EQ(screen.state.euclidRotation(), 0);
    EXPECT_EQ(screen.find<EuclidWheel>("euclidWheel")->title(), QStringLiteral("E(7,12)"));

    auto* play = screen.find<KitButton>("euclidPlayButton");
    EXPECT_TRUE(play->isEnabled());
    screen.state.setEuclidPulses(0);
    EXPECT_FALSE(play->isEnabled());
}

TEST(EuclideanRhythmView, PlaysFromStepZeroAndWrapsAroundTheCycle) {
    Screen screen;
    screen.state.setBpm(400); // 37.5 ms sixteenths, a 300 ms cycle
    auto* play = screen.find<KitButton>("euclidPlayButton");
    QTest::mouseClick(play, Qt::LeftButton);
    // Step 0 sounds at once, before any timer fires.
    EXPECT_TRUE(screen.state.euclidPlaying());
    EXPECT_EQ(screen.state.euclidStep(), 0);
    EXPECT_GE(screen.soundsModulo16(), 1);
    EXPECT_EQ(play->text(), QStringLiteral("Stop"));

    auto* wheel = screen.find<EuclidWheel>("euclidWheel");
    ASSERT_TRUE(testing::waitUntil([&] { return screen.state.euclidStep() == 7; }));
    EXPECT_EQ(wheel->currentStep(), 7);
    ASSERT_TRUE(testing::waitUntil([&] { return screen.state.euclidStep() == 0; }));

    // A preset keeps playing; a new note value restarts from step 0.
    ASSERT_TRUE(testing::waitUntil([&] { return screen.state.euclidStep() >= 3; }));
    screen.find<KitButton>("euclidPresets")->menu()->actions()[3]->trigger(); // E(5,16)
    EXPECT_TRUE(screen.state.euclidPlaying());
    EXPECT_GE(screen.state.euclidStep().value_or(-1), 3);
    screen.pickNote(1);
    EXPECT_TRUE(screen.view->playback().isRunning());
    EXPECT_EQ(screen.state.euclidStep(), 0);

    QTest::mouseClick(play, Qt::LeftButton);
    EXPECT_FALSE(screen.state.euclidPlaying());
    EXPECT_EQ(wheel->currentStep(), std::nullopt);
    EXPECT_EQ(play->text(), QStringLiteral("Play"));
}

TEST(EuclidPlayback, HitsAndRestsSoundDifferentlyAndStepsBeyondThePatternAreSilent) {
    // Tick k of E(1,2) = "x.": step 0 plays the hit click, step 1 the rest
    // click; a step past the end plays nothing.
    Screen screen(false);
    screen.state.setEuclidSteps(2);
    screen.state.setEuclidPulses(1);
    EuclidPlayback& playback = screen.view->playback();
    playback.tick(0);
    playback.tick(1);
    playback.tick(2);
    EXPECT_EQ(screen.soundsModulo16(), 2);
    const auto block = screen.output->pull(200);
    // At frame 100 the hit (1760 Hz, 0.55) and the rest (1175 Hz, 0.16)
    // are both sounding; their sum × 0.9 is what the output holds.
    const float expected =
        0.9f * (synth::makeTickBuffer(1760, 0.55f)[100] + synth::makeTickBuffer(1175, 0.16f)[100]);
    EXPECT_NEAR(block[200], expected, 1e-6f);
}

TEST(EuclidPlayback, ClicksLandOnTheGridToTheSampleInTheMix) {
    // E(3,8) at 120 BPM in sixteenths: a step is 5512.5 frames, so click k
    // starts llround(k × 5512.5) frames after the first, whatever the
    // timer's jitter; the output is pulled in 256-frame blocks, so a click
    // started at a block boundary would be up to 255 frames off.
    Screen screen;
    screen.view->playback().start();
    ASSERT_TRUE(testing::waitUntil(
        [&] { return screen.state.euclidStep() == 0 && screen.soundsModulo16() >= 9; }, 5000));
    screen.view->playback().stop();
    screen.output->pause();

    // A click rises from 0, so its onset is the first non-zero frame after
    // at least 1000 silent ones.
    std::vector<long> onsets;
    int silent = 1000;
    for (size_t i = 0; i < screen.output->recordedLeft.size(); ++i) {
        const bool sounding = screen.output->recordedLeft[i] != 0.0f;
        if (sounding && silent >= 1000)
            onsets.push_back(static_cast<long>(i));
        silent = sounding ? 0 : silent + 1;
    }
    ASSERT_GE(onsets.size(), 8u);
    for (size_t k = 1; k < onsets.size(); ++k)
        EXPECT_EQ(onsets[k] - onsets[0], std::llround(static_cast<double>(k) * 5512.5)) << k;
}

} // namespace
} // namespace quorlen
