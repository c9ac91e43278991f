#include "audio/fake_audio_backend.h"
#include "support/wait.h"
#include "tempo_detection/tempo_detect_model.h"
#include "tempo_detection/tempo_preview_player.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <atomic>
#include <map>
#include <memory>

namespace quorlen {
namespace {

using detection::Analysis;
using detection::Failure;

Analysis analysisAt(double bpm, std::optional<int> snappedBars = std::nullopt) {
    Analysis analysis;
    analysis.estimate.bpm = bpm;
    analysis.estimate.beatOffsetSeconds = 0.25;
    analysis.estimate.confidence = 0.8;
    analysis.estimate.snappedBars = snappedBars;
    analysis.estimate.durationSeconds = 8.0;
    analysis.waveform = std::make_shared<const std::vector<float>>(1600, 0.5f);
    return analysis;
}

// An analyser whose answer per file name the test sets; "slow.wav" waits
// until released, ignoring cancellation as a slow decoder step would.
struct Analyser {
    std::map<std::string, std::function<Analysis()>> answers;
    std::atomic<bool> release{false};
    std::atomic<bool> slowReturned{false};
    std::atomic<bool> slowSawCancel{false};

    TempoDetectModel::Analyser function() {
        return [this](const std::string& path, const detection::CancelCheck& isCancelled,
                      const detection::OctaveMode&) {
            const std::string name = path.substr(path.find_last_of('/') + 1);
            if (name == "slow.wav") {
                while (!release)
                    std::this_thread::yield();
                slowSawCancel = isCancelled();
                slowReturned = true;
                return analysisAt(100);
            }
            return answers.at(name)();
        };
    }
};

struct Rig {
    Rig() {
        auto backend = std::make_unique<testing::FakeAudioBackend>();
        auto player = std::make_unique<TempoPreviewPlayer>(std::move(backend));
        model = std::make_unique<TempoDetectModel>(std::move(player), analyser.function());
        QObject::connect(model.get(), &TempoDetectModel::changed, [this] { ++changes; });
    }
    bool analyseAndWait(const QString& path) {
        model->analyse(path);
        return quorlen::testing::waitUntil([this] { return !model->isAnalysing(); });
    }
    Analyser analyser;
    std::unique_ptr<TempoDetectModel> model;
    int changes = 0;
};

TEST(TempoDetectModel, ASecondFileCancelsTheFirstWhichNeverPublishes) {
    Rig rig;
    rig.analyser.answers["second.wav"] = [] { return analysisAt(130); };
    rig.model->analyse(QStringLiteral("/music/slow.wav"));
    EXPECT_TRUE(rig.model->isAnalysing());
    EXPECT_EQ(rig.model->status(), QStringLiteral("Analysing slow.wav…"));

    rig.model->analyse(QStringLiteral("/music/second.wav"));
    EXPECT_EQ(rig.model->status(), QStringLiteral("Analysing second.wav…"));
    ASSERT_TRUE(quorlen::testing::waitUntil([&] { return !rig.model->isAnalysing(); }));
    ASSERT_TRUE(rig.model->result());
    EXPECT_EQ(rig.model->result()->bpm, 130);
    EXPECT_EQ(rig.model->result()->name, QStringLiteral("second.wav"));
    EXPECT_FALSE(rig.model->status());

    // The first job finishes successfully after all; its answer is dropped.
    rig.analyser.release = true;
    ASSERT_TRUE(quorlen::testing::waitUntil([&] { return rig.analyser.slowReturned.load(); }));
    EXPECT_TRUE(rig.analyser.slowSawCancel);
    QTest::qWait(20);
    EXPECT_EQ(rig.model->result()->bpm, 130);
    EXPECT_FALSE(rig.model->isAnalysing());
}

TEST(TempoDetectModel, AFailureKeepsThePreviousResult) {
    Rig rig;
    rig.analyser.answers["loop.wav"] = [] { return analysisAt(120, 4); };
    rig.analyser.answers["click.wav"] = []() -> Analysis { throw Failure::tooShort(); };
    rig.analyser.answers["noise.wav"] = []() -> Analysis { throw std::runtime_error("Disk gone"); };
    rig.analyser.answers["stopped.wav"] = []() -> Analysis { throw Failure::cancelled(); };

    ASSERT_TRUE(rig.analyseAndWait(QStringLiteral("/a/loop.wav")));
    EXPECT_EQ(rig.changes, 2); // started, then the outcome in one step
    EXPECT_FALSE(rig.model->failed());

    // Failure messages: the engine's sentence, or any other error's text.
    const std::pair<const char*, const char*> failures[] = {
        {"/a/click.wav", "File is too short to detect a tempo"},
        {"/a/noise.wav", "Disk gone"},
    };
    for (const auto& [path, message] : failures) {
        ASSERT_TRUE(rig.analyseAndWait(QString::fromLatin1(path)));
        EXPECT_TRUE(rig.model->failed());
        EXPECT_EQ(rig.model->status(), QString::fromUtf8(message));
        ASSERT_TRUE(rig.model->result());
        EXPECT_EQ(rig.model->result()->name, QStringLiteral("loop.wav"));
    }

    // A cancellation reported by the engine is silent: analysing ends, the
    // status keeps the analysing text, and nothing failed.
    ASSERT_TRUE(rig.analyseAndWait(QStringLiteral("/a/stopped.wav")));
    EXPECT_FALSE(rig.model->failed());
    EXPECT_EQ(rig.model->status(), QStringLiteral("Analysing stopped.wav…"));
    EXPECT_EQ(rig.model->result()->name, QStringLiteral("loop.wav"));
}

TEST(TempoDetectModel, RescaleStaysWithin20To400AndForgetsTheLoopFit) {
    struct Case {
        double detectedBpm;
        std::vector<double> factors;
        double shownBpm;
    };
    // 130 × 2 = 260; × 2 again would be 520 > 400. 20 × 0.5 = 10 is
    // refused, 200 × 2 = 400 is allowed (closed range).
    const Case cases[] = {
        {130, {2, 2}, 260}, {20, {0.5}, 20}, {200, {2}, 400}, {127.934, {0.5, 2}, 127.934}};
    for (const Case& c : cases) {
        Rig rig;
        rig.analyser.answers["loop.wav"] = [&] { return analysisAt(c.detectedBpm, 4); };
        ASSERT_TRUE(rig.analyseAndWait(QStringLiteral("loop.wav")));
        for (const double factor : c.factors)
            rig.model->rescale(factor);
        const auto& result = *rig.model->result();
        EXPECT_DOUBLE_EQ(result.bpm, c.shownBpm) << c.detectedBpm;
        const bool changed = result.bpm != c.detectedBpm || c.factors.size() > 1;
        EXPECT_EQ(result.snappedBars.has_value(), !changed) << c.detectedBpm;
        // The estimate and the grid's anchor stay as detected.
        EXPECT_EQ(result.estimate.bpm, c.detectedBpm);
        EXPECT_EQ(result.estimate.snappedBars, 4);
        EXPECT_EQ(result.beatOffsetSeconds, 0.25);
    }
}

// A model over the detection engine that counts its analyses, for files
// the test writes.
struct EngineRig {
    EngineRig() {
        auto player =
            std::make_unique<TempoPreviewPlayer>(std::make_unique<testing::FakeAudioBackend>());
        model = std::make_unique<TempoDetectModel>(
            std::move(player),
            [this](const std::string& path, const detection::CancelCheck& isCancelled,
                   const detection::OctaveMode& octave) {
                ++analyses;
                return detection::analyzeFile(path, isCancelled, {}, octave);
            });
    }
    QString write(const char* name, double bpm, double seconds) {
        const std::vector<std::string> steps = {"k", "", "h", "", "ks", "", "h", "",
                                                "k", "", "h", "", "ks", "", "h", ""};
        const std::vector<float> x =
            detection::testing::drumGroove({.bpm = bpm, .seconds = seconds, .steps = steps});
        const auto path = dir.file(name);
        EXPECT_TRUE(
            detection::testing::writeSound(path, x, 1, 44100, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
        return QString::fromStdString(path.string());
    }
    bool analyseAndWait(const QString& path) {
        model->analyse(path);
        return quorlen::testing::waitUntil([this] { return !model->isAnalysing(); });
    }
    detection::testing::TempDir dir;
    std::atomic<int> analyses{0};
    std::unique_ptr<TempoDetectModel> model;
};

TEST(TempoDetectModel, AModeChangeReestimatesTheShownResultAsANewAnalysisWould) {
    EngineRig rig;
    const QString loop = rig.write("loop.wav", 120, 8.0);
    ASSERT_TRUE(rig.analyseAndWait(loop));
    ASSERT_TRUE(rig.model->result());
    rig.model->rescale(2); // what was shown before the change does not stay
    const detection::OctaveMode halves = *detection::OctaveMode::range(40, 80);
    rig.model->setOctaveMode(halves);
    EXPECT_FALSE(rig.model->isAnalysing());
    const TempoDetectModel::Detection& shown = *rig.model->result();
    EXPECT_EQ(shown.estimate, detection::analyzeFile(loop.toStdString(), {}, {}, halves).estimate);
    EXPECT_EQ(shown.bpm, 60);
    EXPECT_EQ(shown.beatOffsetSeconds, shown.estimate.beatOffsetSeconds);
    EXPECT_EQ(shown.snappedBars, 2);
    EXPECT_EQ(rig.analyses, 1);

    // Two beats are too short for the classic mode: its failure is shown
    // over the last result, and the next mode reads the loop again.
    rig.model->setOctaveMode(detection::OctaveMode::automatic());
    ASSERT_TRUE(rig.analyseAndWait(rig.write("short.wav", 136, 2 * 60 / 136.0)));
    ASSERT_FALSE(rig.model->failed());
    const double automatic = rig.model->result()->bpm;
    rig.model->setOctaveMode(detection::OctaveMode::classic());
    EXPECT_TRUE(rig.model->failed());
    EXPECT_EQ(rig.model->status(), QString(detection::Failure::tooShort().what()));
    EXPECT_EQ(rig.model->result()->bpm, automatic);
    rig.model->setOctaveMode(*detection::OctaveMode::range(100, 200));
    EXPECT_FALSE(rig.model->failed());
    EXPECT_FALSE(rig.model->status());
    EXPECT_NEAR(rig.model->result()->bpm, 136, 1);
    EXPECT_EQ(rig.analyses, 2);
}

TEST(TempoDetectModel, AResultThatKeptNoMeasurementsIsAnalysedAgainInANewMode) {
    Rig rig;
    int calls = 0;
    rig.analyser.answers["loop.wav"] = [&calls] {
        ++calls;
        return analysisAt(120, 4);
    };
    ASSERT_TRUE(rig.analyseAndWait(QStringLiteral("/music/loop.wav")));
    rig.model->setOctaveMode(detection::OctaveMode::automatic());
    EXPECT_TRUE(rig.model->isAnalysing());
    ASSERT_TRUE(quorlen::testing::waitUntil([&] { return !rig.model->isAnalysing(); }));
    EXPECT_EQ(calls, 2);
}

TEST(TempoDetectModel, ClosingDuringAnAnalysisLeavesNothingBehind) {
    Rig rig;
    rig.model->analyse(QStringLiteral("slow.wav"));
    rig.model.reset();
    rig.analyser.release = true;
    ASSERT_TRUE(quorlen::testing::waitUntil([&] { return rig.analyser.slowReturned.load(); }));
    EXPECT_TRUE(rig.analyser.slowSawCancel);
    QTest::qWait(20); // a posted outcome would arrive now, at a model that is gone
    EXPECT_EQ(rig.changes, 1);
}

} // namespace
} // namespace quorlen
