#pragma once

namespace quorlen::cli {

// How many of `wanted` threads, each running an analysis, fit in what is
// left of the process's address-space limit (ulimit -v). Without a limit,
// all of them; never fewer than one. Under a tight limit, analyses that
// compete for the last megabytes all fail, and some decoders do not survive
// a refused allocation, where fewer at a time all succeed.
int threadsWithinAddressSpace(int wanted);

} // namespace quorlen::cli
