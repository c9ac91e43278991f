#include "app/appearance.h"
#include "app/content_view.h"
#include "app/octave_picker.h"
#include "app/preferences.h"
#include "app/settings_dialog.h"
#include "app/sidebar.h"
#include "detect_rig.h"
#include "key/key_text.h"
#include "key_signals.h"
#include "support/print_qstring.h"
#include "tags/tag_writer.h"
#include "tempo_detection/chroma_strip.h"
#include "tempo_detection/confidence_bar.h"
#include "tempo_detection/drop_zone.h"
#include "tempo_detection/tempo_detect_panel.h"
#include "tempo_detection/waveform_grid.h"
#include "text/failure_texts.h"
#include "tools/fifths/circle_of_fifths_view.h"
#include "tools/tempo/subdivision_matrix.h"
#include "tools/tempo/tempo_view.h"
#include "ui/copyable_value.h"
#include "ui/formula_strip.h"
#include "ui/kit_button.h"
#include "ui/scheme_label.h"
#include "ui/theme.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QFileDialog>
#include <QMimeData>
#include <QPointer>
#include <QSpinBox>
#include <QTest>
#include <QUrl>
#include <QWheelEvent>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorlen {
namespace {

using namespace quorlen::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Key;

template <typename T> T* child(QWidget* parent, const char* name) {
    return parent->findChild<T*>(QLatin1String(name));
}

// A real drop: enter, then drop, as the window system delivers them.
bool drop(QWidget* target, const QMimeData& data) {
    const QPoint at = target->rect().center();
    QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    if (!enter.isAccepted())
        return false;
    QDropEvent dropped(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &dropped);
    return dropped.isAccepted();
}

// The real window on the tempo tool, and beside it four bars of clicks at
// 128 BPM accented on every bar with a kick: a loop of 7.5 s whose length
// fits 4 bars exactly; an F♯ minor cadence 14 cents flat; and plain clicks.
class Window : public ::testing::Test {
protected:
    void SetUp() override {
        key::testing::Chords chords = key::testing::aMinorCadence();
        for (auto& chord : chords.notes)
            for (int& note : chord)
                note -= 3; // A minor down a minor third: F♯ minor
        chords.cents = -14.0;
        chords.rateHz = 44100.0;
        const std::pair<const char*, std::vector<float>> files[] = {
            {"loop128.wav",
             generated::clickTrain({.bpm = 128, .seconds = 7.5, .accentEvery = 4, .kickHz = 60})},
            {"fsm.wav", key::testing::chordSequence(chords)},
            {"clicks.wav", generated::clickTrain({.bpm = 120, .seconds = 8, .kickHz = 60})}};
        for (const auto& [name, samples] : files)
            ASSERT_TRUE(generated::writeSound(dir.file(name), samples, 1, 44100,
                                              SF_FORMAT_WAV | SF_FORMAT_PCM_16));
        Preferences().setFifthsSelectedIndex(0);
        Preferences().setFifthsMinorSelected(false);
        content.resize(1100, 1400);
        content.show();
        openPanel();
    }
    void openPanel() {
        view = qobject_cast<TempoView*>(content.toolView());
        ASSERT_NE(view, nullptr);
        panel = view->detectPanel();
    }
    template <typename T> T* find(const char* name) { return child<T>(panel, name); }
    bool analyse(const char* name) {
        panel->analyse(QString::fromStdString(dir.file(name).string()));
        return analysed();
    }
    bool analysed() {
        return waitUntil([&] { return !content.detection().isAnalysing(); }, 20000);
    }
    QString shownTempo() { return find<CopyableText>("detectedTempo")->display(); }
    QString note() { return find<SchemeLabel>("detectionNote")->text(); }
    QString copied(const char* name) {
        QTest::mouseClick(find<CopyableText>(name), Qt::LeftButton);
        return QGuiApplication::clipboard()->text();
    }

