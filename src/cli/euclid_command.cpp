#include "cli/euclid_command.h"

#include "cli/click_track.h"
#include "cli/command_line.h"
#include "cli/interrupt.h"
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
    bool play = false;
    std::optional<int> cycles; // none: until Ctrl+C
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
        if (arg == "--json" || arg == "--play") {
            (arg == "--json" ? request.json : request.play) = true;
            continue;
        }
        if (arg == "--rotate" || arg == "--note" || arg == "--bpm" || arg == "--cycles") {
            if (i + 1 == args.size())
                return std::string(arg) + " needs a value";
            const std::string_view value = args[++i];
            if (arg == "--rotate") {
                const auto rotation = parseInt(value);
                if (!rotation)
                    return "rotation '" + std::string(value) + "' is not a whole number";
                request.rotation = *rotation;
            } else if (arg == "--cycles") {
                const auto cycles = parseInt(value);
                if (!cycles || *cycles < 1)
                    return "cycles '" + std::string(value) + "' is not a whole number from 1";
                request.cycles = *cycles;
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
    if (request.cycles && !request.play)
        return "--cycles goes with --play";
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

// The pattern as the app's rhythm tool plays it: a hit click on hits, a
// quieter, lower one on rests.
int play(const Request& request, const std::vector<bool>& pattern, double stepMs,
         std::ostream& out, std::ostream& err) {
    out.flush();
    const InterruptFlag interrupt;
    ClickTrack track{stepMs / 1000.0, std::nullopt, [&](std::int64_t step) {
                         return pattern[static_cast<size_t>(step % request.steps)] ? kHitClick
                                                                                    : kRestClick;
                     }};
    if (request.cycles)
        track.steps = std::int64_t{*request.cycles} * request.steps;
    return playClickTrack(track, interrupt.raised(), "euclid", err);
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
        return request.play ? play(request, pattern, stepMs, out, err) : kExitOk;
    }
    out << "E(" << request.pulses << ',' << request.steps << ")  " << notation << '\n'
        << "hits:  " << (hits.empty() ? std::string("none") : joined(hits, " ")) << '\n'
        << "step:  " << text::format("%.1f ms", stepMs) << "  (1/" << request.note << " at "
        << text::compact(request.bpm) << " BPM)\n"
        << "cycle: " << text::format("%.1f ms", cycleMs) << '\n';
    return request.play ? play(request, pattern, stepMs, out, err) : kExitOk;
}

} // namespace quorlen::cli
