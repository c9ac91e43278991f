#include "app/content_view.h"
#include "app/preferences.h"
#include "key/key_text.h"
#include "key_signals.h"
#include "state/calculator_state.h"
#include "support/print_qstring.h"
#include "support/wait.h"
#include "tempo_detection/chroma_strip.h"
#include "tempo_detection/tempo_detect_panel.h"
#include "test_signals.h"
#include "tools/fifths/circle_of_fifths_view.h"
#include "tools/tempo/tempo_view.h"
#include "ui/copyable_value.h"
#include "ui/kit_button.h"
#include "ui/scheme_label.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTest>

#include <gtest/gtest.h>
#include <sndfile.h>

namespace quorlen {
namespace {

using quorlen::testing::waitUntil;

// The real window on the tempo tool, with an F♯ minor cadence 14 cents
// flat and a drum loop beside it.
class WindowWithKeys : public ::testing::Test {
protected:
    void SetUp() override {
        key::testing::Chords chords = key::testing::aMinorCadence();
        for (auto& chord : chords.notes)
            for (int& note : chord)
                note -= 3; // A minor down a minor third: F♯ minor
        chords.cents = -14.0;
        chords.rateHz = 44100.0;
        ASSERT_TRUE(detection::testing::writeSound(dir.file("fsm.wav"),
                                                   key::testing::chordSequence(chords), 1, 44100,
                                                   SF_FORMAT_WAV | SF_FORMAT_PCM_16));
        const auto loop = detection::testing::clickTrain({.bpm = 120, .seconds = 8, .kickHz = 60});
        ASSERT_TRUE(detection::testing::writeSound(dir.file("loop.wav"), loop, 1, 44100,
                                                   SF_FORMAT_WAV | SF_FORMAT_PCM_16));
        Preferences().setFifthsSelectedIndex(0);
        Preferences().setFifthsMinorSelected(false);
        content.resize(1100, 1400);
        content.show();
    }
    TempoDetectPanel* panel() {
        auto* view = qobject_cast<TempoView*>(content.toolView());
        return view ? view->detectPanel() : nullptr;
    }
    template <typename T> T* find(const char* name) {
        return panel()->findChild<T*>(QLatin1String(name));
    }
    bool analyse(const char* name) {
        panel()->analyse(QString::fromStdString(dir.file(name).string()));
        return waitUntil([&] { return !content.detection().isAnalysing(); }, 20000);
    }
    QString shown(const char* name) { return find<CopyableText>(name)->display(); }
    QString copied(const char* name) {
        QTest::mouseClick(find<CopyableText>(name), Qt::LeftButton);
        return QGuiApplication::clipboard()->text();
    }

    detection::testing::TempDir dir;
    ContentView content{QStringLiteral("bpm")};
};

TEST_F(WindowWithKeys, TheKeyAndTuningShowCopyAndGoToTheWheelAndA4) {
    ASSERT_TRUE(analyse("fsm.wav"));
    ASSERT_TRUE(find<QWidget>("detectedKeyRow")->isVisible());
    EXPECT_EQ(shown("detectedKey"), "F♯m");
    EXPECT_EQ(shown("detectedCamelot"), "11A");
    EXPECT_TRUE(shown("detectedKeyConfidence").endsWith('%'));
    const std::optional<double> cents = content.detection().result()->key->tuningCents;
    ASSERT_TRUE(cents);
    EXPECT_NEAR(*cents, -14.0, 3.0);
    EXPECT_EQ(shown("detectedTuning"), QString::fromStdString(key::centsText(*cents)) + " cents");
    const QString a4 = QString::fromStdString(key::a4Text(*cents));
    EXPECT_EQ(shown("detectedA4"), "A4 " + a4 + " Hz");
    EXPECT_FALSE(find<SchemeLabel>("noKeyNote")->isVisible());
    const key::KeyEstimate& estimate = *content.detection().result()->key;
    EXPECT_EQ(find<ChromaStrip>("chromaStrip")->chroma(), estimate.chroma);
    EXPECT_EQ(find<ChromaStrip>("chromaStrip")->profile(), estimate.profile);

    // Every value copies as the clipboard spells it.
    EXPECT_EQ(copied("detectedKey"), "F#m");
    EXPECT_EQ(copied("detectedCamelot"), "11A");
    EXPECT_EQ(copied("detectedKeyConfidence") + "%", shown("detectedKeyConfidence"));
    EXPECT_EQ(copied("detectedTuning"), QString::fromStdString(key::centsText(*cents)));
    EXPECT_EQ(copied("detectedA4"), a4);

    QTest::mouseClick(find<KitButton>("useA4Button"), Qt::LeftButton);
    EXPECT_DOUBLE_EQ(content.state().a4(), a4.toDouble());
    EXPECT_EQ(content.state().a4Text(), QString::number(a4.toDouble(), 'f', 1))
        << "the A4 field's one decimal";

    QTest::mouseClick(find<KitButton>("useKeyButton"), Qt::LeftButton);
    content.showTool(CalculatorTool::harmony);
    auto* wheel = qobject_cast<CircleOfFifthsView*>(content.toolView());
    ASSERT_NE(wheel, nullptr);
    EXPECT_EQ(wheel->selection(), (KeySelection{3, true})) << "F♯m on the inner ring";
}

TEST_F(WindowWithKeys, DrumsShowThatThereIsNoKey) {
    ASSERT_TRUE(analyse("loop.wav"));
    ASSERT_TRUE(find<QWidget>("detectedKeyRow")->isVisible());
    EXPECT_EQ(shown("detectedKey"), "None");
    EXPECT_TRUE(find<SchemeLabel>("noKeyNote")->isVisible());
    EXPECT_EQ(find<SchemeLabel>("noKeyNote")->text(), "no tonal content");
    EXPECT_FALSE(find<CopyableText>("detectedCamelot")->isVisible());
    EXPECT_FALSE(find<ChromaStrip>("chromaStrip")->isVisible());
    EXPECT_FALSE(find<KitButton>("useKeyButton")->isEnabled());
    EXPECT_FALSE(find<KitButton>("useA4Button")->isEnabled());
    const double before = content.state().a4();
    QTest::mouseClick(find<KitButton>("useA4Button"), Qt::LeftButton);
    EXPECT_EQ(content.state().a4(), before);
}

TEST(ChromaStrip, BarsShareTheWidthAndGrowFromTheNamesLine) {
    const QSizeF size(240, 63); // 50 points of bars over a 13-point line of names
    EXPECT_EQ(ChromaStrip::barRect(0, 1.0, size), QRectF(1.5, 0, 17, 50));
    EXPECT_EQ(ChromaStrip::barRect(11, 0.5, size), QRectF(221.5, 25, 17, 25));
    EXPECT_EQ(ChromaStrip::barRect(3, 2.0, size), ChromaStrip::barRect(3, 1.0, size)) << "clipped";
    EXPECT_EQ(ChromaStrip::barRect(3, -1.0, size).height(), 0.0);
}

} // namespace
} // namespace quorlen