    generated::TempDir dir;
    ContentView content{QStringLiteral("bpm")};
    TempoView* view = nullptr;
    QPointer<TempoDetectPanel> panel;
};

// A person drops a loop, checks the delay times for it meanwhile, and comes
// back to the analysis: it finished without its panel and is shown, and its
// tempo can be used.
TEST_F(Window, ADroppedLoopIsAnalysedWhileAwayAndItsTempoUsed) {
    auto* zone = find<DropZone>("dropZone");
    EXPECT_TRUE(zone->showsSymbol());
    EXPECT_FALSE(find<QWidget>("detectionResults")->isVisible());
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QString::fromStdString(dir.file("loop128.wav").string()))});
    ASSERT_TRUE(drop(zone, data));
    EXPECT_EQ(zone->heading(), "Analysing loop128.wav…");
    EXPECT_FALSE(zone->showsSymbol());
    ASSERT_TRUE(content.detection().isAnalysing());
    content.showTool(CalculatorTool::space);
    EXPECT_TRUE(waitUntil([&] { return panel.isNull(); }));
    ASSERT_TRUE(analysed());
    for (const CalculatorTool away :
         {CalculatorTool::bpm, CalculatorTool::harmony, CalculatorTool::bpm})
        content.showTool(away);
    ASSERT_NO_FATAL_FAILURE(openPanel());
    EXPECT_EQ(find<DropZone>("dropZone")->heading(), "Drop another file");
    EXPECT_TRUE(find<QWidget>("detectionResults")->isVisible());
    EXPECT_EQ(shownTempo(), "128");
    EXPECT_EQ(find<KitButton>("halveButton")->text(), "÷2 → 64");
    EXPECT_TRUE(note().startsWith("loop128.wav · 7.5 s · file length fits exactly 4 bars"))
        << note().toStdString();
    QTest::mouseClick(find<KitButton>("useBpmButton"), Qt::LeftButton);
    EXPECT_EQ(content.state().bpm(), 128);
    // 60000 / 128 = 468.75 ms a quarter, in the tempo table and the sidebar.
    EXPECT_EQ(view->matrix()->row(QStringLiteral("1/4"))->straightCell()->display(), "468.75 ms");
    EXPECT_EQ(content.sidebar()->summaryStrip()->text(), "A4 = 440 Hz\n128 BPM = 468.8 ms");
}

// The setting reaches the window's analysis: the range 40-80 folds 128 to
// 64, the 16 beats of the loop become 8; "As analysed" brings it back.
TEST_F(Window, TheTempoDetectionSettingRefoldsTheShownResult) {
    ASSERT_TRUE(analyse("loop128.wav"));
    AppearanceController appearance;
    SettingsDialog settings(appearance, content.octaveSetting());
    OctavePicker* picker = settings.octavePicker();
    picker->lowBound()->setValue(40);
    picker->highBound()->setValue(80);
    picker->choice()->setCurrentIndex(2);
    ASSERT_FALSE(panel->model().isAnalysing()) << "a new mode re-estimates the shown result";
    EXPECT_EQ(shownTempo(), "64");
    EXPECT_TRUE(note().contains("file length fits exactly 2 bars")) << note().toStdString();
    picker->choice()->setCurrentIndex(0);
    ASSERT_TRUE(analysed());
    EXPECT_EQ(shownTempo(), "128");
    Preferences().setTempoOctave(detection::OctaveMode::classic());
}

