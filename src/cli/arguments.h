#pragma once

#include "text/typed_number.h"

#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quorlen::cli {

// An option a command understands: "--json" alone, or "--total BARS" /
// "--total=BARS" when it takes a value.
struct KnownOption {
    std::string_view name;
    bool takesValue;
};

struct ParsedArguments {
    std::vector<std::string_view> positionals;
    std::set<std::string_view, std::less<>> flags;
    std::map<std::string_view, std::string_view, std::less<>> values;

    bool has(std::string_view flag) const { return flags.contains(flag); }
    std::optional<std::string_view> value(std::string_view option) const;
};

// Why the arguments were refused, in one line.
struct UsageError {
    std::string reason;
};

// Splits a command's arguments into options and positionals. Anything that
// starts with "-" and a letter or a second "-" is an option and must be one
// of `options`; "-5" is a (negative) number, so a positional. An option
// given twice is refused rather than guessed at.
std::variant<ParsedArguments, UsageError> parseArguments(std::span<const std::string_view> args,
                                                         std::span<const KnownOption> options);

// A tempo argument read by the app's commit rule ("98,5" is 98.5), clamped
// to `range`; letters, blanks and non-finite numbers are refused.
std::variant<double, UsageError> bpmArgument(std::string_view text, text::NumberRange range);

// Prints "quorlen <command>: <reason>" on `err` and returns the usage status.
int refuse(std::ostream& err, std::string_view command, const UsageError& error);

} // namespace quorlen::cli

namespace quorlen::cli {

// A number read like the app's fields, clamped to `range`; `what` names it
// in the refusal ("a frequency in Hz").
std::variant<double, UsageError> numberArgument(std::string_view text, text::NumberRange range,
                                                std::string_view what);

// A whole number read the same way, clamped to [min, max]; fractions are
// refused rather than rounded.
std::variant<int, UsageError> wholeNumberArgument(std::string_view text, int min, int max,
                                                  std::string_view what);

} // namespace quorlen::cli
