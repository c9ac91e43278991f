#include "app/appearance.h"
#include "app/content_view.h"
#include "app/octave_picker.h"
#include "app/preferences.h"
#include "app/settings_dialog.h"
#include "app/sidebar.h"
#include "audio/fake_audio_backend.h"
#include "support/print_qstring.h"
#include "support/wait.h"
#include "tags/tag_writer.h"
#include "tempo_detection/confidence_bar.h"
#include "tempo_detection/drop_zone.h"
#include "tempo_detection/preview_stream.h"
#include "tempo_detection/tempo_detect_model.h"
#include "tempo_detection/tempo_detect_panel.h"
#include "tempo_detection/waveform_grid.h"
#include "test_signals.h"
#include "tools/tempo/subdivision_matrix.h"
#include "tools/tempo/tempo_view.h"
#include "ui/copyable_value.h"
#include "ui/formula_strip.h"
#include "ui/kit_button.h"
#include "ui/scheme_label.h"
#include "ui/theme.h"

#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QMimeData>
#include <QPointer>
#include <QSpinBox>
#include <QTest>
#include <QUrl>
#include <QWheelEvent>

#include <gtest/gtest.h>
#include <sndfile.h>

namespace quorlen {
namespace {

namespace generated = detection::testing;
using quorlen::testing::waitUntil;

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
// fits 4 bars exactly.
class WindowWithLoop : public ::testing::Test {
protected:
    void SetUp() override {
        generated::ClickTrain train;
        train.bpm = 128;
        train.seconds = 7.5;
        train.accentEvery = 4;
        train.kickHz = 60;
        const std::string file = dir.file("loop128.wav").string();
        ASSERT_TRUE(generated::writeSound(file, generated::clickTrain(train), 1, 44100,
                                          SF_FORMAT_WAV | SF_FORMAT_PCM_16));
        path = QString::fromStdString(file);
        content.resize(1100, 1400);
        content.show();
        openPanel();
    }
    void openPanel() {
        view = qobject_cast<TempoView*>(content.toolView());
        ASSERT_NE(view, nullptr);
        panel = view->detectPanel();
    }
    template <typename T> T* find(const char* name) {
        return panel->findChild<T*>(QLatin1String(name));
    }
    bool dropLoop() {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(path)});
        return drop(find<DropZone>("dropZone"), data);
    }
    bool analysed() {
        return waitUntil([&] { return !content.detection().isAnalysing(); }, 20000);
    }
    QString shownTempo() { return find<CopyableText>("detectedTempo")->display(); }
    QString note() { return find<SchemeLabel>("detectionNote")->text(); }

    generated::TempDir dir;
    QString path;
    ContentView content{QStringLiteral("bpm")};
    TempoView* view = nullptr;
    QPointer<TempoDetectPanel> panel;
};

