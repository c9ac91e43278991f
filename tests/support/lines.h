#pragma once

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace quorlen::testing {

// The lines of a program's output, without their newlines.
inline std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        result.push_back(line);
    return result;
}

// The words of a text, split at blanks.
inline std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
}

} // namespace quorlen::testing
