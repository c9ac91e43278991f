// How soon the detection panel's preview answers a click on the waveform,
// and how long the app takes to quit after a preview has played, on a
// private PulseAudio server (support/private_sound_server.h).
//
// usage: quorlen-preview-probe AUDIO [RUNS]
//
// Clicks: each run builds a fresh panel (so a fresh output), analyses AUDIO
// and clicks the waveform two seconds after the result, as a person reads
// it first: from the click to the first non-silent frame handed to the
// output callback, and to the first sound recorded from the sink; once with
// the private server as it is, once with an output that takes 1.5 s more
// to open, as a desktop's did. Then Stop, silence, and a later click, timed
// the same way.
//
// Quit: each run starts this program again as the app (main window,
// tempo tool), which analyses AUDIO, previews it for a second and quits;
// from the quit request to the end of that process.
#include "app/appearance.h"
#include "app/content_view.h"
#include "app/main_window.h"
#include "audio/engine/async_output.h"
#include "audio/engine/rtaudio_backend.h"
#include "state/calculator_state.h"
#include "support/private_sound_server.h"
#include "tempo_detection/tempo_detect_panel.h"
#include "tempo_detection/waveform_grid.h"
#include "tools/tempo/tempo_view.h"
#include "ui/fonts.h"
#include "ui/kit_button.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <thread>
#include <vector>

namespace {

using namespace quorlen;

long long monotonicNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1'000'000'000LL + now.tv_nsec;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

void print(const char* name, const std::vector<double>& values) {
    if (values.empty())
        return;
    std::printf("%-34s median %7.1f  max %7.1f  [", name, median(values),
                *std::max_element(values.begin(), values.end()));
    for (const double value : values)
        std::printf(" %.1f", value);
    std::printf(" ]\n");
}

void waitMs(int ms) {
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < ms)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
}

// The source the output pulls, watched: the monotonic time at which the
// first non-silent frame went to the device since the last arm().
class TappedSource final : public RenderSource {
public:
    explicit TappedSource(RenderSource& inner) : m_inner(inner) {}
    void arm() { m_firstSoundNs.store(0); }
    long long firstSoundNs() const { return m_firstSoundNs.load(); }
    void render(float* out, int frameCount) noexcept override {
        m_inner.render(out, frameCount);
        if (m_firstSoundNs.load(std::memory_order_relaxed) != 0)
            return;
        for (int i = 0; i < 2 * frameCount; ++i) {
            if (std::abs(out[i]) > testing::kSilenceLevel) {
                m_firstSoundNs.store(monotonicNs());
                return;
            }
        }
    }
    void discard() noexcept override { m_inner.discard(); }
    double renderRateFor(double outputRateHz) noexcept override {
        return m_inner.renderRateFor(outputRateHz);
    }

private:
    RenderSource& m_inner;
    std::atomic<long long> m_firstSoundNs{0};
};

// The sound card, opening its first stream `openDelayMs` later than the
// private server does: a desktop's server took 1.6 s.
class SlowOpening final : public AudioBackend {
public:
    explicit SlowOpening(int openDelayMs) : m_openDelayMs(openDelayMs) {}
    bool start(RenderSource& source) override {
        if (!m_opened)
            std::this_thread::sleep_for(std::chrono::milliseconds(m_openDelayMs));
        m_opened = true;
        return m_device.start(source);
    }
    void pause() override { m_device.pause(); }
    bool isRunning() const override { return m_device.isRunning(); }
    void abandon() noexcept override { m_device.abandon(); }
    double latencySeconds() const override { return m_device.latencySeconds(); }

private:
    int m_openDelayMs;
    bool m_opened = false;
    RtAudioBackend m_device;
};

// The player's output as on the sound card, with its source tapped.
class TappedOutput final : public AudioBackend {
public:
    explicit TappedOutput(int openDelayMs) : m_output(std::make_unique<SlowOpening>(openDelayMs)) {}
    bool start(RenderSource& source) override {
        if (!m_tap)
            m_tap = std::make_unique<TappedSource>(source);
        return m_output.start(*m_tap);
    }
    void pause() override { m_output.pause(); }
    bool isRunning() const override { return m_output.isRunning(); }
    bool isStarting() const override { return m_output.isStarting(); }
    double latencySeconds() const override { return m_output.latencySeconds(); }
    TappedSource* tap() { return m_tap.get(); }

private:
    std::unique_ptr<TappedSource> m_tap; // outlives the output, declared first
    AsyncOutput m_output;
};

struct Heard {
    testing::PrivateSoundServer& server;
    int seen = 0;
    // Whether the sink sounded since the last look.
    bool operator()() {
        const int now = server.frameCount();
        bool sound = false;
        for (; seen < now; ++seen)
            sound = sound || std::abs(server.sample(seen, 0)) > testing::kSilenceLevel;
        return sound;
    }
    void quiet(int ms) {
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < ms) {
            QApplication::processEvents(QEventLoop::AllEvents, 20);
            if ((*this)())
                clock.restart();
        }
    }
};

