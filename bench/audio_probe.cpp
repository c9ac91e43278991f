// Figures of the sound path, printed for scripts/measure-audio. It runs a
// private PulseAudio server with a null sink and records its monitor
// (support/private_sound_server.h), so it needs no sound card. Not a test:
// the numbers depend on the machine and its load.
//   1. what the output granted: rate and block size;
//   2. the GUI thread's longest stall around the first sound (the stream
//      opens then) and around a sound after the idle pause;
//   3. request to sound in the recording, cold and warm (the recorder adds
//      about 10 ms of its own);
//   4. click onsets against their grid, found in the recording by matching
//      each sound's own samples: `quorlen euclid 3 8 --bpm 120 --note 16
//      --play --cycles 4`, the app's Euclid player and its progression
//      player at 90 BPM, each for SECONDS (default 60);
//   5. each player's peak in the recording.
// usage: quorlen-audio-probe [SECONDS]
#include "audio/chord_player.h"
#include "audio/engine/async_output.h"
#include "audio/engine/rtaudio_backend.h"
#include "gui_stall.h"
#include "harmony/key_selection.h"
#include "state/calculator_state.h"
#include "support/private_sound_server.h"
#include "synth/tone_buffers.h"
#include "synth/triad.h"
#include "tools/euclidean/euclid_playback.h"
#include "tools/fifths/circle_of_fifths_view.h"
#include "tools/harmonics/harmonic_series_view.h"
#include "tools/temperament/temperament_view.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace quorlen {
namespace {

using Server = testing::PrivateSoundServer;

double median(std::vector<double> values) {
    if (values.empty())
        return NAN;
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// The GUI thread's longest stall over `ms` of running its event loop, with
// `atStart` run from the loop shortly after it starts.
double longestStallMs(int ms, const std::function<void()>& atStart = {}) {
    if (atStart)
        QTimer::singleShot(5, atStart);
    QElapsedTimer clock;
    clock.start();
    return runUntil([&] { return clock.elapsed() >= ms; });
}

void runFor(int ms) { longestStallMs(ms); }

// Sound onsets after `from`: the first loud frame after 1000 quiet ones,
// moved to where one of `templates` (× the output volume) fits the
// recording best within ±64 frames.
std::vector<int> matchedOnsets(const Server& server, int from,
                               const std::vector<std::vector<float>>& templates) {
    std::vector<int> found;
    int quiet = 1000;
    for (int frame = from; frame < server.frameCount(); ++frame) {
        const bool loud = std::abs(server.sample(frame, 0)) > testing::kSilenceLevel;
        if (loud && quiet >= 1000) {
            int best = frame;
            double bestError = INFINITY;
            for (const auto& shape : templates) {
                const int length = std::min<int>(2000, static_cast<int>(shape.size()));
                for (int start = frame - 64; start <= frame + 64; ++start) {
                    if (start < 0 || start + length > server.frameCount())
                        continue;
                    double error = 0;
                    for (int i = 0; i < length; ++i) {
                        const double d =
                            server.sample(start + i, 0) - 0.9 * shape[static_cast<size_t>(i)];
                        error += d * d;
                    }
                    if (error < bestError) {
                        bestError = error;
                        best = start;
                    }
                }
            }
            found.push_back(best);
        }
        quiet = loud ? 0 : quiet + 1;
    }
    return found;
}

float peakFrom(const Server& server, int from) {
    float peak = 0;
    for (int frame = from; frame < server.frameCount(); ++frame)
        peak = std::max(peak, std::abs(server.sample(frame, 0)));
    return peak;
}

// A recorder that cannot keep up loses frames and shifts every later
// onset; say so beside the figures it spoils.
struct Segment {
    explicit Segment(const Server& server)
        : server(server), fromFrame(server.frameCount()), fromNs(server.nowNs()) {}
    // Frames recorded minus frames of wall-clock time passed.
    long missing() const {
        const double expected = (server.nowNs() - fromNs) * 44100.0 / 1e9;
        return std::lround(expected - (server.frameCount() - fromFrame));
    }
    const Server& server;
    int fromFrame;
    qint64 fromNs;
};

// Onsets against their grid, two ways: each interval against its step
// (round(k × step) − round((k − 1) × step) frames), which a glitch of the
// server or the recorder spoils once; and each onset against onset 0 +
// round(k × step), which such a glitch shifts for good.
void printGrid(const char* name, const std::vector<int>& onsets, double stepFrames,
               const Segment& segment) {
    size_t exact = 0;
    long worstInterval = 0;
    std::vector<double> fromFirstMs;
    for (size_t k = 1; k < onsets.size(); ++k) {
        const auto due = [&](size_t i) {
            return std::llround(static_cast<double>(i) * stepFrames);
        };
        const long interval = std::labs((onsets[k] - onsets[k - 1]) - (due(k) - due(k - 1)));
        exact += interval <= 1 ? 1 : 0;
        worstInterval = std::max(worstInterval, interval);
        fromFirstMs.push_back(std::abs((onsets[k] - onsets[0]) - due(k)) * 1000.0 / 44100);
    }
    if (qEnvironmentVariableIsSet("QUORLEN_PROBE_VERBOSE")) {
        for (size_t k = 1; k < onsets.size(); ++k)
            std::printf(" %d", onsets[k] - onsets[k - 1]);
        std::printf("\n");
    }
    std::printf("%s: %zu onsets; %zu of %zu intervals within 1 frame of the grid, worst %ld "
                "frames (%.3f ms); from the first onset: median %.3f ms off; the recording "
                "ran %+ld frames off the wall clock\n",
                name, onsets.size(), exact, onsets.empty() ? 0 : onsets.size() - 1, worstInterval,
                worstInterval * 1000.0 / 44100, median(fromFirstMs), segment.missing());
}

std::vector<std::vector<float>> clickTemplates() {
    return {synth::makeTickBuffer(1760, 0.55f), synth::makeTickBuffer(1175, 0.16f)};
}

int run(int seconds) {
    Server server;
    if (const QString reason = server.start(); !reason.isEmpty()) {
        std::printf("no sound server: %s\n", qPrintable(reason));
        return 1;
    }
    qputenv("PULSE_SERVER", server.address().toLocal8Bit());
    runFor(1000); // the null sink settles at the recorder's low latency

    auto owned = std::make_unique<AsyncOutput>(std::make_unique<RtAudioBackend>());
    AsyncOutput* output = owned.get();
    ChordPlayer player(std::move(owned), std::chrono::milliseconds(2000));

    // 2 and 3, cold: the request opens the stream.
    int from = server.frameCount();
    qint64 requestNs = 0;
    const double coldStall = longestStallMs(1500, [&] {
        requestNs = server.nowNs();
        player.playTick(1760, 0.55f);
    });
    auto heardMs = [&](int start, qint64 request) {
        const auto frame = server.waitForSound(start, 2000);
        const auto arrival = frame ? server.arrivalNs(*frame) : std::nullopt;
        return arrival ? (*arrival - request) / 1e6 : NAN;
    };
    const double coldMs = heardMs(from, requestNs);
    if (output->state() != AsyncOutput::State::running) {
        std::printf("no audio output could be started\n");
        return 1;
    }
    const auto& device = static_cast<const RtAudioBackend&>(output->device());
    std::printf("output granted: %u Hz, %u frames a block (%.1f ms)\n", device.deviceRateHz(),
                device.blockFrames(), 1000.0 * device.blockFrames() / device.deviceRateHz());

    std::vector<double> warmMs;
    for (int i = 0; i < 20; ++i) {
        from = server.frameCount();
        requestNs = server.nowNs();
        player.playTick(1760, 0.55f);
        warmMs.push_back(heardMs(from, requestNs));
        runFor(150);
    }
    // After the idle pause (2 s here) the stream restarts.
    runFor(2500);
    from = server.frameCount();
    const double idleStall = longestStallMs(1000, [&] {
        requestNs = server.nowNs();
        player.playTick(1760, 0.55f);
    });
    const double afterIdleMs = heardMs(from, requestNs);
    std::printf(
        "GUI thread's longest stall: first sound %.1f ms, first after the idle pause %.1f ms\n",
        coldStall, idleStall);
    std::printf("request to sound in the recording: cold %.1f ms, after idle %.1f ms, warm median "
                "%.1f ms, worst %.1f ms (20 clicks)\n",
                coldMs, afterIdleMs, median(warmMs),
                *std::max_element(warmMs.begin(), warmMs.end()));

    // 4 and 5: the command line.
    runFor(500);
    from = server.frameCount();
    const Segment cliSegment(server);
    QProcess cli;
    cli.start(QCoreApplication::applicationDirPath() + QStringLiteral("/quorlen"),
              {QStringLiteral("euclid"), QStringLiteral("3"), QStringLiteral("8"),
               QStringLiteral("--bpm"), QStringLiteral("120"), QStringLiteral("--note"),
               QStringLiteral("16"), QStringLiteral("--play"), QStringLiteral("--cycles"),
               QStringLiteral("4")});
    while (cli.state() != QProcess::NotRunning)
        runFor(50);
    runFor(300);
    printGrid("quorlen euclid 3 8 --play, 4 cycles", matchedOnsets(server, from, clickTemplates()),
              5512.5, cliSegment);
    const float cliPeak = peakFrom(server, from);

    // The app's Euclid player, 120 BPM sixteenths.
    CalculatorState state;
    runFor(500);
    from = server.frameCount();
    const Segment euclidSegment(server);
    {
        EuclidPlayback playback(state, player);
        playback.start();
        runFor(seconds * 1000);
        playback.stop();
    }
    runFor(300);
    printGrid("app Euclid player E(3,8) 1/16 120", matchedOnsets(server, from, clickTemplates()),
              5512.5, euclidSegment);
    const float euclidPeak = peakFrom(server, from);

    // The progression player at 90 BPM: I–V–vi–IV in C, 4/3 s a chord.
    from = server.frameCount();
    const Segment progressionSegment(server);
    {
        state.setBpm(90);
        state.setProgression({0, 4, 5, 3});
        CircleOfFifthsView view(state, Qt::red, harmony::KeySelection{0, false}, player);
        std::vector<std::vector<float>> chords;
        for (const int degree : {0, 4, 5, 3}) {
            const harmony::KeySelection key{0, false};
            chords.push_back(synth::makeBuffer(
                synth::triadFrequencies(key.rootFrequency(degree, 440), key.triadQuality(degree))));
        }
        view.startPlayback();
        runFor(seconds * 1000);
        view.stopPlayback();
        runFor(1500);
        printGrid("app progression player, 90 BPM", matchedOnsets(server, from, chords),
                  120.0 / 90.0 * 44100, progressionSegment);
    }
    const float progressionPeak = peakFrom(server, from);

    // The sweep and the scale, for their peaks.
    from = server.frameCount();
    {
        HarmonicSeriesView view(state, Qt::red, player);
        view.startSweep();
        runFor(5500);
    }
    const float sweepPeak = peakFrom(server, from);
    from = server.frameCount();
    {
        TemperamentView view(state, Qt::red, player);
        view.startPlayback();
        runFor(5500);
    }
    const float scalePeak = peakFrom(server, from);
    // All 16 voices at once: chords and full partial sets.
    from = server.frameCount();
    const synth::Partial partials[] = {{110, 1}, {220, 0.5f}, {330, 0.33f}, {440, 0.25f}};
    for (int voice = 0; voice < ChordPlayer::kVoiceCount; ++voice) {
        if (voice % 2)
            player.playPartials(partials);
        else
            player.playTriad(220.0 + 10 * voice, synth::TriadQuality::major);
    }
    runFor(2500);
    const float stressPeak = peakFrom(server, from);
    std::printf("underruns reported by the output: %u\n", device.underruns());
    std::printf("peaks (full scale 1.0): command line %.3f, Euclid %.3f, progression %.3f, "
                "sweep %.3f, scale %.3f, 16 voices at once %.3f\n",
                cliPeak, euclidPeak, progressionPeak, sweepPeak, scalePeak, stressPeak);
    return 0;
}

} // namespace
} // namespace quorlen

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 60;
    return quorlen::run(seconds);
}
