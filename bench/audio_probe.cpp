// Timing figures of the sound path, printed for scripts/measure-audio (run
// it there: it needs a sound server). Not a test: the numbers depend on the
// machine and its load.
//   1. time the audio callback spends mixing, per block, with 16 voices;
//   2. deviation of the rhythm player's step times from the ideal grid;
//   3. delay from a play request to the first sounding sample handed to
//      the server, with the output stopped (cold) and running (warm);
//   4. delay from a request to the sound in a recording of the server's
//      output (parecord on $QUORLEN_MONITOR), which adds the server's own
//      buffering and the recorder's latency of about 10 ms.
#include "audio/audio_backend.h"
#include "audio/chord_player.h"
#include "audio/rtaudio_backend.h"
#include "state/calculator_state.h"
#include "tools/euclidean/euclid_playback.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTimer>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <vector>

namespace quorlen {
namespace {

using Clock = std::chrono::steady_clock;

qint64 nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch())
        .count();
}

// Wraps the player's mixer inside the real callback: records how long each
// block takes and when the first sounding frame after arm() goes out.
// Preallocated; the callback only reads the clock and stores numbers.
class TimingSource final : public RenderSource {
public:
    explicit TimingSource(RenderSource& inner) : m_inner(inner) {}

    void render(float* out, int frameCount) noexcept override {
        const qint64 start = nowNs();
        m_inner.render(out, frameCount);
        const qint64 end = nowNs();
        const size_t index = m_blocks.load(std::memory_order_relaxed);
        if (index < m_durationsNs.size())
            m_durationsNs[index] = end - start;
        m_blocks.store(index + 1, std::memory_order_release);
        if (m_armed.load(std::memory_order_acquire)) {
            for (int i = 0; i < 2 * frameCount; ++i) {
                if (out[i] != 0.0f) {
                    m_firstSoundNs.store(end, std::memory_order_release);
                    m_armed.store(false, std::memory_order_release);
                    break;
                }
            }
        }
    }

    void arm() {
        m_firstSoundNs.store(0);
        m_armed.store(true);
    }
    qint64 firstSoundNs() const { return m_firstSoundNs.load(std::memory_order_acquire); }
    void resetBlocks() { m_blocks.store(0); }
    std::vector<qint64> durationsNs() const {
        const size_t count = std::min(m_blocks.load(std::memory_order_acquire), m_durationsNs.size());
        return {m_durationsNs.begin(), m_durationsNs.begin() + static_cast<long>(count)};
    }

private:
    RenderSource& m_inner;
    std::array<qint64, 1 << 16> m_durationsNs{};
    std::atomic<size_t> m_blocks{0};
    std::atomic<bool> m_armed{false};
    std::atomic<qint64> m_firstSoundNs{0};
};

// The real backend, handing it the timing wrapper instead of the mixer.
class TimingBackend final : public AudioBackend {
public:
    bool start(RenderSource& source) override {
        if (!m_timing) {
            m_timing = std::make_unique<TimingSource>(source);
            m_timing->arm();
        }
        return m_backend.start(*m_timing);
    }
    void pause() override { m_backend.pause(); }
    bool isRunning() const override { return m_backend.isRunning(); }

    TimingSource* timing() const { return m_timing.get(); }
    const RtAudioBackend& backend() const { return m_backend; }

private:
    RtAudioBackend m_backend;
    std::unique_ptr<TimingSource> m_timing;
};

// The server's output as the recorder hears it: each chunk of float frames
// is stamped with its arrival time.
class MonitorRecorder {
public:
    explicit MonitorRecorder(const QString& monitor) {
        QObject::connect(&m_process, &QProcess::readyReadStandardOutput, [this] {
            m_bytes += m_process.readAllStandardOutput();
            m_arrivals.push_back({frameCount(), nowNs()});
        });
        m_process.start(QStringLiteral("parecord"),
                        {QStringLiteral("--device=") + monitor, QStringLiteral("--raw"),
                         QStringLiteral("--format=float32le"), QStringLiteral("--rate=44100"),
                         QStringLiteral("--channels=1"), QStringLiteral("--latency-msec=10")});
    }
    ~MonitorRecorder() {
        m_process.kill();
        m_process.waitForFinished(2000);
    }
    long frameCount() const { return static_cast<long>(m_bytes.size() / sizeof(float)); }
    // Arrival time of the first frame at or after `from` above -60 dBFS.
    qint64 soundArrivalNs(long from) const {
        const auto* samples = reinterpret_cast<const float*>(m_bytes.constData());
        for (long frame = from; frame < frameCount(); ++frame) {
            if (std::abs(samples[frame]) > 1e-3f) {
                for (const auto& [frames, ns] : m_arrivals) {
                    if (frames > frame)
                        return ns;
                }
            }
        }
        return 0;
    }

private:
    QProcess m_process;
    QByteArray m_bytes;
    std::vector<std::pair<long, qint64>> m_arrivals;
};

void waitMs(int ms) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

