#pragma once

#include <cstddef>
#include <functional>

namespace quorlen::detection {

// Calls body(i) for every i in [0, count), spread over up to `threads`
// threads (the caller's thread included); returns when all calls are done.
// Each i must write only its own slot of a result array, so the outcome
// does not depend on the thread count. threads <= 1 runs in order inline.
void parallelFor(size_t count, int threads, const std::function<void(size_t)>& body);

} // namespace quorlen::detection
