#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace quorlen::testing {

// The names in a folder, sorted: what a write left beside the file it
// replaced shows up here.
inline std::vector<std::string> namesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace quorlen::testing
