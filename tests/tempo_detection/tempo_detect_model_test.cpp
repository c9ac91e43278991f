#include "detect_rig.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>

namespace quorlen {
namespace {

using namespace quorlen::testing;
using detection::Analysis;
using detection::Failure;

Analysis loopAt(double bpm) {
    Analysis analysis = analysisAt(bpm);
    analysis.estimate.beatOffsetSeconds = 0.25;
    analysis.estimate.snappedBars = 4;
    return analysis;
}

// A model whose analyser answers per file name as the test sets; "slow.wav"
// waits until released, ignoring cancellation as a slow decoder step would.
struct Rig : DetectRig {
    Rig()
        : DetectRig([this](const std::string& path, const detection::CancelCheck& isCancelled,
                           const detection::OctaveMode&) {
              const std::string name = path.substr(path.find_last_of('/') + 1);
              ++calls;
              if (name != "slow.wav")
                  return answers.at(name)();
              while (!release)
                  std::this_thread::yield();
              slowSawCancel = isCancelled();
              slowReturned = true;
              return loopAt(100);
          }) {
        QObject::connect(model.get(), &TempoDetectModel::changed, [this] { ++changes; });
    }
    std::map<std::string, std::function<Analysis()>> answers;
    std::atomic<bool> release{false}, slowReturned{false}, slowSawCancel{false};
    std::atomic<int> calls{0};
    int changes = 0;
};

TEST(TempoDetectModel, ASecondFileCancelsTheFirstWhichNeverPublishes) {
    Rig rig;
    rig.answers["second.wav"] = [] { return loopAt(130); };
    rig.model->analyse(QStringLiteral("/music/slow.wav"));
    EXPECT_TRUE(rig.model->isAnalysing());
    EXPECT_EQ(rig.model->status(), QStringLiteral("Analysing slow.wav…"));
    ASSERT_TRUE(rig.analyse(QStringLiteral("/music/second.wav")));
    EXPECT_EQ(rig.model->result()->bpm, 130);
    EXPECT_EQ(rig.model->result()->name, QStringLiteral("second.wav"));
    EXPECT_FALSE(rig.model->status());

    // The first job finishes successfully after all; its answer is dropped.
    rig.release = true;
    ASSERT_TRUE(waitUntil([&] { return rig.slowReturned.load(); }));
    EXPECT_TRUE(rig.slowSawCancel);
    QTest::qWait(20);
    EXPECT_EQ(rig.model->result()->bpm, 130);
    EXPECT_FALSE(rig.model->isAnalysing());
}

TEST(TempoDetectModel, ClosingDuringAnAnalysisLeavesNothingBehind) {
    Rig rig;
    rig.model->analyse(QStringLiteral("slow.wav"));
    rig.model.reset();
    rig.release = true;
    ASSERT_TRUE(waitUntil([&] { return rig.slowReturned.load(); }));
    EXPECT_TRUE(rig.slowSawCancel);
    QTest::qWait(20); // a posted outcome would arrive now, at a model that is gone
    EXPECT_EQ(rig.changes, 1);
}

TEST(TempoDetectModel, AFailureKeepsThePreviousResult) {
    Rig rig;
    rig.answers["loop.wav"] = [] { return loopAt(120); };
    rig.answers["click.wav"] = []() -> Analysis { throw Failure::tooShort(); };
    rig.answers["noise.wav"] = []() -> Analysis { throw std::runtime_error("Disk gone"); };
    rig.answers["stopped.wav"] = []() -> Analysis { throw Failure::cancelled(); };
    ASSERT_TRUE(rig.analyse(QStringLiteral("/a/loop.wav")));
    EXPECT_EQ(rig.changes, 2); // started, then the outcome in one step
    EXPECT_FALSE(rig.model->failed());

    // The engine's sentence, or any other error's text; a cancellation
    // reported by the engine is silent: the status keeps the analysing text.
    const std::tuple<const char*, const char*, bool> outcomes[] = {
        {"/a/click.wav", "File is too short to detect a tempo", true},
        {"/a/noise.wav", "Disk gone", true},
        {"/a/stopped.wav", "Analysing stopped.wav…", false},
    };
    for (const auto& [path, status, failed] : outcomes) {
        ASSERT_TRUE(rig.analyse(QString::fromLatin1(path)));
        EXPECT_EQ(rig.model->failed(), failed) << path;
        EXPECT_EQ(rig.model->status(), QString::fromUtf8(status));
        EXPECT_EQ(rig.model->result()->name, QStringLiteral("loop.wav"));
    }

    // A result that kept no measurements is analysed again in a new mode.
    rig.model->setOctaveMode(detection::OctaveMode::automatic());
    EXPECT_TRUE(rig.model->isAnalysing());
    ASSERT_TRUE(waitUntil([&] { return !rig.model->isAnalysing(); }));
    EXPECT_EQ(rig.calls, 5);
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
        rig.answers["loop.wav"] = [&] { return loopAt(c.detectedBpm); };
        ASSERT_TRUE(rig.analyse(QStringLiteral("loop.wav")));
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

TEST(TempoDetectModel, AModeChangeReestimatesTheShownResultAsANewAnalysisWould) {
    std::atomic<int> analyses{0};
    DetectRig rig([&](const std::string& path, const detection::CancelCheck& isCancelled,
                      const detection::OctaveMode& octave) {
        ++analyses;
        return detection::analyzeFile(path, isCancelled, {}, octave);
    });
    const auto groove = [&](const char* name, double bpm, double seconds) {
        return rig.write(name,
                         generated::drumGroove({.bpm = bpm,
                                                .seconds = seconds,
                                                .steps = {"k", "", "h", "", "ks", "", "h", "", "k",
                                                          "", "h", "", "ks", "", "h", ""}}));
    };
    const std::string loop = groove("loop.wav", 120, 8.0);
    ASSERT_TRUE(rig.analyse(loop));
    rig.model->rescale(2); // what was shown before the change does not stay
    const detection::OctaveMode halves = *detection::OctaveMode::range(40, 80);
    rig.model->setOctaveMode(halves);
    EXPECT_FALSE(rig.model->isAnalysing());
    const TempoDetectModel::Detection& shown = *rig.model->result();
    EXPECT_EQ(shown.estimate, detection::analyzeFile(loop, {}, {}, halves).estimate);
    EXPECT_EQ(shown.bpm, 60);
    EXPECT_EQ(shown.beatOffsetSeconds, shown.estimate.beatOffsetSeconds);
    EXPECT_EQ(shown.snappedBars, 2);
    EXPECT_EQ(analyses, 1);

    // Two beats are too short for the classic mode: its failure is shown
    // over the last result, and the next mode reads the loop again.
    rig.model->setOctaveMode(detection::OctaveMode::automatic());
    ASSERT_TRUE(rig.analyse(groove("short.wav", 136, 2 * 60 / 136.0)));
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
    EXPECT_EQ(analyses, 2);
}

} // namespace
} // namespace quorlen