struct Summary {
    double median;
    double worst;
};

Summary summarise(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    if (values.empty())
        return {NAN, NAN};
    const size_t n = values.size();
    const double median = n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
    return {median, values.back()};
}

int run() {
    auto owned = std::make_unique<TimingBackend>();
    TimingBackend* backend = owned.get();
    ChordPlayer player(std::move(owned));

    // The recorder runs first: it also brings a null sink down from its 2 s
    // idle latency to the low latency a desktop's sound card runs at.
    std::unique_ptr<MonitorRecorder> recorder;
    const QString monitor = qEnvironmentVariable("QUORLEN_MONITOR");
    if (!monitor.isEmpty()) {
        recorder = std::make_unique<MonitorRecorder>(monitor);
        waitMs(1500);
    }
    const auto heardMs = [&](long from, qint64 request) {
        const qint64 heard = recorder ? recorder->soundArrivalNs(from) : 0;
        return heard ? (heard - request) / 1e6 : NAN;
    };

    // 3 and 4, cold: the output is stopped, so the request opens and starts it.
    long from = recorder ? recorder->frameCount() : 0;
    const qint64 coldRequest = nowNs();
    player.playTick(1760, 0.55f);
    if (!backend->timing() || !backend->isRunning()) {
        std::printf("no audio output could be started (is PULSE_SERVER set?)\n");
        return 1;
    }
    waitMs(700);
    const qint64 coldFirst = backend->timing()->firstSoundNs();
    const double coldHeardMs = heardMs(from, coldRequest);
    std::printf("output: %u Hz, %u frames per block (%.1f ms)\n",
                backend->backend().deviceRateHz(), backend->backend().blockFrames(),
                1000.0 * backend->backend().blockFrames() / backend->backend().deviceRateHz());

    // 3 and 4, warm: the output runs.
    std::vector<double> warmMs;
    std::vector<double> warmHeardMs;
    for (int i = 0; i < 20; ++i) {
        backend->timing()->arm();
        from = recorder ? recorder->frameCount() : 0;
        const qint64 request = nowNs();
        player.playTick(1760, 0.55f);
        waitMs(300);
        if (const qint64 first = backend->timing()->firstSoundNs())
            warmMs.push_back((first - request) / 1e6);
        if (const double heard = heardMs(from, request); !std::isnan(heard))
            warmHeardMs.push_back(heard);
    }

    // 1. All 16 voices sounding: chords and partials, re-triggered.
    const synth::Partial partials[] = {{110, 1}, {220, 0.5f}, {330, 0.33f}, {440, 0.25f},
                                       {550, 0.2f}, {660, 0.17f}, {770, 0.14f}, {880, 0.12f}};
    backend->timing()->resetBlocks();
    for (int round = 0; round < 3; ++round) {
        for (int voice = 0; voice < ChordPlayer::kVoiceCount; ++voice) {
            if (voice % 2)
                player.playPartials(partials);
            else
                player.playTriad(220.0 + 10 * voice, synth::TriadQuality::major);
        }
        waitMs(1000);
    }
    std::vector<double> blockUs;
    for (const qint64 ns : backend->timing()->durationsNs())
        blockUs.push_back(ns / 1e3);

    // 2. The rhythm player at 120 BPM in sixteenths (125 ms) for 10 s.
    CalculatorState state;
    EuclidPlayback playback(state, player);
    std::vector<qint64> stepNs;
    QObject::connect(&state, &CalculatorState::euclidStepChanged, [&] {
        if (state.euclidStep())
            stepNs.push_back(nowNs());
    });
    playback.start();
    waitMs(10000 + 60);
    playback.stop();
    std::vector<double> deviationMs;
    for (size_t i = 0; i < stepNs.size(); ++i)
        deviationMs.push_back(std::abs((stepNs[i] - stepNs[0]) / 1e6 - 125.0 * i));

    const Summary callback = summarise(blockUs);
    const Summary timer = summarise(deviationMs);
    const Summary warm = summarise(warmMs);
    const Summary heard = summarise(warmHeardMs);
    std::printf("audio callback, 16 voices: median %.1f us, worst %.1f us over %zu blocks\n",
                callback.median, callback.worst, blockUs.size());
    std::printf("step timer, 125 ms steps for 10 s: median %.2f ms, worst %.2f ms off the grid "
                "(%zu steps)\n",
                timer.median, timer.worst, stepNs.size());
    std::printf("request to first sample handed to the server: cold %.1f ms; warm median %.1f ms, "
                "worst %.1f ms (%zu of 20)\n",
                coldFirst ? (coldFirst - coldRequest) / 1e6 : NAN, warm.median, warm.worst,
                warmMs.size());
    std::printf("request to sound in the recorded server output: cold %.1f ms; warm median "
                "%.1f ms, worst %.1f ms (%zu of 20)\n",
                coldHeardMs, heard.median, heard.worst, warmHeardMs.size());
    return 0;
}

} // namespace
} // namespace quorlen

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    return quorlen::run();
}