int measureClicks(const QString& path, int runs, int openDelayMs,
                  testing::PrivateSoundServer& server) {
    std::printf("an output that opens %d ms later than the server's own:\n", openDelayMs);
    Heard heard{server};
    std::vector<double> firstToCallback, firstToSink, laterToCallback, laterToSink;
    for (int run = 0; run < runs; ++run) {
        CalculatorState state;
        auto* output = new TappedOutput(openDelayMs);
        TempoDetectModel model(
            std::make_unique<TempoPreviewPlayer>(std::unique_ptr<AudioBackend>(output)));
        TempoDetectPanel panel(state, model);
        panel.resize(900, 700);
        panel.show();
        panel.analyse(path);
        while (model.isAnalysing())
            QApplication::processEvents(QEventLoop::AllEvents, 20);
        if (!model.result()) {
            std::fprintf(stderr, "analysis failed: %s\n",
                         qPrintable(model.status().value_or(QString())));
            return 1;
        }
        // A person reads the result before clicking.
        waitMs(1700);
        heard.quiet(300);
        auto* grid = panel.findChild<WaveformGrid*>();
        for (const bool first : {true, false}) {
            if (output->tap())
                output->tap()->arm();
            const long long clickNs = monotonicNs();
            QTest::mouseClick(grid, Qt::LeftButton, {}, QPoint(grid->width() / 3, 40));
            QElapsedTimer clock;
            clock.start();
            bool sink = false;
            double toSink = -1;
            while (clock.elapsed() < 5000 && !sink) {
                QApplication::processEvents(QEventLoop::AllEvents, 1);
                sink = heard();
                if (sink)
                    toSink = double(monotonicNs() - clickNs) / 1e6;
            }
            const long long callbackNs = output->tap() ? output->tap()->firstSoundNs() : 0;
            const double toCallback = callbackNs ? double(callbackNs - clickNs) / 1e6 : -1;
            (first ? firstToCallback : laterToCallback).push_back(toCallback);
            (first ? firstToSink : laterToSink).push_back(toSink);
            waitMs(600);
            model.stopPreview();
            heard.quiet(500);
        }
    }
    print("first click to callback (ms)", firstToCallback);
    print("first click to sink (ms)", firstToSink);
    print("later click to callback (ms)", laterToCallback);
    print("later click to sink (ms)", laterToSink);
    return 0;
}

// The app's own window and teardown, as in its main().
int runApp(int argc, char** argv, const QString& path) {
    QApplication app(argc, argv);
    QApplication::setFont(uiFont(13));
    AppearanceController appearance;
    MainWindow window(appearance, false);
    window.show();
    window.content()->showTool(CalculatorTool::bpm);
    auto* tempo = qobject_cast<TempoView*>(window.content()->toolView());
    TempoDetectModel& model = tempo->detectPanel()->model();
    tempo->analyse(path);
    while (model.isAnalysing())
        QApplication::processEvents(QEventLoop::AllEvents, 20);
    if (!model.result())
        return 1;
    model.startPreview(1.0);
    QTimer::singleShot(1000, [] {
        std::printf("quit %lld\n", monotonicNs());
        std::fflush(stdout);
        QApplication::quit();
    });
    return QApplication::exec();
}

int measureQuit(const QString& self, const QString& path, int runs,
                testing::PrivateSoundServer& server) {
    std::vector<double> quit;
    for (int run = 0; run < runs; ++run) {
        QProcess app;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PULSE_SERVER"), server.address());
        app.setProcessEnvironment(environment);
        app.start(self, {QStringLiteral("--app"), path});
        if (!app.waitForFinished(60000))
            return 1;
        const long long endNs = monotonicNs();
        const QByteArray out = app.readAllStandardOutput();
        const qsizetype at = out.indexOf("quit ");
        if (at < 0 || app.exitCode() != 0) {
            std::fprintf(stderr, "the app did not quit cleanly: %s\n", out.constData());
            return 1;
        }
        quit.push_back(double(endNs - out.mid(at + 5).trimmed().toLongLong()) / 1e6);
    }
    print("quit after a preview (ms)", quit);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc >= 3 && std::strcmp(argv[1], "--app") == 0)
        return runApp(argc, argv, QString::fromLocal8Bit(argv[2]));
    QApplication app(argc, argv);
    QApplication::setFont(uiFont(13));
    if (argc < 2) {
        std::fprintf(stderr, "usage: quorlen-preview-probe AUDIO [RUNS]\n");
        return 2;
    }
    const QString path = QString::fromLocal8Bit(argv[1]);
    const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 5;
    testing::PrivateSoundServer server;
    if (const QString reason = server.start(); !reason.isEmpty()) {
        std::printf("no sound server: %s\n", qPrintable(reason));
        return 1;
    }
    qputenv("PULSE_SERVER", server.address().toLocal8Bit());
    std::printf("cores: %d\n", QThread::idealThreadCount());
    for (const int openDelayMs : {0, 1500}) {
        if (const int status = measureClicks(path, runs, openDelayMs, server))
            return status;
    }
    return measureQuit(QApplication::applicationFilePath(), path, runs, server);
}
