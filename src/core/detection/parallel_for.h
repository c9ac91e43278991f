#pragma once

#include <atomic>
#include <cstddef>
#include <functional>

namespace quorlen::detection {

// Calls body(i) for every i in [0, count), spread over up to `threads`
// threads (the caller's thread included); returns when all calls are done.
// Each i must write only its own slot of a result array, so the outcome
// does not depend on the thread count. threads <= 1 runs in order inline;
// threads the system refuses to start are done without.
void parallelFor(size_t count, int threads, const std::function<void(size_t)>& body);

// Threads that a batch of analyses shares beyond each one's own: a stage
// of an analysis borrows what is free when it starts and gives it back when
// it ends, so the batch never runs more threads than it was given, and the
// cores of workers that have run out of files go to those still busy.
class ThreadBudget {
public:
    // `spare` free now; one borrowing takes at most `mostPerTake`.
    ThreadBudget(int spare, int mostPerTake);
    // Up to `wanted` (and mostPerTake) of those free now; 0 when none is.
    int take(int wanted);
    void give(int count);
    int free() const { return m_spare.load(); }

private:
    std::atomic<int> m_spare;
    int m_mostPerTake;
};

// The threads of one stage: its own and what it could borrow from
// `budget` (none without one), given back when the lease ends.
class ThreadLease {
public:
    ThreadLease(int own, ThreadBudget* budget, int wantedExtra);
    ~ThreadLease();
    ThreadLease(const ThreadLease&) = delete;
    ThreadLease& operator=(const ThreadLease&) = delete;
    int threads() const { return m_own + m_borrowed; }

private:
    int m_own;
    ThreadBudget* m_budget;
    int m_borrowed = 0;
};

} // namespace quorlen::detection
