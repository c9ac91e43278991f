// Sharing threads: results never depend on them, and a batch never holds
// more than it was given.
#include "detection/parallel_for.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace quorlen::detection {
namespace {

TEST(ParallelFor, CallsEveryIndexOnceAndPassesOnTheFirstFailure) {
    for (const int threads : {0, 1, 2, 5}) {
        std::vector<std::atomic<int>> calls(37);
        parallelFor(calls.size(), threads, [&](size_t i) { ++calls[i]; });
        for (size_t i = 0; i < calls.size(); ++i)
            EXPECT_EQ(calls[i].load(), 1) << i << " on " << threads;
        EXPECT_THROW(parallelFor(10, threads,
                                 [](size_t i) {
                                     if (i == 3)
                                         throw std::runtime_error("three");
                                 }),
                     std::runtime_error);
    }
}

TEST(ThreadBudget, LendsWhatIsFreeUpToTheLimitPerTake) {
    struct Step {
        int want;
        int expectedTaken;
    };
    ThreadBudget budget(3, 2);
    // 2 of 3 (the limit), the last 1, none left, none for a negative want.
    for (const Step step : {Step{5, 2}, Step{5, 1}, Step{1, 0}, Step{-1, 0}})
        EXPECT_EQ(budget.take(step.want), step.expectedTaken) << step.want;
    budget.give(2);
    EXPECT_EQ(budget.take(1), 1);
    EXPECT_EQ(budget.free(), 1);
    EXPECT_EQ(ThreadBudget(-4, 3).take(1), 0) << "a negative spare is none";
}

TEST(ThreadLease, GivesBackWhatItBorrowedAndCountsItsOwnAtLeastOnce) {
    ThreadBudget budget(2, 8);
    {
        const ThreadLease lease(1, &budget, 1);
        EXPECT_EQ(lease.threads(), 2);
        EXPECT_EQ(budget.free(), 1);
        const ThreadLease second(3, &budget, 4);
        EXPECT_EQ(second.threads(), 4);
        EXPECT_EQ(budget.free(), 0);
    }
    EXPECT_EQ(budget.free(), 2);
    EXPECT_EQ(ThreadLease(0, nullptr, 5).threads(), 1);
}

TEST(ThreadBudget, ManyBorrowersNeverHoldMoreThanTheSpare) {
    constexpr int kSpare = 3;
    ThreadBudget budget(kSpare, 2);
    std::atomic<int> held = 0;
    std::atomic<int> most = 0;
    std::vector<std::jthread> borrowers;
    for (int t = 0; t < 8; ++t)
        borrowers.emplace_back([&] {
            for (int round = 0; round < 2000; ++round) {
                const ThreadLease lease(1, &budget, 2);
                const int now = held += lease.threads() - 1;
                int seen = most.load();
                while (now > seen && !most.compare_exchange_weak(seen, now)) {
                }
                held -= lease.threads() - 1;
            }
        });
    borrowers.clear();
    EXPECT_LE(most.load(), kSpare);
    EXPECT_EQ(budget.free(), kSpare);
}

} // namespace
} // namespace quorlen::detection