// A person drops a loop, checks the delay times for it meanwhile, and comes
// back to the analysis: it finished without its panel and is shown, and its
// tempo can be used.
TEST_F(WindowWithLoop, ADroppedLoopIsAnalysedWhileAwayAndItsTempoUsed) {
    auto* zone = find<DropZone>("dropZone");
    EXPECT_TRUE(zone->showsSymbol());
    EXPECT_FALSE(find<QWidget>("detectionResults")->isVisible());
    ASSERT_TRUE(dropLoop());
    EXPECT_EQ(zone->heading(), "Analysing loop128.wav…");
    EXPECT_FALSE(zone->showsSymbol());
    ASSERT_TRUE(content.detection().isAnalysing());
    content.showTool(CalculatorTool::space);
    EXPECT_TRUE(waitUntil([&] { return panel.isNull(); }));
    ASSERT_TRUE(analysed());
    for (const CalculatorTool away :
         {CalculatorTool::bpm, CalculatorTool::harmony, CalculatorTool::bpm}) {
        content.showTool(away);
    }
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

TEST_F(WindowWithLoop, TheTempoDetectionSettingRefoldsTheShownResult) {
    panel->analyse(path);
    ASSERT_TRUE(analysed());
    ASSERT_EQ(shownTempo(), "128");

    // The range 40-80 folds 128 to 64: the 16 beats of the loop become 8.
    AppearanceController appearance;
    SettingsDialog settings(appearance, content.octaveSetting());
    OctavePicker* picker = settings.octavePicker();
    picker->lowBound()->setValue(40);
    picker->highBound()->setValue(80);
    picker->choice()->setCurrentIndex(2);
    ASSERT_FALSE(panel->model().isAnalysing()) << "a new mode re-estimates the shown result";
    EXPECT_EQ(shownTempo(), "64");
    EXPECT_EQ(find<KitButton>("doubleButton")->text(), "×2 → 128");
    EXPECT_TRUE(note().contains("file length fits exactly 2 bars")) << note().toStdString();
    QTest::mouseClick(find<KitButton>("useBpmButton"), Qt::LeftButton);
    EXPECT_EQ(content.state().bpm(), 64);

    // Back to "As analysed": the panel is as it was.
    picker->choice()->setCurrentIndex(0);
    ASSERT_TRUE(analysed());
    EXPECT_EQ(shownTempo(), "128");
    EXPECT_TRUE(note().contains("fits exactly 4 bars"));
    Preferences().setTempoOctave(detection::OctaveMode::classic());
}

// A panel over a model whose analyses the test decides, and a silent output.
struct PanelRig {
    explicit PanelRig(std::function<detection::Analysis()> answer) {
        auto output = std::make_unique<quorlen::testing::FakeAudioBackend>();
        backend = output.get();
        auto player = std::make_unique<TempoPreviewPlayer>(std::move(output));
        model = std::make_unique<TempoDetectModel>(
            std::move(player), [answer](const std::string&, const detection::CancelCheck&,
                                        const detection::OctaveMode&) { return answer(); });
        panel = std::make_unique<TempoDetectPanel>(state, *model);
        panel->resize(700, 400);
        panel->show();
    }
    bool analyse(const QString& path = QStringLiteral("/music/take.wav")) {
        panel->analyse(path);
        return waitUntil([this] { return !panel->model().isAnalysing(); });
    }
    template <typename T> T* find(const char* name) {
        return panel->findChild<T*>(QLatin1String(name));
    }
    CalculatorState state;
    quorlen::testing::FakeAudioBackend* backend;
    std::unique_ptr<TempoDetectModel> model;
    std::unique_ptr<TempoDetectPanel> panel;
};

detection::Analysis analysisAt(double bpm, double confidence = 0.82) {
    detection::Analysis analysis;
    analysis.estimate.bpm = bpm;
    analysis.estimate.confidence = confidence;
    analysis.estimate.durationSeconds = 30;
    analysis.waveform = std::make_shared<const std::vector<float>>(1600, 0.3f);
    return analysis;
}

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
        QTest::mouseClick(rig.find<KitButton>("useBpmButton"), Qt::LeftButton);
        EXPECT_EQ(rig.state.bpm(), c.used);
    }
}

TEST(TempoDetectPanel, EachAlternativeIsAButtonThatShowsItsTempo) {
    PanelRig rig([] {
        detection::Analysis analysis = analysisAt(120);
        analysis.estimate.alternatives = {60, 180};
        analysis.estimate.candidates = {{120, 0.6}, {90, 0.3}, {60, 0.1}};
        return analysis;
    });
    ASSERT_TRUE(rig.analyse());
    auto buttons = [&] {
        QStringList labels;
        for (auto* button :
             rig.panel->findChildren<KitButton*>(QStringLiteral("alternativeButton")))
            labels << button->text();
        labels.sort();
        return labels;
    };
    // The shown tempo and a repeated one get no button.
    EXPECT_EQ(buttons(), (QStringList{"180 BPM", "60 BPM", "90 BPM"}));
    EXPECT_FALSE(rig.find<SchemeLabel>("detectionNote")->text().contains("also plausible"));

    KitButton* ninety = nullptr;
    for (auto* button : rig.panel->findChildren<KitButton*>(QStringLiteral("alternativeButton")))
        if (button->text() == "90 BPM")
            ninety = button;
    ASSERT_NE(ninety, nullptr);
    EXPECT_EQ(ninety->accessibleName(), "Show 90 BPM");
    QTest::mouseClick(ninety, Qt::LeftButton);
    EXPECT_EQ(rig.find<CopyableText>("detectedTempo")->display(), "90");
    EXPECT_DOUBLE_EQ(rig.panel->model().result()->bpm, 90);
    // Now 120 is one of the others.
    EXPECT_EQ(buttons(), (QStringList{"120 BPM", "180 BPM", "60 BPM"}));
}

