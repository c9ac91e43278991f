#include "detection/parallel_for.h"

#include "threads/try_start_thread.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace quorlen::detection {

void parallelFor(size_t count, int threads, const std::function<void(size_t)>& body) {
    const size_t workers = std::min(count, static_cast<size_t>(std::max(threads, 1)));
    if (workers <= 1) {
        for (size_t i = 0; i < count; ++i)
            body(i);
        return;
    }
    // Items are handed out one at a time: grid scores at low tempos cost
    // more than at high ones, so fixed slices would leave a thread idle.
    std::atomic<size_t> next{0};
    std::exception_ptr failure;
    std::mutex failureMutex;
    const auto work = [&] {
        try {
            for (size_t i = next++; i < count; i = next++)
                body(i);
        } catch (...) {
            const std::lock_guard lock(failureMutex);
            if (!failure)
                failure = std::current_exception();
            next = count;
        }
    };
    std::vector<std::jthread> pool;
    pool.reserve(workers - 1);
    for (size_t w = 1; w < workers; ++w) {
        std::optional<std::jthread> thread = threads::tryStartThread(work);
        // Refused: those started and this one share the items.
        if (!thread)
            break;
        pool.push_back(std::move(*thread));
    }
    work();
    pool.clear();
    if (failure)
        std::rethrow_exception(failure);
}

ThreadBudget::ThreadBudget(int spare, int mostPerTake)
    : m_spare(std::max(spare, 0)), m_mostPerTake(std::max(mostPerTake, 0)) {}

int ThreadBudget::take(int wanted) {
    wanted = std::min(wanted, m_mostPerTake);
    int free = m_spare.load();
    for (;;) {
        const int taken = std::clamp(free, 0, std::max(wanted, 0));
        if (taken == 0 || m_spare.compare_exchange_weak(free, free - taken))
            return taken;
    }
}

void ThreadBudget::give(int count) { m_spare += std::max(count, 0); }

ThreadLease::ThreadLease(int own, ThreadBudget* budget, int wantedExtra)
    : m_own(std::max(own, 1)), m_budget(budget),
      m_borrowed(budget ? budget->take(wantedExtra) : 0) {}

ThreadLease::~ThreadLease() {
    if (m_budget)
        m_budget->give(m_borrowed);
}

} // namespace quorlen::detection
