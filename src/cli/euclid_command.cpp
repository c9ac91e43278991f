#include "cli/euclid_command.h"

#include "cli/command_line.h"
#include "rhythm/euclid.h"
#include "rhythm/step_length.h"
#include "text/number_format.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace quorlen::cli {
namespace {

// The longest cycle worth printing; the app's wheel stops at 16.
constexpr int kMaxSteps = 1024;

struct Request {
    int pulses = 0;
    int steps = 0;
    int rotation = 0;
    int note = 16;
    double bpm = 120.0;
    bool json = false;
};

std::optional<int> parseInt(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || text.empty())
        return std::nullopt;
    return value;
}

std::optional<double> parseNumber(std::string_view text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || text.empty() ||
        !std::isfinite(value))
        return std::nullopt;
    return value;
}

int refuse(std::ostream& err, const std::string& reason) {
    err << "quorlen euclid: " << reason << '\n';
    return kExitUsage;
}

// Fills `request` from the arguments or returns why they cannot be used.
std::optional<std::string> parse(std::span<const std::string_view> args, Request& request) {
    std::vector<std::string_view> positional;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string_view arg = args[i];
        if (arg == "--json") {
            request.json = true;
            continue;
        }
        if (arg == "--rotate" || arg == "--note" || arg == "--bpm") {
            if (i + 1 == args.size())
                return std::string(arg) + " needs a value";
            const std::string_view value = args[++i];
            if (arg == "--rotate") {
                const auto rotation = parseInt(value);
                if (!rotation)
                    return "rotation '" + std::string(value) + "' is not a whole number";
                request.rotation = *rotation;
            } else if (arg == "--note") {
                const auto note = parseInt(value);
                if (!note || (*note != 4 && *note != 8 && *note != 16))
                    return "note '" + std::string(value) + "' is not 4, 8 or 16";
                request.note = *note;
            } else {
                const auto bpm = parseNumber(value);
                if (!bpm || *bpm <= 0)
                    return "tempo '" + std::string(value) + "' is not a positive number";
                request.bpm = *bpm;
            }
            continue;
        }
        // A leading minus followed by a digit is a number, not an option.
        if (arg.size() > 1 && arg[0] == '-' && !(arg[1] >= '0' && arg[1] <= '9'))
            return "unknown option '" + std::string(arg) + "'";
        positional.push_back(arg);
    }
    if (positional.size() != 2)
        return "expected pulses K and steps N, got " + std::to_string(positional.size()) +
               " numbers";
    const auto steps = parseInt(positional[1]);
    if (!steps || *steps < 1 || *steps > kMaxSteps)
        return "steps '" + std::string(positional[1]) + "' is not a whole number from 1 to " +
               std::to_string(kMaxSteps);
    const auto pulses = parseInt(positional[0]);
    if (!pulses || *pulses < 0 || *pulses > *steps)
        return "pulses '" + std::string(positional[0]) + "' is not a whole number from 0 to " +
               std::to_string(*steps);
    request.steps = *steps;
    request.pulses = *pulses;
    return std::nullopt;
}

std::string joined(const std::vector<int>& values, const char* separator) {
    std::string text;
    for (size_t i = 0; i < values.size(); ++i) {
        if (i > 0)
            text += separator;
        text += std::to_string(values[i]);
    }
    return text;
}

} // namespace

int runEuclid(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
    Request request;
    if (const auto reason = parse(args, request))
        return refuse(err, *reason);

    const std::vector<bool> pattern = Euclid::pattern(request.pulses, request.steps,
                                                      request.rotation);
    const std::string notation = Euclid::notation(pattern);
    const std::vector<int> hits = Euclid::hitIndices(pattern);
    const double stepMs = Euclid::stepMilliseconds(request.bpm, request.note);
    const double cycleMs = Euclid::cycleMilliseconds(request.bpm, request.note, request.steps);

    if (request.json) {
        // Full precision, so scripts get the same doubles the app computes.
        out << "{\"pattern\":\"" << notation << "\",\"hits\":[" << joined(hits, ",")
            << "],\"stepMs\":" << text::format("%.17g", stepMs)
            << ",\"cycleMs\":" << text::format("%.17g", cycleMs) << "}\n";
        return kExitOk;
    }
    out << "E(" << request.pulses << ',' << request.steps << ")  " << notation << '\n'
        << "hits:  " << (hits.empty() ? std::string("none") : joined(hits, " ")) << '\n'
        << "step:  " << text::format("%.1f ms", stepMs) << "  (1/" << request.note << " at "
        << text::compact(request.bpm) << " BPM)\n"
        << "cycle: " << text::format("%.1f ms", cycleMs) << '\n';
    return kExitOk;
}

} // namespace quorlen::cli