// The clicks a preview from the start plays over a silent file: their
// frames from the first, and whether each is accented (the louder sound).
std::vector<std::pair<int, bool>> clicksOfPreview(PanelRig& rig, int frames) {
    TempoDetectModel& model = rig.panel->model();
    model.startPreview();
    PreviewStream& stream = model.player().stream();
    std::vector<float> left;
    while (int(left.size()) < frames) {
        EXPECT_TRUE(waitUntil([&] { return stream.buffered() >= 2; }));
        const std::vector<float> block = rig.backend->pull(1024);
        for (size_t i = 0; i < block.size(); i += 2)
            left.push_back(block[i]);
    }
    model.stopPreview();
    EXPECT_TRUE(waitUntil([&] { return !model.player().isPlaying(); }));
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

TEST(TempoDetectPanel, TheClickToggleFromTheKeyboardPlaysTheGridShown) {
    const generated::TempDir dir;
    const std::string path = dir.file("silence.wav").string();
    ASSERT_TRUE(generated::writeSound(path, std::vector<float>(3 * 44100, 0.0f), 1, 44100,
                                      SF_FORMAT_WAV | SF_FORMAT_FLOAT));
    PanelRig rig([] {
        detection::Analysis analysis = analysisAt(120);
        analysis.estimate.alternatives = {90};
        return analysis;
    });
    ASSERT_TRUE(rig.analyse(QString::fromStdString(path)));
    auto* click = rig.find<KitButton>("clickButton");
    ASSERT_NE(click, nullptr);
    EXPECT_EQ(click->text(), "Click");
    EXPECT_TRUE(click->focusPolicy() & Qt::TabFocus);
    click->setFocus();
    QTest::keyClick(click, Qt::Key_Return); // Space taps the tempo here
    EXPECT_TRUE(click->isChecked());
    EXPECT_TRUE(rig.panel->model().player().isClickOn());

    // 120 BPM, bars from beat 0: a beat every 22050 frames.
    using Clicks = std::vector<std::pair<int, bool>>;
    EXPECT_EQ(clicksOfPreview(rig, 5292 + 70000),
              (Clicks{{0, true}, {22050, false}, {44100, false}, {66150, false}}));
    // ÷2: one a second, every other bar line kept.
    QTest::mouseClick(rig.find<KitButton>("halveButton"), Qt::LeftButton);
    EXPECT_EQ(clicksOfPreview(rig, 5292 + 100000),
              (Clicks{{0, true}, {44100, false}, {88200, false}}));
    // The alternative shown: 90 BPM.
    auto* ninety = rig.panel->findChild<KitButton*>(QStringLiteral("alternativeButton"));
    ASSERT_NE(ninety, nullptr);
    QTest::mouseClick(ninety, Qt::LeftButton);
    EXPECT_EQ(clicksOfPreview(rig, 5292 + 70000),
              (Clicks{{0, true}, {29400, false}, {58800, false}}));

    QTest::keyClick(click, Qt::Key_Return); // Space taps the tempo here
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
    const generated::TempDir dir;
    const auto clicks = generated::clickTrain({.bpm = 128, .seconds = 3, .rateHz = 44100});
    ASSERT_TRUE(generated::writeSound(dir.file("take.wav"), clicks, 1, 44100,
                                      SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    ASSERT_TRUE(generated::writeSound(dir.file("take.caf"), clicks, 1, 44100,
                                      SF_FORMAT_CAF | SF_FORMAT_PCM_16));
    const std::string wav = dir.file("take.wav").string();
    PanelRig rig([] { return analysisAt(127.934); });
    ASSERT_TRUE(rig.analyse(QString::fromStdString(wav)));
    auto* save = rig.find<KitButton>("saveTagsButton");
    const auto note = [&] { return rig.find<SchemeLabel>("detectionNote")->text(); };
    const auto clickAndWait = [&] {
        QTest::mouseClick(save, Qt::LeftButton);
        return waitUntil([&] { return !rig.model->isSavingTags(); });
    };
    EXPECT_EQ(save->text(), "Save to file");

    ASSERT_TRUE(clickAndWait());
    EXPECT_EQ(note(), "take.wav · 30.0 s · saved 128 BPM to the file");
    EXPECT_EQ(tags::readTempoTags(wav).bpm, "128");

    // Halved, and saved again: the file keeps its 128 until the second click.
    QTest::mouseClick(rig.find<KitButton>("halveButton"), Qt::LeftButton);
    EXPECT_FALSE(note().contains("saved")) << "the note is about the tempo shown";
    ASSERT_TRUE(clickAndWait());
    EXPECT_TRUE(note().contains(" · the file already says 128 BPM; \"Replace tag\" overwrites it"))
        << note().toStdString();
    EXPECT_EQ(save->text(), "Replace tag");
    ASSERT_TRUE(clickAndWait());
    EXPECT_TRUE(note().contains(" · saved 64 BPM to the file, replacing 128"))
        << note().toStdString();
    EXPECT_EQ(tags::readTempoTags(wav).bpm, "64");
    EXPECT_EQ(save->text(), "Save to file");

    ASSERT_TRUE(rig.analyse(QString::fromStdString(dir.file("take.caf").string())));
    ASSERT_TRUE(clickAndWait());
    EXPECT_TRUE(note().contains(QString(" · could not write tags: ") + tags::kUnsupportedReason))
        << note().toStdString();
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

TEST(TempoDetectPanel, AClickOnTheZoneAsksForAnAudioFileToAnalyse) {
    PanelRig rig([] { return analysisAt(120); });
    QTest::mouseClick(rig.find<DropZone>("dropZone"), Qt::LeftButton);
    QFileDialog* dialog = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        dialog = rig.find<QFileDialog>("audioFileDialog");
        return dialog && dialog->isVisible();
    }));
    EXPECT_EQ(dialog->fileMode(), QFileDialog::ExistingFile);
    EXPECT_TRUE(dialog->nameFilters().first().contains("*.wav"));
    dialog->reject();
    EXPECT_FALSE(rig.panel->model().isAnalysing());
}

TEST(TempoDetectPanel, PreviewTogglesAndTheTickerRunsOnlyWhileItPlays) {
    generated::TempDir dir;
    const std::string path = dir.file("tone.wav").string();
    const std::vector<float> tone = generated::sine(440, 2.0, 44100);
    ASSERT_TRUE(generated::writeSound(path, tone, 1, 44100, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
    PanelRig rig([] { return analysisAt(120); });
    ASSERT_TRUE(rig.analyse(QString::fromStdString(path)));
    auto* preview = rig.find<KitButton>("previewButton");
    EXPECT_EQ(preview->text(), "Preview");
    EXPECT_FALSE(rig.panel->isTickerRunning());

    QTest::mouseClick(preview, Qt::LeftButton);
    EXPECT_EQ(preview->text(), "Stop");
    EXPECT_TRUE(rig.panel->isTickerRunning());

    // A click on the waveform restarts from there: a quarter of 30 s.
    auto* grid = rig.find<WaveformGrid>("waveformGrid");
    QTest::mouseClick(grid, Qt::LeftButton, {}, QPoint(grid->width() / 4, 10));
    ASSERT_TRUE(rig.panel->model().playhead());
    EXPECT_NEAR(*rig.panel->model().playhead(), 30.0 * (grid->width() / 4) / grid->width(), 1e-9);

    QTest::mouseClick(preview, Qt::LeftButton);
    EXPECT_EQ(preview->text(), "Preview");
    EXPECT_FALSE(rig.panel->model().playhead());
    EXPECT_FALSE(rig.panel->isTickerRunning());

    // Leaving the screen stops a preview too.
    QTest::mouseClick(preview, Qt::LeftButton);
    rig.panel->leave();
    EXPECT_FALSE(rig.panel->model().playhead());
    EXPECT_FALSE(rig.panel->isTickerRunning());
}

// Columns of a grabbed waveform whose bar reaches near the top: loud ones
// (the focus ring's edges left out).
int loudColumns(WaveformGrid& grid) {
    const QImage image = grid.grab().toImage();
    const QRgb quiet = image.pixel(20, 6);
    int loud = 0;
    for (int x = 5; x < image.width() - 5; ++x)
        loud += image.pixel(x, 6) != quiet ? 1 : 0;
    return loud;
}

TEST(TempoDetectPanel, ZoomedCloseTheWaveformShowsTheFilesOwnDetail) {
    // 200 s with one loud sample at 100.3 s: the 1600 kept peaks give it
    // an eighth of a second, a point a column gives it a point or two.
    const generated::TempDir dir;
    const std::string path = dir.file("long.wav").string();
    std::vector<float> samples(200 * 8000, 0.0f);
    samples[size_t(100.3 * 8000)] = 1.0f;
    ASSERT_TRUE(generated::writeSound(path, samples, 1, 8000, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
    TempoDetectModel::Detection detection;
    detection.estimate.durationSeconds = 200;
    detection.path = QString::fromStdString(path);
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

TEST(TempoDetectPanel, TheWaveformPlaysFromTheKeyboard) {
    generated::TempDir dir;
    const std::string path = dir.file("tone.wav").string();
    ASSERT_TRUE(generated::writeSound(path, generated::sine(440, 2.0, 44100), 1, 44100,
                                      SF_FORMAT_WAV | SF_FORMAT_FLOAT));
    PanelRig rig([] { return analysisAt(120); }); // beats every 0.5 s from 0
    ASSERT_TRUE(rig.analyse(QString::fromStdString(path)));
    auto* grid = rig.find<WaveformGrid>("waveformGrid");
    EXPECT_TRUE(grid->focusPolicy() & Qt::TabFocus);
    grid->setFocus(Qt::TabFocusReason);

    // The arrows move the cursor by beats, Page Down by a bar; nothing plays.
    QTest::keyClick(grid, Qt::Key_Right);
    QTest::keyClick(grid, Qt::Key_Right);
    QTest::keyClick(grid, Qt::Key_PageDown);
    QTest::keyClick(grid, Qt::Key_Left);
    EXPECT_DOUBLE_EQ(grid->cursor(), 2.5);
    EXPECT_FALSE(rig.panel->model().playhead());
    EXPECT_EQ(grid->accessibleName(), "Waveform, at 2.5 s of 30.0 s");

    // Space plays from it (and taps no tempo); the arrows then move the playback.
    QTest::keyClick(grid, Qt::Key_Space);
    ASSERT_TRUE(rig.panel->model().playhead());
    EXPECT_DOUBLE_EQ(*rig.panel->model().playhead(), 2.5);
    QTest::keyClick(grid, Qt::Key_Right);
    ASSERT_TRUE(rig.panel->model().playhead());
    EXPECT_DOUBLE_EQ(*rig.panel->model().playhead(), 3.0);
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

TEST(TempoDetectPanel, DropsWithoutAFileAreRefused) {
    PanelRig rig([] { return analysisAt(120); });
    auto* zone = rig.find<DropZone>("dropZone");
    QMimeData text;
    text.setText(QStringLiteral("120 BPM"));
    EXPECT_FALSE(drop(zone, text));
    EXPECT_FALSE(zone->isTargeted());
    EXPECT_FALSE(rig.panel->model().isAnalysing());
    EXPECT_EQ(zone->heading(), "Drop an audio file here");
}

} // namespace
} // namespace quorlen
