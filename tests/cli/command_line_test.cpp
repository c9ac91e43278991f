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

// Every command, with arguments it accepts.
const std::vector<std::vector<std::string_view>> kEveryCommand = {{"tempo"},
                                                                  {"space"},
                                                                  {"notes"},
                                                                  {"tet", "12"},
                                                                  {"harmonics"},
                                                                  {"key", "C"},
                                                                  {"euclid", "3", "8"},
                                                                  {"detect", "x.wav"}};

TEST(CommandLine, EveryCommandSpeaksTheSameLanguage) {
    for (const auto& accepted : kEveryCommand) {
        const std::string name(accepted.front());
        SCOPED_TRACE(name);
        const auto with = [&](std::vector<std::string_view> extra) {
            std::vector<std::string_view> args = accepted;
            args.insert(args.end(), extra.begin(), extra.end());
            return run(args);
        };
        for (const std::string_view help : {"--help", "-h"}) {
            const Outcome result = with({help});
            EXPECT_EQ(result.status, kExitOk);
            EXPECT_EQ(result.out.rfind("usage: quorlen " + name + " ", 0), 0u) << result.out;
            EXPECT_TRUE(result.err.empty());
        }
        // Help alone, without the arguments the command needs.
        EXPECT_EQ(run({accepted.front(), "-h"}).status, kExitOk);

        for (const auto& extra : std::vector<std::vector<std::string_view>>{
                 {"--json", "--json"}, {""}, {"--frob"}, {"--json=1"}}) {
            const Outcome result = with(extra);
            EXPECT_EQ(result.status, kExitUsage) << extra.front();
            EXPECT_TRUE(result.out.empty());
            EXPECT_EQ(result.err.rfind("quorlen " + name + ": ", 0), 0u) << result.err;
            EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
        }
    }
}

TEST(CommandLine, RefusalsShowArgumentsWithoutTerminalControls) {
    // An argument quoted back must not reach the terminal as an escape
    // sequence (ESC [ 2 J clears the screen).
    const Outcome result = run({"tempo", "\x1b[2J"});
    EXPECT_EQ(result.status, kExitUsage);
    EXPECT_EQ(result.err, "quorlen tempo: '\\x1b[2J' is not a tempo in BPM\n");
}

} // namespace
} // namespace quorlen::cli
