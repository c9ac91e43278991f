#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace quorlen {

// A fixed-capacity queue between exactly one producer thread and one
// consumer thread, without locks or allocation. Counters run for the life
// of the ring (2^64 items never wrap in practice), so the number of items
// the consumer has taken doubles as a receipt for the producer.
template <typename T, size_t Capacity> class SpscRing {
public:
    // Producer: the count of taken items at which `item` will have been
    // taken, or nothing when the ring is full.
    std::optional<uint64_t> push(const T& item) {
        const uint64_t written = m_written.load(std::memory_order_relaxed);
        if (written - m_taken.load(std::memory_order_acquire) == Capacity)
            return std::nullopt;
        m_slots[written % Capacity] = item;
        m_written.store(written + 1, std::memory_order_release);
        return written + 1;
    }

    // Consumer: takes the oldest item, false when empty.
    bool pop(T& item) {
        const uint64_t taken = m_taken.load(std::memory_order_relaxed);
        if (taken == m_written.load(std::memory_order_acquire))
            return false;
        item = m_slots[taken % Capacity];
        m_taken.store(taken + 1, std::memory_order_release);
        return true;
    }

    // Either side: how many items the consumer has taken so far.
    uint64_t taken() const { return m_taken.load(std::memory_order_acquire); }

private:
    std::array<T, Capacity> m_slots{};
    alignas(64) std::atomic<uint64_t> m_written{0};
    alignas(64) std::atomic<uint64_t> m_taken{0};
};

} // namespace quorlen
