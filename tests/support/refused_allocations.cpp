#include "support/refused_allocations.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace {

thread_local std::size_t t_refusedAbove = std::numeric_limits<std::size_t>::max();

} // namespace

namespace quorlen::testing {

RefusedAllocations::RefusedAllocations(std::size_t aboveBytes) : m_previous(t_refusedAbove) {
    t_refusedAbove = aboveBytes;
}

RefusedAllocations::~RefusedAllocations() { t_refusedAbove = m_previous; }

} // namespace quorlen::testing

// The array and nothrow forms of the standard library call this one; the
// default operator delete frees what malloc gave.
void* operator new(std::size_t bytes) {
    if (bytes > t_refusedAbove)
        throw std::bad_alloc();
    if (void* block = std::malloc(bytes == 0 ? 1 : bytes))
        return block;
    throw std::bad_alloc();
}
