#pragma once

#include <chrono>
#include <functional>

namespace quorlen {

// How a call run against a time limit ended.
enum class CallEnd {
    finished,   // the work returned in time
    timedOut,   // the limit passed first
    givenUp,    // the caller's `giveUp` answered true first
    notStarted, // no thread could be made: neither function ran
};

// Runs `work` on a thread of its own and waits until it returns, `limit`
// passes, or `giveUp` (asked every few milliseconds; may be empty) answers
// true. A sound server that accepts a connection and never answers blocks
// its client library without end, and no call of it can be interrupted:
// this keeps such a wait off the caller. Work that has not returned by then
// is abandoned, not stopped: it runs on, and `afterAbandoned` runs on its
// thread once it returns, to release what the work holds, since nobody
// waits for it any more. Both functions must not throw.
CallEnd runWithin(std::chrono::milliseconds limit, std::function<void()> work,
                  std::function<void()> afterAbandoned, const std::function<bool()>& giveUp = {});

// Abandoned calls of the whole process that have not returned yet.
int abandonedCallsRunning();

} // namespace quorlen
