#include "cli_run.h"

#include <gtest/gtest.h>

namespace quorlen::cli {
namespace {

void expectOneLineRefusal(const Args& args, const std::string& prefix) {
    const Outcome result = run(args);
    EXPECT_EQ(result.status, kExitUsage);
    EXPECT_TRUE(result.out.empty());
    EXPECT_TRUE(result.err.starts_with(prefix)) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
}

TEST(CommandLine, HelpAndVersionGoToStdoutRefusalsToStderrWithUsage) {
    const Outcome help = typed("--help");
    EXPECT_EQ(help.status, kExitOk);
    EXPECT_NE(help.out.find("usage: quorlen"), std::string::npos);
    EXPECT_TRUE(help.err.empty());
    const Outcome version = typed("--version");
    EXPECT_EQ(version.status, kExitOk);
    EXPECT_TRUE(version.out.starts_with("quorlen ") && version.out.ends_with("\n"));

    for (const Args& args : std::vector<Args>{{}, {"frobnicate"}, {"--frob"}, {"-x", "--help"}}) {
        const Outcome result = run(args);
        EXPECT_EQ(result.status, kExitUsage);
        EXPECT_TRUE(result.out.empty());
        EXPECT_TRUE(result.err.starts_with("quorlen: ")) << result.err;
        EXPECT_NE(result.err.find("usage: quorlen", result.err.find('\n')), std::string::npos);
    }
    EXPECT_NE(typed("frobnicate").err.find("'frobnicate'"), std::string::npos);
}

TEST(CommandLine, EveryCommandSpeaksTheSameLanguage) {
    // Every command, with arguments it accepts.
    for (const char* line : {"tempo", "space", "notes", "tet 12", "harmonics", "key C",
                             "euclid 3 8", "detect x.wav"}) {
        const Args accepted = split(line);
        const std::string name(accepted.front());
        SCOPED_TRACE(name);
        const auto with = [&](Args extra) {
            extra.insert(extra.begin(), accepted.begin(), accepted.end());
            return extra;
        };
        for (const std::string_view help : {"--help", "-h"}) {
            const Outcome result = run(with({help}));
            EXPECT_EQ(result.status, kExitOk);
            EXPECT_TRUE(result.out.starts_with("usage: quorlen " + name + " ")) << result.out;
            EXPECT_TRUE(result.err.empty());
        }
        // Help alone, without the arguments the command needs.
        EXPECT_EQ(run({accepted.front(), "-h"}).status, kExitOk);
        for (const Args& extra :
             std::vector<Args>{{"--json", "--json"}, {""}, {"--frob"}, {"--json=1"}})
            expectOneLineRefusal(with(extra), "quorlen " + name + ": ");
    }
    EXPECT_EQ(typed("detect --help").out,
              "usage: quorlen detect [--json|--csv] [--key] [-j N] [--octave classic|auto|LO-HI] "
              "[--write-tags [--force]] PATH...\n"
              "      Tempo, beat offset, downbeat and confidence of audio files, or of folders "
              "of them; with --key also their key and tuning.\n");
}

TEST(CommandLine, EachCommandRefusesValuesItCannotUse) {
    const std::pair<const char*, std::vector<const char*>> refused[] = {
        {"tempo", {"abc", "inf", "120 130", "--bars 2", "--click --bars x", "--click=1"}},
        {"space",
         {"x", "--pre 100", "--pre", "--total 3", "--total bars", "--total=0.3", "120 -q",
          "90 100"}},
        {"notes", {"extra", "--a4 inf"}},
        {"tet", {"", "12.5", "x", "12 --ref"}},
        {"harmonics", {"C5", "H2", "a1", "--count 1.5", "A1 B1"}},
        {"key", {"", "H", "13A", "C G", "Cmaj", "C --a4 x", "C --bpm 120"}},
        {"euclid",
         {"", "3", "3 8 9", "3 x", "3.5 8", "3 8 --note 32", "3 8 --note", "3 8 --bpm inf",
          "3 8 --bpm 12x", "3 8 --bpm 1e999", "3 8 --rotate 1.5",
          // Cycles only make sense when playing, and are whole.
          "3 8 --cycles 2", "3 8 --play --cycles 1.5", "3 8 --play=yes"}},
        {"detect",
         {"", "--json", "-j", "-j two x.wav", "-j 1.5 x.wav", "-j 2 --jobs=3 x.wav",
          "--octave x.wav", "--octave=80-120 x.wav", "--octave AUTO x.wav", "--octave 20-40 x.wav",
          "--octave 210-420 x.wav", "--csv --json x.wav",
          // Replacing tags only means something while writing them.
          "--force x.wav", "--write-tags=1 x.wav"}}};
    for (const auto& [command, tails] : refused) {
        for (const char* tail : tails) {
            const std::string line = std::string(command) + (*tail ? " " : "") + tail;
            SCOPED_TRACE(line);
            expectOneLineRefusal(split(line), "quorlen " + std::string(command) + ": ");
        }
    }
    expectOneLineRefusal({"tempo", " 90"}, "quorlen tempo: ");
    // Reasons name what was wrong; an argument quoted back must not reach
    // the terminal as an escape sequence (ESC [ 2 J clears the screen).
    const std::pair<Args, std::string> reasons[] = {
        {{"tempo", "\x1b[2J"}, "quorlen tempo: '\\x1b[2J' is not a tempo in BPM\n"},
        {{"tempo", "90", "100"}, "quorlen tempo: expected one tempo, got 2\n"},
        {{"detect", "--csv", "--json", "x.wav"},
         "quorlen detect: --json and --csv do not go together\n"},
        {{"detect", "--octave", "0.0000000001-1", "x.wav"},
         "quorlen detect: '0.0000000001-1' is not an octave mode (classic, auto, or LO-HI with "
         "LO from 30 to 200 and HI from 2 x LO to 400)\n"},
    };
    for (const auto& [args, reason] : reasons)
        EXPECT_EQ(run(args).err.substr(0, reason.size()), reason);
}

} // namespace
} // namespace quorlen::cli
