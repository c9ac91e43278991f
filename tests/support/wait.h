#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTest>

#include <functional>

namespace quorlen::testing {

// Spins the event loop until `condition` holds or `timeoutMs` passes.
inline bool waitUntil(const std::function<bool()>& condition, int timeoutMs = 3000) {
    QDeadlineTimer deadline(timeoutMs);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QTest::qWait(5);
    }
    return true;
}

} // namespace quorlen::testing
