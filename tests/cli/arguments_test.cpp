#include "cli/arguments.h"

#include <gtest/gtest.h>

namespace quorlen::cli {
namespace {

constexpr KnownOption kOptions[] = {{"--json", false}, {"--total", true}, {"-j", true, "--jobs"}};

ParsedArguments parsed(std::vector<std::string_view> args) {
    auto result = parseArguments(args, kOptions);
    if (const auto* error = std::get_if<UsageError>(&result))
        ADD_FAILURE() << error->reason;
    return std::get<ParsedArguments>(result);
}

TEST(ParseArguments, EverySpellingOfAnOptionLandsUnderItsName) {
    for (const auto& args : std::vector<std::vector<std::string_view>>{
             {"-j", "4"}, {"-j4"}, {"--jobs", "4"}, {"--jobs=4"}}) {
        const ParsedArguments result = parsed(args);
        EXPECT_EQ(result.value("-j"), "4") << args[0];
        EXPECT_TRUE(result.positionals.empty());
    }
    const ParsedArguments total = parsed({"--total=0,5", "--json", "x"});
    EXPECT_EQ(total.value("--total"), "0,5");
    EXPECT_TRUE(total.has("--json"));
    EXPECT_EQ(total.positionals, (std::vector<std::string_view>{"x"}));
    // Help is understood without being listed, but not after "--".
    EXPECT_TRUE(parsed({"--help"}).help);
    EXPECT_TRUE(parsed({"x", "-h"}).help);
    EXPECT_FALSE(parsed({"--", "-h"}).help);
}

TEST(ParseArguments, NumbersDashAndDoubleDashArePositionals) {
    // "-5" and "-0,5" are negative numbers, "-" is a name (stdin by
    // convention), and after "--" even "--json" is a file name.
    const ParsedArguments result = parsed({"-5", "-0,5", "-", "--", "--json", "-j"});
    EXPECT_EQ(result.positionals,
              (std::vector<std::string_view>{"-5", "-0,5", "-", "--json", "-j"}));
    EXPECT_FALSE(result.has("--json"));
}

TEST(ParseArguments, RefusesWhatWouldOtherwiseBeGuessed) {
    const std::pair<std::vector<std::string_view>, const char*> cases[] = {
        {{"--json", "--json"}, "option '--json' given twice"},
        {{"-j", "2", "--jobs=3"}, "option '-j' given twice"},
        {{"--total"}, "option '--total' needs a value"},
        {{"--total="}, "option '--total' needs a value"},
        {{"--total", ""}, "option '--total' needs a value"},
        {{"--json=yes"}, "option '--json' takes no value"},
        {{"--help=1"}, "option '--help' takes no value"},
        {{"--frob=1"}, "unknown option '--frob'"},
        {{"-x"}, "unknown option '-x'"},
        {{""}, "empty argument"},
    };
    for (const auto& [args, reason] : cases) {
        const auto result = parseArguments(args, kOptions);
        const auto* error = std::get_if<UsageError>(&result);
        ASSERT_TRUE(error) << reason;
        EXPECT_EQ(error->reason, reason);
    }
}

} // namespace
} // namespace quorlen::cli
