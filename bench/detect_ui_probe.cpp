// Timing of tempo detection in the running app, driven as a user would:
// a file dropped on the detection panel (a real drop event) until the
// result is published and painted, the longest the GUI thread went without
// serving its event loop meanwhile, and, when a sound server is reachable,
// the delay from a click on Preview to the first sample of the file heard on
// the sink of a private PulseAudio server (support/private_sound_server.h),
// the same for a restart by a click on the waveform, and the GUI thread's
// longest stall around Preview and around Stop.
// usage: quorlen-detect-probe AUDIO [RUNS]
#include "app/content_view.h"
#include "gui_stall.h"
#include "support/private_sound_server.h"
#include "tempo_detection/drop_zone.h"
#include "tempo_detection/tempo_detect_panel.h"
#include "tools/tempo/tempo_view.h"
#include "ui/fonts.h"
#include "ui/kit_button.h"

#include <QApplication>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QMimeData>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

using namespace quorlen;

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

void print(const char* name, const std::vector<double>& values) {
    std::printf("%-28s median %.1f  max %.1f  [", name, median(values),
                *std::max_element(values.begin(), values.end()));
    for (const double value : values)
        std::printf(" %.1f", value);
    std::printf(" ]\n");
}

void drop(QWidget* target, const QString& path) {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(path)});
    const QPoint at = target->rect().center();
    QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    QDropEvent dropped(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &dropped);
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setFont(uiFont(13));
    if (argc < 2) {
        std::fprintf(stderr, "usage: quorlen-detect-probe AUDIO [RUNS]\n");
        return 2;
    }
    const QString path = QString::fromLocal8Bit(argv[1]);
    const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 5;

    ContentView content{QStringLiteral("bpm")};
    content.resize(1100, 1300);
    content.show();
    QApplication::processEvents();
    auto* view = qobject_cast<TempoView*>(content.toolView());
    TempoDetectPanel* panel = view->detectPanel();
    TempoDetectModel& model = panel->model();
    auto* zone = panel->findChild<DropZone*>(QStringLiteral("dropZone"));

    std::vector<double> dropToResult;
    std::vector<double> stalls;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer clock;
        clock.start();
        drop(zone, path);
        stalls.push_back(runUntil([&] { return !model.isAnalysing(); }));
        // Shown: the panel has painted the published result.
        panel->repaint();
        dropToResult.push_back(double(clock.nsecsElapsed()) / 1e6);
        if (!model.result() || model.failed()) {
            std::fprintf(stderr, "analysis failed: %s\n",
                         qPrintable(model.status().value_or(QString())));
            return 1;
        }
    }
    std::printf("file: %s, %.1f s, %s BPM\n", argv[1], model.result()->estimate.durationSeconds,
                qPrintable(QString::number(model.result()->bpm)));
    print("drop to result (ms)", dropToResult);
    print("longest GUI stall (ms)", stalls);

    testing::PrivateSoundServer server;
    if (const QString reason = server.start(); !reason.isEmpty()) {
        std::printf("no preview timing: %s\n", qPrintable(reason));
        return 0;
    }
    qputenv("PULSE_SERVER", server.address().toLocal8Bit());
    // Whether the sink sounded since the last look.
    int seen = server.frameCount();
    auto heardSound = [&] {
        const int now = server.frameCount();
        bool sound = false;
        for (; seen < now; ++seen)
            sound = sound || std::abs(server.sample(seen, 0)) > testing::kSilenceLevel;
        return sound;
    };
    auto* previewButton = panel->findChild<KitButton*>(QStringLiteral("previewButton"));
    std::vector<double> previewToSound;
    std::vector<double> restartToSound;
    std::vector<double> stopStalls;
    std::vector<double> previewStalls;
    for (int run = 0; run < runs; ++run) {
        // Silence first, so that what is heard next is this run's preview.
        QElapsedTimer quiet;
        quiet.start();
        while (quiet.elapsed() < 500) {
            QApplication::processEvents(QEventLoop::AllEvents, 50);
            if (heardSound())
                quiet.restart();
        }
        QElapsedTimer clock;
        bool heard = false;
        previewStalls.push_back(runUntil([&] {
            if (!clock.isValid()) {
                clock.start();
                previewButton->click();
            }
            heard = heard || heardSound();
            return heard || clock.elapsed() > 5000;
        }));
        if (!heard) {
            std::fprintf(stderr, "the preview was never heard: %s\n",
                         qPrintable(model.status().value_or(QString())));
            return 1;
        }
        previewToSound.push_back(double(clock.nsecsElapsed()) / 1e6);

        // A click on the waveform while it plays: the old playback fades
        // out, the sink falls silent for the pause and the start delay,
        // then the new one is heard.
        QElapsedTimer playing;
        playing.start();
        while (playing.elapsed() < 500) {
            QApplication::processEvents(QEventLoop::AllEvents, 5);
            heardSound();
        }
        clock.restart();
        model.startPreview(10.0);
        qint64 silentSinceNs = -1;
        bool restarted = false;
        while (!restarted && clock.elapsed() < 5000) {
            QApplication::processEvents(QEventLoop::AllEvents, 1);
            const bool sound = heardSound();
            if (!sound && silentSinceNs < 0)
                silentSinceNs = clock.nsecsElapsed();
            else if (sound && silentSinceNs >= 0 &&
                     clock.nsecsElapsed() - silentSinceNs > 50'000'000)
                restarted = true;
            else if (sound)
                silentSinceNs = -1;
        }
        restartToSound.push_back(restarted ? double(clock.nsecsElapsed()) / 1e6 : -1);
        // Stop: the fade, the pause, then the output pauses.
        stopStalls.push_back(runUntil([&] {
            if (model.playhead())
                previewButton->click();
            return !model.player().isPlaying();
        }));
    }
    print("Preview to sound (ms)", previewToSound);
    print("longest GUI stall, Preview (ms)", previewStalls);
    print("restart to sound (ms)", restartToSound);
    print("longest GUI stall, Stop (ms)", stopStalls);
    return 0;
}
