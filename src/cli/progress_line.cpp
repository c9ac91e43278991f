#include "cli/progress_line.h"

#include "text/number_format.h"

#include <algorithm>
#include <cmath>

namespace quorlen::cli {
namespace {

std::string timeLeft(double seconds) {
    const long long whole = std::llround(seconds);
    if (whole < 60)
        return std::to_string(std::max(whole, 1LL)) + " s left";
    const long long minutes = std::llround(seconds / 60);
    if (minutes < 60)
        return "about " + std::to_string(minutes) + " min left";
    return "about " + std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) +
           " min left";
}

} // namespace

std::string progressText(std::size_t done, std::size_t total, double elapsedSeconds) {
    std::string line = std::to_string(done) + " of " + std::to_string(total) + " files";
    if (done == 0 || done >= total || !(elapsedSeconds > 0))
        return line;
    const double rate = static_cast<double>(done) / elapsedSeconds;
    line += text::format(" · %.1f files/s", rate);
    return line + " · " + timeLeft(static_cast<double>(total - done) / rate);
}

} // namespace quorlen::cli
