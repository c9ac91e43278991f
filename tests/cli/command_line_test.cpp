#include "cli_run.h"

#include <gtest/gtest.h>

namespace quorlen::cli {
namespace {

using Args = std::vector<std::string_view>;

void expectOneLineRefusal(const Args& args, const std::string& prefix) {
    const Outcome result = run(args);
    EXPECT_EQ(result.status, kExitUsage);
    EXPECT_TRUE(result.out.empty());
    EXPECT_EQ(result.err.rfind(prefix, 0), 0u) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
}

TEST(CommandLine, HelpAndVersionGoToStdoutAndSucceed) {
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.status, kExitOk);
    EXPECT_NE(help.out.find("usage: quorlen"), std::string::npos);
    EXPECT_NE(help.out.find("detect [--json] [-j N] [--octave classic|auto|LO-HI] PATH..."),
              std::string::npos);
    EXPECT_TRUE(help.err.empty());

    const Outcome version = run({"--version"});
    EXPECT_EQ(version.status, kExitOk);
    EXPECT_EQ(version.out.rfind("quorlen ", 0), 0u);
    EXPECT_EQ(version.out.back(), '\n');
}

TEST(CommandLine, RefusalsGiveOneReasonLineThenUsageOnStderr) {
    for (const Args& args : std::vector<Args>{{}, {"frobnicate"}, {"--frob"}, {"-x", "--help"}}) {
        const Outcome result = run(args);
        EXPECT_EQ(result.status, kExitUsage);
        EXPECT_TRUE(result.out.empty());
        EXPECT_EQ(result.err.rfind("quorlen: ", 0), 0u) << result.err;
        const auto firstLineEnd = result.err.find('\n');
        EXPECT_NE(result.err.find("usage: quorlen", firstLineEnd), std::string::npos);
    }
    EXPECT_NE(run({"frobnicate"}).err.find("'frobnicate'"), std::string::npos);
}

TEST(CommandLine, EveryCommandSpeaksTheSameLanguage) {
    // Every command, with arguments it accepts.
    const std::vector<Args> everyCommand = {{"tempo"},
                                            {"space"},
                                            {"notes"},
                                            {"tet", "12"},
                                            {"harmonics"},
                                            {"key", "C"},
                                            {"euclid", "3", "8"},
                                            {"detect", "x.wav"}};
    for (const Args& accepted : everyCommand) {
        const std::string name(accepted.front());
        SCOPED_TRACE(name);
        const auto with = [&](Args extra) {
            Args args = accepted;
            args.insert(args.end(), extra.begin(), extra.end());
            return args;
        };
        for (const std::string_view help : {"--help", "-h"}) {
            const Outcome result = run(with({help}));
            EXPECT_EQ(result.status, kExitOk);
            EXPECT_EQ(result.out.rfind("usage: quorlen " + name + " ", 0), 0u) << result.out;
            EXPECT_TRUE(result.err.empty());
        }
        // Help alone, without the arguments the command needs.
        EXPECT_EQ(run({accepted.front(), "-h"}).status, kExitOk);
        for (const Args& extra :
             std::vector<Args>{{"--json", "--json"}, {""}, {"--frob"}, {"--json=1"}})
            expectOneLineRefusal(with(extra), "quorlen " + name + ": ");
    }
    EXPECT_EQ(run({"detect", "--help"}).out,
              "usage: quorlen detect [--json] [-j N] [--octave classic|auto|LO-HI] PATH...\n"
              "      Tempo, beat offset, downbeat and confidence of audio files, or of folders "
              "of them.\n");
}

TEST(CommandLine, EachCommandRefusesValuesItCannotUse) {
    const std::vector<Args> refused = {
        {"tempo", "abc"},
        {"tempo", " 90"},
        {"tempo", "inf"},
        {"tempo", "120", "130"},
        {"tempo", "--bars", "2"},
        {"tempo", "--click", "--bars", "x"},
        {"tempo", "--click=1"},
        {"space", "x"},
        {"space", "--pre", "100"},
        {"space", "--pre"},
        {"space", "--total", "3"},
        {"space", "--total", "bars"},
        {"space", "--total=0.3"},
        {"space", "120", "-q"},
        {"notes", "extra"},
        {"notes", "--a4", "inf"},
        {"tet"},
        {"tet", "12.5"},
        {"tet", "x"},
        {"tet", "12", "--ref"},
        {"harmonics", "C5"},
        {"harmonics", "H2"},
        {"harmonics", "a1"},
        {"harmonics", "--count", "1.5"},
        {"harmonics", "A1", "B1"},
        {"key"},
        {"key", "H"},
        {"key", "C", "G"},
        {"key", "Cmaj"},
        {"key", "C", "--a4", "x"},
        {"key", "C", "--bpm", "120"},
        {"euclid"},
        {"euclid", "3"},
        {"euclid", "3", "8", "9"},
        {"euclid", "3", "x"},
        {"euclid", "3.5", "8"},
        {"euclid", "3", "8", "--note", "32"},
        {"euclid", "3", "8", "--note"},
        {"euclid", "3", "8", "--bpm", "inf"},
        {"euclid", "3", "8", "--bpm", "12x"},
        {"euclid", "3", "8", "--bpm", "1e999"},
        {"euclid", "3", "8", "--rotate", "1.5"},
        // Cycles only make sense when playing, and are whole.
        {"euclid", "3", "8", "--cycles", "2"},
        {"euclid", "3", "8", "--play", "--cycles", "1.5"},
        {"euclid", "3", "8", "--play=yes"},
        {"detect"},
        {"detect", "--json"},
        {"detect", "-j"},
        {"detect", "-j", "two", "x.wav"},
        {"detect", "-j", "1.5", "x.wav"},
        {"detect", "-j", "2", "--jobs=3", "x.wav"},
        {"detect", "--octave", "x.wav"},
        {"detect", "--octave=80-120", "x.wav"},
        {"detect", "--octave", "AUTO", "x.wav"},
    };
    for (const Args& args : refused) {
        SCOPED_TRACE(std::string(args.front()) + " " + std::to_string(args.size()));
        expectOneLineRefusal(args, "quorlen " + std::string(args.front()) + ": ");
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
