#include "cli/arguments.h"

#include "cli/command_line.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <ostream>

namespace quorlen::cli {
namespace {

bool looksLikeOption(std::string_view argument) {
    if (argument.size() < 2 || argument[0] != '-')
        return false;
    const unsigned char second = static_cast<unsigned char>(argument[1]);
    return second == '-' || std::isalpha(second);
}

std::string quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
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
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string_view argument = args[i];
        if (!looksLikeOption(argument)) {
            parsed.positionals.push_back(argument);
            continue;
        }
        const size_t equals = argument.find('=');
        const std::string_view name = argument.substr(0, equals);
        const auto known = std::find_if(options.begin(), options.end(),
                                        [&](const KnownOption& o) { return o.name == name; });
        if (known == options.end())
            return UsageError{"unknown option " + quoted(name)};
        if (parsed.has(name) || parsed.values.contains(name))
            return UsageError{"option " + quoted(name) + " given twice"};
        if (!known->takesValue) {
            if (equals != std::string_view::npos)
                return UsageError{"option " + quoted(name) + " takes no value"};
            parsed.flags.insert(known->name);
            continue;
        }
        if (equals != std::string_view::npos) {
            parsed.values[known->name] = argument.substr(equals + 1);
        } else if (i + 1 < args.size()) {
            parsed.values[known->name] = args[++i];
        } else {
            return UsageError{"option " + quoted(name) + " needs a value"};
        }
    }
    return parsed;
}

std::variant<double, UsageError> bpmArgument(std::string_view text, text::NumberRange range) {
    return numberArgument(text, range, "a tempo in BPM");
}

int refuse(std::ostream& err, std::string_view command, const UsageError& error) {
    err << "quorlen " << command << ": " << error.reason << '\n';
    return kExitUsage;
}

} // namespace quorlen::cli

namespace quorlen::cli {

std::variant<double, UsageError> numberArgument(std::string_view text, text::NumberRange range,
                                                std::string_view what) {
    const auto parsed = text::parseTypedNumber(text);
    if (!parsed)
        return UsageError{"'" + std::string(text) + "' is not " + std::string(what)};
    return std::clamp(*parsed, range.min, range.max);
}

std::variant<int, UsageError> wholeNumberArgument(std::string_view text, int min, int max,
                                                  std::string_view what) {
    const auto parsed = text::parseTypedNumber(text);
    if (!parsed || *parsed != std::floor(*parsed))
        return UsageError{"'" + std::string(text) + "' is not " + std::string(what)};
    return static_cast<int>(std::clamp(*parsed, static_cast<double>(min), static_cast<double>(max)));
}

} // namespace quorlen::cli
