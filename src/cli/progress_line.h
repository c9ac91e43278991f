#pragma once

#include <cstddef>
#include <string>

namespace quorlen::cli {

// Fewer files than this finish before a progress line would be read.
inline constexpr std::size_t kProgressMinimumFiles = 4;

// The text of the progress line of a run of `total` files of which `done`
// finished within `elapsedSeconds`: "12 of 400 files · 3.2 files/s · about
// 2 min left", only the count until the first file gives a rate.
std::string progressText(std::size_t done, std::size_t total, double elapsedSeconds);

} // namespace quorlen::cli
