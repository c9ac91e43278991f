#include "audio/engine/bounded_call.h"

#include "threads/try_start_thread.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace quorlen {
namespace {

// How often `giveUp` is asked: Ctrl+C must end a wait well within 0.5 s.
constexpr auto kGiveUpPoll = std::chrono::milliseconds(5);

std::atomic<int> g_abandoned{0};

// What the caller and the work's thread share; the last of them frees it.
struct Call {
    std::function<void()> work;
    std::function<void()> afterAbandoned;
    std::mutex mutex;
    std::condition_variable done;
    bool finished = false;  // guarded by mutex
    bool abandoned = false; // guarded by mutex
};

void runCall(const std::shared_ptr<Call>& call) {
    call->work();
    {
        std::lock_guard lock(call->mutex);
        if (!call->abandoned) {
            call->finished = true;
            call->done.notify_all();
            return;
        }
    }
    if (call->afterAbandoned)
        call->afterAbandoned();
    g_abandoned.fetch_sub(1);
}

} // namespace

CallEnd runWithin(std::chrono::milliseconds limit, std::function<void()> work,
                  std::function<void()> afterAbandoned, const std::function<bool()>& giveUp) {
    auto call = std::make_shared<Call>();
    call->work = std::move(work);
    call->afterAbandoned = std::move(afterAbandoned);
    std::optional<std::jthread> thread = threads::tryStartThread([call] { runCall(call); });
    if (!thread)
        return CallEnd::notStarted;
    thread->detach();
    const auto deadline = std::chrono::steady_clock::now() + limit;
    std::unique_lock lock(call->mutex);
    for (;;) {
        if (call->done.wait_for(lock, kGiveUpPoll, [&] { return call->finished; }))
            return CallEnd::finished;
        const bool givenUp = giveUp && giveUp();
        if (givenUp || std::chrono::steady_clock::now() >= deadline) {
            // Counted before the work's thread can see the flag and uncount it.
            g_abandoned.fetch_add(1);
            call->abandoned = true;
            return givenUp ? CallEnd::givenUp : CallEnd::timedOut;
        }
    }
}

int abandonedCallsRunning() { return g_abandoned.load(); }

} // namespace quorlen
