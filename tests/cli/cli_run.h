#pragma once

#include "cli/command_line.h"

#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace quorlen::cli {

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

inline Outcome run(std::vector<std::string_view> args) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = runCommandLine(args, out, err);
    return {status, out.str(), err.str()};
}

using Words = std::vector<std::string>;

// The blank-separated words of the output line that starts with `first`,
// or nothing when no line does.
inline std::vector<std::string> wordsOfLine(const std::string& text, const std::string& first) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::vector<std::string> result;
        for (std::string word; words >> word;)
            result.push_back(word);
        if (!result.empty() && result.front() == first)
            return result;
    }
    return {};
}

} // namespace quorlen::cli
