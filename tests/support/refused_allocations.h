#pragma once

// Makes `new` on this thread throw std::bad_alloc for any block larger than
// a limit, while a RefusedAllocations lives, as when memory runs out just as
// a large buffer is needed. A test executable that uses it links
// refused_allocations.cpp, which replaces the global operator new; outside
// such a scope every allocation goes through as usual.
#include <cstddef>

namespace quorlen::testing {

class RefusedAllocations {
public:
    explicit RefusedAllocations(std::size_t aboveBytes);
    ~RefusedAllocations();
    RefusedAllocations(const RefusedAllocations&) = delete;
    RefusedAllocations& operator=(const RefusedAllocations&) = delete;

private:
    std::size_t m_previous;
};

} // namespace quorlen::testing
