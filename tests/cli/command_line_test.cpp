#include "cli/command_line.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string_view>
#include <vector>

namespace quorlen::cli {
namespace {

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

Outcome run(std::vector<std::string_view> args) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = runCommandLine(args, out, err);
    return {status, out.str(), err.str()};
}

TEST(CommandLine, HelpAndVersionGoToStdoutAndSucceed) {
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.status, kExitOk);
    EXPECT_NE(help.out.find("usage: quorlen"), std::string::npos);
    EXPECT_TRUE(help.err.empty());

    const Outcome version = run({"--version"});
    EXPECT_EQ(version.status, kExitOk);
    EXPECT_EQ(version.out.rfind("quorlen ", 0), 0u);
    EXPECT_EQ(version.out.back(), '\n');
}

TEST(CommandLine, RefusalsGiveOneReasonLineThenUsageOnStderr) {
    const std::vector<std::vector<std::string_view>> refused = {
        {}, {"frobnicate"}, {"--frob"}, {"-x", "--help"}};
    for (const auto& args : refused) {
        const Outcome result = run(args);
        EXPECT_EQ(result.status, kExitUsage);
        EXPECT_TRUE(result.out.empty());
        EXPECT_EQ(result.err.rfind("quorlen: ", 0), 0u) << result.err;
        const auto firstLineEnd = result.err.find('\n');
        EXPECT_NE(result.err.find("usage: quorlen", firstLineEnd), std::string::npos);
    }
    EXPECT_NE(run({"frobnicate"}).err.find("'frobnicate'"), std::string::npos);
}

} // namespace
} // namespace quorlen::cli