TEST_F(Window, TheKeyAndTuningShowCopyAndGoToTheWheelAndA4) {
    ASSERT_TRUE(analyse("fsm.wav"));
    ASSERT_TRUE(find<QWidget>("detectedKeyRow")->isVisible());
    EXPECT_FALSE(find<SchemeLabel>("noKeyNote")->isVisible());
    const key::KeyEstimate& estimate = *content.detection().result()->key;
    ASSERT_TRUE(estimate.tuningCents);
    EXPECT_NEAR(*estimate.tuningCents, -14.0, 3.0);
    const QString cents = QString::fromStdString(key::centsText(*estimate.tuningCents));
    const QString a4 = QString::fromStdString(key::a4Text(*estimate.tuningCents));
    EXPECT_EQ(find<ChromaStrip>("chromaStrip")->chroma(), estimate.chroma);
    EXPECT_EQ(find<ChromaStrip>("chromaStrip")->profile(), estimate.profile);
    // Every value shows as written and copies as the clipboard spells it.
    const std::tuple<const char*, QString, QString> values[] = {
        {"detectedKey", "F♯m", "F#m"},
        {"detectedCamelot", "11A", "11A"},
        {"detectedTuning", cents + " cents", cents},
        {"detectedA4", "A4 " + a4 + " Hz", a4},
    };
    for (const auto& [name, display, copy] : values) {
        EXPECT_EQ(find<CopyableText>(name)->display(), display);
        EXPECT_EQ(copied(name), copy);
    }
    const QString confidence = find<CopyableText>("detectedKeyConfidence")->display();
    EXPECT_TRUE(confidence.endsWith('%'));
    EXPECT_EQ(copied("detectedKeyConfidence") + "%", confidence);

    QTest::mouseClick(find<KitButton>("useA4Button"), Qt::LeftButton);
    EXPECT_DOUBLE_EQ(content.state().a4(), a4.toDouble());
    EXPECT_EQ(content.state().a4Text(), QString::number(a4.toDouble(), 'f', 1))
        << "the A4 field's one decimal";
    QTest::mouseClick(find<KitButton>("useKeyButton"), Qt::LeftButton);
    content.showTool(CalculatorTool::harmony);
    auto* wheel = qobject_cast<CircleOfFifthsView*>(content.toolView());
    ASSERT_NE(wheel, nullptr);
    EXPECT_EQ(wheel->selection(), (harmony::KeySelection{3, true})) << "F♯m on the inner ring";
}

TEST_F(Window, DrumsShowThatThereIsNoKey) {
    ASSERT_TRUE(analyse("clicks.wav"));
    ASSERT_TRUE(find<QWidget>("detectedKeyRow")->isVisible());
    EXPECT_EQ(find<CopyableText>("detectedKey")->display(), "None");
    EXPECT_EQ(find<SchemeLabel>("noKeyNote")->text(), "no tonal content");
    EXPECT_TRUE(find<SchemeLabel>("noKeyNote")->isVisible());
    EXPECT_FALSE(find<CopyableText>("detectedCamelot")->isVisible());
    EXPECT_FALSE(find<ChromaStrip>("chromaStrip")->isVisible());
    EXPECT_FALSE(find<KitButton>("useKeyButton")->isEnabled());
    EXPECT_FALSE(find<KitButton>("useA4Button")->isEnabled());
}

TEST(ChromaStrip, BarsShareTheWidthAndGrowFromTheNamesLine) {
    const QSizeF size(240, 63); // 50 points of bars over a 13-point line of names
    EXPECT_EQ(ChromaStrip::barRect(0, 1.0, size), QRectF(1.5, 0, 17, 50));
    EXPECT_EQ(ChromaStrip::barRect(11, 0.5, size), QRectF(221.5, 25, 17, 25));
    EXPECT_EQ(ChromaStrip::barRect(3, 2.0, size), ChromaStrip::barRect(3, 1.0, size)) << "clipped";
    EXPECT_EQ(ChromaStrip::barRect(3, -1.0, size).height(), 0.0);
}

// A panel over a model whose analyses the test decides, and a silent output.
struct PanelRig : DetectRig {
    explicit PanelRig(std::function<detection::Analysis()> answer)
        : DetectRig(answering(std::move(answer))) {
        panel = std::make_unique<TempoDetectPanel>(state, *model);
        panel->resize(700, 400);
        panel->show();
    }
    template <typename T> T* find(const char* name) { return child<T>(panel.get(), name); }
    void click(const char* button) { QTest::mouseClick(find<KitButton>(button), Qt::LeftButton); }
    QString note() { return find<SchemeLabel>("detectionNote")->text(); }
    // The alternative buttons by their labels.
    std::map<QString, KitButton*> alternatives() {
        std::map<QString, KitButton*> buttons;
        for (auto* button : panel->findChildren<KitButton*>(QStringLiteral("alternativeButton")))
            buttons[button->text()] = button;
        return buttons;
    }

