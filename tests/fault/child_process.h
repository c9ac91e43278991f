#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorlen::testing {

// A sanitizer build reserves terabytes of address space for its shadow
// memory and must be the first library a program loads: an address-space
// limit or a preloaded shim stops it before main. Under one, runs ignore
// `addressSpaceBytes`, and the cases about limits or the shim skip.
inline constexpr bool kUnderSanitizer = QUORLEN_SANITIZED;
#define QUORLEN_SKIP_UNDER_SANITIZER()                                                             \
    if (kUnderSanitizer)                                                                           \
    GTEST_SKIP() << "address-space limits and preloaded shims cannot run under a sanitizer"

// One run of a program under hostile conditions.
struct ChildRun {
    std::vector<std::string> argv; // argv[0] is the program's path
    // Variables set on top of the test's own environment.
    std::vector<std::pair<std::string, std::string>> environment;
    // RLIMIT_AS: the address space the program may map, in bytes.
    std::optional<unsigned long long> addressSpaceBytes;
    enum class Output { captured, full, closed } output = Output::captured;
    // Hold the program to file permissions even when the test runs as root
    // (drops the capabilities that override them).
    bool obeyFilePermissions = false;
    std::chrono::milliseconds timeout{20000};
    // Done to the running program (its process id is given) this long after
    // its start, in order; none happens once it has ended.
    struct Event {
        std::chrono::milliseconds at;
        std::function<void(int pid)> action;
    };
    std::vector<Event> events;
};

// An event that sends the program Ctrl+C (SIGINT).
ChildRun::Event interruptAt(std::chrono::milliseconds at);

struct ChildResult {
    int status = -1; // exit status, or -1 when ended by a signal or the timeout
    int signal = 0;  // the signal that ended it, 0 if none
    bool timedOut = false;
    bool unsupported = false; // the conditions could not be set up here
    std::string out;
    std::string err;
    double seconds = 0; // wall time
    // From the last event that happened to the end; 0 without events.
    double secondsAfterLastEvent = 0;
};

// Runs the program and waits for it, killing it at the timeout.
ChildResult runChild(const ChildRun& run);

} // namespace quorlen::testing
