#include "cli/interrupt.h"

#include <csignal>

namespace quorlen::cli {
namespace {

// Written from the signal handler: a lock-free atomic is async-signal-safe.
std::atomic<bool> gInterrupted{false};
struct sigaction gPrevious {};

extern "C" void onInterrupt(int) {
    gInterrupted.store(true);
    std::signal(SIGINT, SIG_DFL);
}

} // namespace

static_assert(std::atomic<bool>::is_always_lock_free);

InterruptFlag::InterruptFlag() {
    gInterrupted.store(false);
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &gPrevious);
}

InterruptFlag::~InterruptFlag() { sigaction(SIGINT, &gPrevious, nullptr); }

const std::atomic<bool>& InterruptFlag::raised() const { return gInterrupted; }

} // namespace quorlen::cli
