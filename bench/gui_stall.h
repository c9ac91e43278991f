#pragma once

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <functional>

namespace quorlen {

// Runs the event loop until `done`, returning the longest gap in ms between
// two turns of a 1 ms timer: how long the GUI thread was kept from its
// events meanwhile.
inline double runUntil(const std::function<bool()>& done) {
    QElapsedTimer clock;
    clock.start();
    qint64 last = clock.nsecsElapsed();
    qint64 longest = 0;
    QTimer heartbeat;
    heartbeat.setTimerType(Qt::PreciseTimer);
    heartbeat.setInterval(1);
    QObject::connect(&heartbeat, &QTimer::timeout, [&] {
        const qint64 now = clock.nsecsElapsed();
        longest = std::max(longest, now - last);
        last = now;
    });
    heartbeat.start();
    while (!done())
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    return double(longest) / 1e6;
}

} // namespace quorlen
