#pragma once

#include "cli/command_line.h"
#include "support/json.h"
#include "support/lines.h"

#include <gtest/gtest.h>

#include <ranges>
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

using Args = std::vector<std::string_view>;
using Words = std::vector<std::string>;

inline Outcome run(const Args& args) {
    std::ostringstream out, err;
    const int status = runCommandLine(args, out, err);
    return {status, out.str(), err.str()};
}

// A command line as typed: its arguments split at single spaces.
inline Args split(std::string_view line) {
    Args args;
    for (const auto word : std::views::split(line, ' '))
        args.emplace_back(word.begin(), word.end());
    return args;
}

inline Outcome typed(std::string_view line) { return run(split(line)); }

// The JSON a command line prints, which must succeed and be one object.
inline QJsonObject jsonOf(std::string_view line) {
    const Outcome result = typed(line);
    EXPECT_EQ(result.status, kExitOk) << line << ": " << result.err;
    const auto json = quorlen::testing::readJson(result.out);
    EXPECT_TRUE(json) << line << ": " << result.out;
    return json.value_or(QJsonObject{});
}

// The words of the output line whose first word is `first`, or none.
inline Words wordsOfLine(const std::string& text, const std::string& first) {
    for (const std::string& line : quorlen::testing::lines(text)) {
        if (Words found = quorlen::testing::words(line); !found.empty() && found[0] == first)
            return found;
    }
    return {};
}

} // namespace quorlen::cli
