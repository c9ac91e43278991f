#include "cli/address_space.h"

#include <algorithm>
#include <cstdio>
#include <sys/resource.h>
#include <unistd.h>

namespace quorlen::cli {
namespace {

// A thread's stack plus the peak of one analysis of a long file (streamed,
// so the same for any length).
constexpr unsigned long long kBytesPerAnalysis = 128ull << 20;

// The address space the process holds now, or 0 when it cannot be read.
unsigned long long addressSpaceInUse() {
    std::FILE* statm = std::fopen("/proc/self/statm", "r");
    if (!statm)
        return 0;
    unsigned long long pages = 0;
    const bool read = std::fscanf(statm, "%llu", &pages) == 1;
    std::fclose(statm);
    return read ? pages * static_cast<unsigned long long>(sysconf(_SC_PAGESIZE)) : 0;
}

} // namespace

int threadsWithinAddressSpace(int wanted) {
    wanted = std::max(wanted, 1);
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return wanted;
    const unsigned long long used = addressSpaceInUse();
    const unsigned long long left = limit.rlim_cur > used ? limit.rlim_cur - used : 0;
    const unsigned long long fit = left / kBytesPerAnalysis;
    return static_cast<int>(
        std::clamp<unsigned long long>(fit, 1, static_cast<unsigned long long>(wanted)));
}

} // namespace quorlen::cli
