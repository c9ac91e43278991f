#pragma once

#include <atomic>

namespace quorlen::cli {

// While alive, the first Ctrl+C (SIGINT) only raises a flag that long work
// polls, so it can stop cleanly; a second Ctrl+C ends the process the
// default way. The previous handler is restored on destruction.
class InterruptFlag {
public:
    InterruptFlag();
    ~InterruptFlag();
    InterruptFlag(const InterruptFlag&) = delete;
    InterruptFlag& operator=(const InterruptFlag&) = delete;

    const std::atomic<bool>& raised() const;
};

} // namespace quorlen::cli
