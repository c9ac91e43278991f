#include "cli/arguments.h"

#include "cli/command_line.h"
#include "cli/terminal_text.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <ostream>

namespace quorlen::cli {
namespace {

constexpr KnownOption kHelp{"--help", false, "-h"};

bool looksLikeOption(std::string_view argument) {
    if (argument.size() < 2 || argument[0] != '-')
        return false;
    const unsigned char second = static_cast<unsigned char>(argument[1]);
    return second == '-' || std::isalpha(second);
}

std::string quoted(std::string_view text) { return "'" + std::string(text) + "'"; }

// The option `argument` names, and the value glued to it ("--total=2",
// "-j4"), if any.
struct OptionWord {
    const KnownOption* option = nullptr;
    std::string_view spelling;
    std::optional<std::string_view> gluedValue;
};

OptionWord findOption(std::string_view argument, std::span<const KnownOption> options) {
    const auto matches = [](std::string_view spelling, std::string_view word) {
        return !spelling.empty() && spelling == word;
    };
    const bool isShort = argument[1] != '-';
    const size_t nameEnd = isShort ? 2 : std::min(argument.find('='), argument.size());
    OptionWord word{nullptr, argument.substr(0, nameEnd), std::nullopt};
    if (nameEnd < argument.size())
        word.gluedValue = argument.substr(isShort ? nameEnd : nameEnd + 1);
    if (matches(kHelp.name, word.spelling) || matches(kHelp.alias, word.spelling)) {
        word.option = &kHelp;
        return word;
    }
    for (const KnownOption& option : options) {
        if (matches(option.name, word.spelling) || matches(option.alias, word.spelling))
            word.option = &option;
    }
    // "-json" is no glued "-j"; only value-taking short options glue.
    if (word.option && isShort && word.gluedValue && !word.option->takesValue)
        word.option = nullptr;
    if (!word.option && isShort)
        word.spelling = argument.substr(0, argument.find('='));
    return word;
}

} // namespace

std::optional<std::string_view> ParsedArguments::value(std::string_view option) const {
    const auto found = values.find(option);
    if (found == values.end())
        return std::nullopt;
    return found->second;
}

std::variant<ParsedArguments, UsageError> parseArguments(std::span<const std::string_view> args,
                                                         std::span<const KnownOption> options) {
    ParsedArguments parsed;
    bool onlyPositionals = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string_view argument = args[i];
        if (argument.empty())
            return UsageError{"empty argument"};
        if (!onlyPositionals && argument == "--") {
            onlyPositionals = true;
            continue;
        }
        if (onlyPositionals || !looksLikeOption(argument)) {
            parsed.positionals.push_back(argument);
            continue;
        }
        const OptionWord word = findOption(argument, options);
        if (!word.option)
            return UsageError{"unknown option " + quoted(word.spelling)};
        const std::string_view name = word.option->name;
        if (name == kHelp.name) {
            if (word.gluedValue)
                return UsageError{"option " + quoted(word.spelling) + " takes no value"};
            parsed.help = true;
            continue;
        }
        if (parsed.has(name) || parsed.values.contains(name))
            return UsageError{"option " + quoted(name) + " given twice"};
        if (!word.option->takesValue) {
            if (word.gluedValue)
                return UsageError{"option " + quoted(word.spelling) + " takes no value"};
            parsed.flags.insert(name);
            continue;
        }
        std::string_view value;
        if (word.gluedValue)
            value = *word.gluedValue;
        else if (i + 1 < args.size())
            value = args[++i];
        else
            return UsageError{"option " + quoted(word.spelling) + " needs a value"};
        if (value.empty())
            return UsageError{"option " + quoted(word.spelling) + " needs a value"};
        parsed.values[name] = value;
    }
    return parsed;
}

void printCommandHelp(std::ostream& out, const CommandInfo& command) {
    out << "usage: " << command.synopsis << "\n      " << command.summary << '\n';
}

std::variant<ParsedArguments, int> readArguments(const CommandInfo& command,
                                                 std::span<const std::string_view> args,
                                                 std::ostream& out, std::ostream& err) {
    auto parsed = parseArguments(args, command.options);
    if (const auto* error = std::get_if<UsageError>(&parsed))
        return refuse(err, command.name, *error);
    if (std::get<ParsedArguments>(parsed).help) {
        printCommandHelp(out, command);
        return kExitOk;
    }
    return std::move(std::get<ParsedArguments>(parsed));
}

int refuse(std::ostream& err, std::string_view command, const UsageError& error) {
    // The reason quotes the arguments, which may hold anything.
    err << "quorlen " << command << ": " << terminalSafe(error.reason) << '\n';
    return kExitUsage;
}

std::variant<double, UsageError> numberArgument(std::string_view text, text::NumberRange range,
                                                std::string_view what) {
    const auto parsed = text::parseTypedNumber(text);
    if (!parsed)
        return UsageError{quoted(text) + " is not " + std::string(what)};
    return std::clamp(*parsed, range.min, range.max);
}

std::variant<double, UsageError> bpmArgument(std::string_view text, text::NumberRange range) {
    return numberArgument(text, range, "a tempo in BPM");
}

UsageError tooManyTempos(size_t count) {
    return UsageError{"expected one tempo, got " + std::to_string(count)};
}

std::variant<int, UsageError> wholeNumberArgument(std::string_view text, int min, int max,
                                                  std::string_view what) {
    const auto parsed = text::parseTypedNumber(text);
    if (!parsed || *parsed != std::floor(*parsed))
        return UsageError{quoted(text) + " is not " + std::string(what)};
    return static_cast<int>(
        std::clamp(*parsed, static_cast<double>(min), static_cast<double>(max)));
}

} // namespace quorlen::cli
