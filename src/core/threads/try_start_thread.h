#pragma once

#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace quorlen::threads {

// Starts `body` on a thread of its own, or nullopt when the system refuses
// one: a process limit, or no memory for its stack or its state. Whoever
// asked goes on with fewer threads, or without the work.
template <typename Body> std::optional<std::jthread> tryStartThread(Body&& body) {
    try {
        return std::jthread(std::forward<Body>(body));
    } catch (const std::system_error&) {
    } catch (const std::bad_alloc&) {
    }
    return std::nullopt;
}

} // namespace quorlen::threads