    CalculatorState state;
    std::unique_ptr<TempoDetectPanel> panel;
};

TEST(TempoDetectPanel, ButtonsFollowTheRangeAndUseRoundsToCents) {
    struct Case {
        double bpm;
        bool canHalve, canDouble;
        double used; // round(bpm × 100) / 100, clamped to 20 ... 400
    };
    const Case cases[] = {
        {127.934, true, true, 127.93},
        {30, false, true, 30},   // ÷2 → 15 < 20
        {240, true, false, 240}, // ×2 → 480 > 400
        {40, true, true, 40},    // ÷2 → 20 is allowed
    };
    for (const Case& c : cases) {
        PanelRig rig([&] { return analysisAt(c.bpm); });
        ASSERT_TRUE(rig.analyse());
        EXPECT_EQ(rig.find<KitButton>("halveButton")->isEnabled(), c.canHalve) << c.bpm;
        EXPECT_EQ(rig.find<KitButton>("doubleButton")->isEnabled(), c.canDouble) << c.bpm;
        rig.click("useBpmButton");
        EXPECT_EQ(rig.state.bpm(), c.used);
    }
}

// The clicks a preview from the start plays over a silent file: their
// frames from the first, and whether each is accented (the louder sound).
std::vector<std::pair<int, bool>> clicksOfPreview(PanelRig& rig, int frames) {
    rig.model->startPreview();
    const std::vector<float> left = rig.pullLeft(frames);
    rig.model->stopPreview();
    EXPECT_TRUE(waitUntil([&] { return !rig.player().isPlaying(); }));
    std::vector<std::pair<int, bool>> clicks;
    for (int i = 0; i < int(left.size()); ++i) {
        if (left[size_t(i)] == 0)
            continue;
        const float peak =
            *std::max_element(left.begin() + i, left.begin() + std::min(i + 400, int(left.size())));
        clicks.emplace_back(i, peak > 0.4f);
        i += 4000;
    }
    for (auto it = clicks.rbegin(); it != clicks.rend(); ++it)
        it->first -= clicks.front().first;
    return clicks;
}

TEST(TempoDetectPanel, AlternativesAndTheClickToggleFromTheKeyboardPlayTheGridShown) {
    PanelRig rig([] {
        detection::Analysis analysis = analysisAt(120);
        analysis.estimate.alternatives = {60, 180};
        analysis.estimate.candidates = {{120, 0.6}, {90, 0.3}, {60, 0.1}};
        return analysis;
    });
    ASSERT_TRUE(rig.analyse(rig.write("silence.wav", std::vector<float>(3 * 44100, 0.0f))));
    // The shown tempo and a repeated one get no button.
    EXPECT_THAT(rig.alternatives(), ElementsAre(Key("180 BPM"), Key("60 BPM"), Key("90 BPM")));
    EXPECT_FALSE(rig.note().contains("also plausible"));
    KitButton* ninety = rig.alternatives().at(QStringLiteral("90 BPM"));
    EXPECT_EQ(ninety->accessibleName(), "Show 90 BPM");
    auto* click = rig.find<KitButton>("clickButton");
    ASSERT_NE(click, nullptr);
    EXPECT_EQ(click->text(), "Click");
    EXPECT_TRUE(click->focusPolicy() & Qt::TabFocus);
    click->setFocus();
    QTest::keyClick(click, Qt::Key_Return); // Space taps the tempo here
    EXPECT_TRUE(click->isChecked());
    EXPECT_TRUE(rig.player().isClickOn());

    using Clicks = std::vector<std::pair<int, bool>>;
    // 120 BPM, bars from beat 0: a beat every 22050 frames.
    EXPECT_EQ(clicksOfPreview(rig, 5292 + 70000),
              (Clicks{{0, true}, {22050, false}, {44100, false}, {66150, false}}));
    // ÷2: one a second, every other bar line kept.
    rig.click("halveButton");
    EXPECT_EQ(clicksOfPreview(rig, 5292 + 100000),
              (Clicks{{0, true}, {44100, false}, {88200, false}}));
    // The alternative shown: 90 BPM, and now 120 is one of the others.
    QTest::mouseClick(rig.alternatives().at(QStringLiteral("90 BPM")), Qt::LeftButton);
    EXPECT_EQ(rig.find<CopyableText>("detectedTempo")->display(), "90");
    EXPECT_THAT(rig.alternatives(), Contains(Key("120 BPM")));
    EXPECT_EQ(clicksOfPreview(rig, 5292 + 70000),
              (Clicks{{0, true}, {29400, false}, {58800, false}}));
    QTest::keyClick(click, Qt::Key_Return);
    EXPECT_TRUE(clicksOfPreview(rig, 5292 + 30000).empty()) << "off again";
}

