#pragma once

#include "cli/command_line.h"
#include "text/typed_number.h"

#include <iosfwd>
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
// "--total=BARS" when it takes a value. A one-letter option ("-j") takes its
// value as the next argument or glued on ("-j4"); `alias` is a second
// spelling of the same option ("--jobs" for "-j").
struct KnownOption {
    std::string_view name;
    bool takesValue;
    std::string_view alias = {};
};

struct ParsedArguments {
    std::vector<std::string_view> positionals;
    // Options by their `name`, whichever spelling was used.
    std::set<std::string_view, std::less<>> flags;
    std::map<std::string_view, std::string_view, std::less<>> values;
    bool help = false; // "--help" or "-h", which every command understands

    bool has(std::string_view flag) const { return flags.contains(flag); }
    std::optional<std::string_view> value(std::string_view option) const;
};

// Why the arguments were refused, in one line.
struct UsageError {
    std::string reason;
};

// Splits a command's arguments into options and positionals. Anything that
// starts with "-" and a letter or a second "-" is an option and must be one
// of `options` (or help); "-5" is a (negative) number and "-" a name, so
// positionals; after "--" everything is positional. An option given twice,
// under either spelling, and an empty argument are refused rather than
// guessed at.
std::variant<ParsedArguments, UsageError> parseArguments(std::span<const std::string_view> args,
                                                         std::span<const KnownOption> options);

// What a command tells about itself: its name, the synopsis and summary that
// the help shows, and the options it understands.
struct CommandInfo {
    std::string_view name;
    std::string_view synopsis;
    std::string_view summary;
    std::span<const KnownOption> options;
};

// The one way every command reads its arguments: parses them, answers
// --help on `out`, refuses bad ones on `err`. Returns the arguments, or the
// exit status when the command has already been answered.
std::variant<ParsedArguments, int> readArguments(const CommandInfo& command,
                                                 std::span<const std::string_view> args,
                                                 std::ostream& out, std::ostream& err);

// "usage: <synopsis>" over the indented summary, as --help prints it.
void printCommandHelp(std::ostream& out, const CommandInfo& command);

// Prints "quorlen <command>: <reason>" on `err` and returns the usage status.
int refuse(std::ostream& err, std::string_view command, const UsageError& error);

// The body of a command that prints one request: reads the arguments (a
// command answered there ends with its status), builds the request,
// refuses one that does not hold, and prints it as JSON with --json, as
// text otherwise.
template <typename Request>
int runRequestCommand(const CommandInfo& command, std::span<const std::string_view> args,
                      std::ostream& out, std::ostream& err,
                      std::variant<Request, UsageError> (*readRequest)(const ParsedArguments&),
                      void (*printJson)(std::ostream&, const Request&),
                      void (*printText)(std::ostream&, const Request&)) {
    const auto read = readArguments(command, args, out, err);
    if (const int* status = std::get_if<int>(&read))
        return *status;
    const ParsedArguments& arguments = std::get<ParsedArguments>(read);
    const auto request = readRequest(arguments);
    if (const auto* error = std::get_if<UsageError>(&request))
        return refuse(err, command.name, *error);
    (arguments.has("--json") ? printJson : printText)(out, std::get<Request>(request));
    return kExitOk;
}

// A number read like the app's fields ("98,5" is 98.5), clamped to `range`;
// letters, blanks and non-finite numbers are refused; `what` names it in
// the refusal ("a frequency in Hz").
std::variant<double, UsageError> numberArgument(std::string_view text, text::NumberRange range,
                                                std::string_view what);

// A tempo argument by the same rule.
std::variant<double, UsageError> bpmArgument(std::string_view text, text::NumberRange range);

// The refusal of `count` tempos where a command takes at most one.
UsageError tooManyTempos(size_t count);

// A whole number read the same way, clamped to [min, max]; fractions are
// refused rather than rounded.
std::variant<int, UsageError> wholeNumberArgument(std::string_view text, int min, int max,
                                                  std::string_view what);

} // namespace quorlen::cli
