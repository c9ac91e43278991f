#include "app/startup_probe.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QTimer>
#include <QWidget>

#include <cstdio>
#include <ctime>

namespace quorlen {
namespace {

long long realtimeNowNs() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * 1000000000LL + now.tv_nsec;
}

long long residentKb() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLongLong();
    }
    return -1;
}

class FirstPaintWatcher : public QObject {
public:
    FirstPaintWatcher(QWidget* window, long long mainStartNs)
        : QObject(window), m_mainStartNs(mainStartNs) {}

    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::Paint || m_seen)
            return false;
        m_seen = true;
        // Queued, so the frame this paint belongs to has been flushed.
        QTimer::singleShot(0, this, [this] {
            const QByteArray launch = qgetenv("QUORLEN_LAUNCH_NS");
            const double ms = launch.isEmpty() ? (monotonicNowNs() - m_mainStartNs) / 1e6
                                               : (realtimeNowNs() - launch.toLongLong()) / 1e6;
            std::printf("first-frame-ms %.1f\n", ms);
            std::fflush(stdout);
            QTimer::singleShot(2000, this, [] {
                std::printf("idle-rss-kb %lld\n", residentKb());
                std::fflush(stdout);
                QCoreApplication::quit();
            });
        });
        return false;
    }

private:
    long long m_mainStartNs;
    bool m_seen = false;
};

} // namespace

long long monotonicNowNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000000LL + now.tv_nsec;
}

void installStartupProbe(QWidget* window, long long mainStartNs) {
    window->installEventFilter(new FirstPaintWatcher(window, mainStartNs));
}

} // namespace quorlen