TEST(TempoDetectPanel, AFailureShowsItsSentenceUnderTheHeadingAndKeepsTheResult) {
    bool fail = false;
    PanelRig rig([&]() -> detection::Analysis {
        if (fail)
            throw detection::Failure::tooShort();
        return analysisAt(120, 0.449);
    });
    ASSERT_TRUE(rig.analyse());
    // 0.449 is Low, and rounds to 45 %.
    EXPECT_EQ(rig.find<CopyableText>("confidenceLabel")->display(), "Low · 45%");
    fail = true;
    ASSERT_TRUE(rig.analyse());
    auto* zone = rig.find<DropZone>("dropZone");
    EXPECT_EQ(zone->heading(), "Could not analyse that file");
    EXPECT_EQ(zone->line(), "File is too short to detect a tempo");
    EXPECT_TRUE(rig.find<QWidget>("detectionResults")->isVisible());
}

// "Save to file" writes the shown tempo into the analysed file, keeps a tag
// the file has until asked again, and says each time what it did.
TEST(TempoDetectPanel, SaveToFileWritesTheShownTempoAndSaysWhatItDid) {
    PanelRig rig([] { return analysisAt(127.934); });
    const auto clicks = generated::clickTrain({.bpm = 128, .seconds = 3, .rateHz = 44100});
    const std::string wav = rig.dir.file("take.wav").string();
    ASSERT_TRUE(generated::writeSound(wav, clicks, 1, 44100, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    ASSERT_TRUE(generated::writeSound(rig.dir.file("take.caf"), clicks, 1, 44100,
                                      SF_FORMAT_CAF | SF_FORMAT_PCM_16));
    ASSERT_TRUE(rig.analyse(wav));
    auto* save = rig.find<KitButton>("saveTagsButton");
    const auto clickAndWait = [&] {
        QTest::mouseClick(save, Qt::LeftButton);
        return waitUntil([&] { return !rig.model->isSavingTags(); });
    };
    EXPECT_EQ(save->text(), "Save to file");
    ASSERT_TRUE(clickAndWait());
    EXPECT_EQ(rig.note(), "take.wav · 30.0 s · saved 128 BPM to the file");
    EXPECT_EQ(tags::readTempoTags(wav).bpm, "128");

    // Halved, and saved again: the file keeps its 128 until the second click.
    rig.click("halveButton");
    EXPECT_FALSE(rig.note().contains("saved")) << "the note is about the tempo shown";
    ASSERT_TRUE(clickAndWait());
    EXPECT_TRUE(
        rig.note().contains(" · the file already says 128 BPM; \"Replace tag\" overwrites it"))
        << rig.note().toStdString();
    EXPECT_EQ(save->text(), "Replace tag");
    ASSERT_TRUE(clickAndWait());
    EXPECT_TRUE(rig.note().contains(" · saved 64 BPM to the file, replacing 128"))
        << rig.note().toStdString();
    EXPECT_EQ(tags::readTempoTags(wav).bpm, "64");
    EXPECT_EQ(save->text(), "Save to file");

    ASSERT_TRUE(rig.analyse(rig.dir.file("take.caf").string()));
    ASSERT_TRUE(clickAndWait());
    EXPECT_TRUE(rig.note().contains(QString(" · could not write tags: ") +
                                    text::failure::kUnsupportedContainer))
        << rig.note().toStdString();
}

TEST(TempoDetectPanel, ConfidenceBarColoursAndFill) {
    struct Case {
        double value, fraction;
        QColor colour;
    };
    const Case cases[] = {
        {0.7, 0.7, QuorlenTheme::fern()},        {0.45, 0.45, QuorlenTheme::saffron()},
        {0.449, 0.449, QuorlenTheme::lacquer()}, {-0.2, 0, QuorlenTheme::lacquer()},
        {1.3, 1, QuorlenTheme::fern()},
    };
    for (const Case& c : cases) {
        EXPECT_DOUBLE_EQ(ConfidenceBar::filledFraction(c.value), c.fraction) << c.value;
        EXPECT_EQ(ConfidenceBar::fillColor(c.value), c.colour) << c.value;
    }
}

TEST(TempoDetectPanel, AClickOnTheZoneAsksForAFileAndDropsWithoutAFileAreRefused) {
    PanelRig rig([] { return analysisAt(120); });
    auto* zone = rig.find<DropZone>("dropZone");
    QMimeData text;
    text.setText(QStringLiteral("120 BPM"));
    EXPECT_FALSE(drop(zone, text));
    EXPECT_FALSE(zone->isTargeted());
    EXPECT_EQ(zone->heading(), "Drop an audio file here");

    QTest::mouseClick(zone, Qt::LeftButton);
    QFileDialog* dialog = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        dialog = rig.find<QFileDialog>("audioFileDialog");
        return dialog && dialog->isVisible();
    }));
    EXPECT_EQ(dialog->fileMode(), QFileDialog::ExistingFile);
    EXPECT_TRUE(dialog->nameFilters().first().contains("*.wav"));
    dialog->reject();
    EXPECT_FALSE(rig.model->isAnalysing());
}

TEST(TempoDetectPanel, PreviewAndWaveformAnswerTheMouseAndTheKeyboard) {
    PanelRig rig([] { return analysisAt(120); }); // beats every 0.5 s from 0 of 30 s
    ASSERT_TRUE(rig.analyse(rig.write("tone.wav", generated::sine(440, 2.0, 44100))));
    auto* preview = rig.find<KitButton>("previewButton");
    auto* grid = rig.find<WaveformGrid>("waveformGrid");
    const auto playhead = [&] { return rig.model->playhead(); };
    EXPECT_EQ(preview->text(), "Preview");
    EXPECT_FALSE(rig.panel->isTickerRunning());
    QTest::mouseClick(preview, Qt::LeftButton);
    EXPECT_EQ(preview->text(), "Stop");
    EXPECT_TRUE(rig.panel->isTickerRunning());

    // A click on the waveform restarts from there: a quarter of 30 s.
    QTest::mouseClick(grid, Qt::LeftButton, {}, QPoint(grid->width() / 4, 10));
    ASSERT_TRUE(playhead());
    EXPECT_NEAR(*playhead(), 30.0 * (grid->width() / 4) / grid->width(), 1e-9);
    QTest::mouseClick(preview, Qt::LeftButton);
    EXPECT_EQ(preview->text(), "Preview");
    EXPECT_FALSE(playhead());
    EXPECT_FALSE(rig.panel->isTickerRunning());
    // Leaving the screen stops a preview too.
    QTest::mouseClick(preview, Qt::LeftButton);
    rig.panel->leave();
    EXPECT_FALSE(playhead());
    EXPECT_FALSE(rig.panel->isTickerRunning());

    // The arrows move the cursor by beats, Page Down by a bar; nothing plays.
    EXPECT_TRUE(grid->focusPolicy() & Qt::TabFocus);
    grid->setFocus(Qt::TabFocusReason);
    for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Right, Qt::Key_PageDown, Qt::Key_Left})
        QTest::keyClick(grid, key);
    EXPECT_DOUBLE_EQ(grid->cursor(), 2.5);
    EXPECT_FALSE(playhead());
    EXPECT_EQ(grid->accessibleName(), "Waveform, at 2.5 s of 30.0 s");
    // Space plays from it (and taps no tempo); the arrows then move the playback.
    QTest::keyClick(grid, Qt::Key_Space);
    EXPECT_EQ(playhead(), 2.5);
    QTest::keyClick(grid, Qt::Key_Right);
    EXPECT_EQ(playhead(), 3.0);
    QTest::keyClick(grid, Qt::Key_End);
    EXPECT_DOUBLE_EQ(grid->cursor(), 30.0);

    // + zooms about the cursor; Home then brings the view back to the start.
    QTest::keyClick(grid, Qt::Key_Plus);
    QTest::keyClick(grid, Qt::Key_Plus);
    EXPECT_EQ(grid->view(), (detection::TimeView{22.5, 7.5}));
    QTest::keyClick(grid, Qt::Key_Home);
    EXPECT_EQ(grid->view(), (detection::TimeView{0, 7.5}));
    QTest::keyClick(grid, Qt::Key_Minus);
    EXPECT_EQ(grid->view(), (detection::TimeView{0, 15}));
    // Ctrl+wheel zooms about the pointer: at the middle, the middle stays.
    QWheelEvent wheel(QPointF(grid->width() / 2.0, 10), grid->mapToGlobal(QPointF(0, 0)), QPoint(),
                      QPoint(0, 240), Qt::NoButton, Qt::ControlModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(grid, &wheel);
    EXPECT_NEAR(grid->view().spanSeconds, 7.5, 1e-9);
    EXPECT_NEAR(grid->view().startSeconds + grid->view().spanSeconds / 2, 7.5, 1e-6);
}

// Columns of a grabbed waveform whose bar reaches near the top: loud ones
// (the focus ring's edges left out).
int loudColumns(WaveformGrid& grid) {
    const QImage image = grid.grab().toImage();
    int loud = 0;
    for (int x = 5; x < image.width() - 5; ++x)
        loud += image.pixel(x, 6) != image.pixel(20, 6) ? 1 : 0;
    return loud;
}

TEST(TempoDetectPanel, ZoomedCloseTheWaveformShowsTheFilesOwnDetail) {
    // 200 s with one loud sample at 100.3 s: the 1600 kept peaks give it
    // an eighth of a second, a point a column gives it a point or two.
    const generated::TempDir dir;
    std::vector<float> samples(200 * 8000, 0.0f);
    samples[size_t(100.3 * 8000)] = 1.0f;
    ASSERT_TRUE(generated::writeSound(dir.file("long.wav"), samples, 1, 8000,
                                      SF_FORMAT_WAV | SF_FORMAT_FLOAT));
    TempoDetectModel::Detection detection;
    detection.estimate.durationSeconds = 200;
    detection.path = QString::fromStdString(dir.file("long.wav").string());
    std::vector<float> peaks(1600, 0.0f);
    peaks[802] = 1.0f; // 100.25 ... 100.375 s
    detection.waveform = std::make_shared<const std::vector<float>>(std::move(peaks));
    WaveformGrid grid(QuorlenTheme::dusk());
    grid.resize(800, WaveformGrid::kHeight);
    grid.setDetection(detection);
    grid.show();
    QApplication::processEvents();
    EXPECT_LE(loudColumns(grid), 2) << "the whole file: a column a point";
    QTest::qWait(150);
    EXPECT_FALSE(grid.showsDetail()) << "the kept peaks are fine enough";

    for (int i = 0; i < 8; ++i)
        grid.zoom(2, 100.3); // down to the narrowest view, a second
    EXPECT_GT(loudColumns(grid), 80) << "the kept column, stretched";
    ASSERT_TRUE(waitUntil([&] { return grid.showsDetail(); }));
    EXPECT_GE(loudColumns(grid), 1);
    EXPECT_LE(loudColumns(grid), 2);
    // Scrolled away and back: the detail follows the view.
    grid.zoom(0.5, 50);
    EXPECT_FALSE(grid.showsDetail());
    ASSERT_TRUE(waitUntil([&] { return grid.showsDetail(); }));
}

} // namespace
} // namespace quorlen
