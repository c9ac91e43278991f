#include "cli/euclid_command.h"

#include "cli/arguments.h"
#include "cli/click_track.h"
#include "cli/command_line.h"
#include "cli/interrupt.h"
#include "cli/json_writer.h"
#include "rhythm/euclid.h"
#include "rhythm/step_length.h"
#include "tempo/tempo_field.h"
#include "text/number_format.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace quorlen::cli {
namespace {

// The longest cycle worth printing; the app's wheel stops at 16.
constexpr int kMaxSteps = 1024;
// Rotation wraps modulo the steps; the bound only keeps the count an int.
constexpr int kMaxRotation = 1'000'000'000;

// A day of 16 steps at 400 BPM in sixteenths; more is a typo.
constexpr int kMaxCycles = 1'000'000;

constexpr KnownOption kOptions[] = {{"--rotate", true}, {"--note", true},  {"--bpm", true},
                                    {"--json", false},  {"--play", false}, {"--cycles", true}};
constexpr CommandInfo kCommand{"euclid", kEuclidSynopsis, kEuclidSummary, kOptions};

struct Request {
    int pulses = 0;
    int steps = 0;
    int rotation = 0;
    int note = 16;
    double bpm = 120.0;
    std::optional<int> cycles; // with --play; none: until Ctrl+C
};

template <typename T> const UsageError* failed(const std::variant<T, UsageError>& read) {
    return std::get_if<UsageError>(&read);
}

std::variant<Request, UsageError> readRequest(const ParsedArguments& arguments) {
    const auto& positional = arguments.positionals;
    if (positional.size() != 2)
        return UsageError{"expected pulses K and steps N, got " +
                          std::to_string(positional.size()) + " numbers"};
    Request request;
    const auto steps = wholeNumberArgument(positional[1], 1, kMaxSteps, "a number of steps");
    if (const auto* error = failed(steps))
        return *error;
    request.steps = std::get<int>(steps);
    const auto pulses = wholeNumberArgument(positional[0], 0, request.steps, "a number of pulses");
    if (const auto* error = failed(pulses))
        return *error;
    request.pulses = std::get<int>(pulses);
    if (const auto text = arguments.value("--rotate")) {
        const auto rotation =
            wholeNumberArgument(*text, -kMaxRotation, kMaxRotation, "a number of steps");
        if (const auto* error = failed(rotation))
            return *error;
        request.rotation = std::get<int>(rotation);
    }
    if (const auto text = arguments.value("--note")) {
        const auto note = text::parseTypedNumber(*text);
        if (!note || (*note != 4 && *note != 8 && *note != 16))
            return UsageError{"--note takes 4, 8 or 16, not '" + std::string(*text) + "'"};
        request.note = static_cast<int>(*note);
    }
    if (const auto text = arguments.value("--bpm")) {
        const auto bpm = bpmArgument(*text, tempo::kTypedBpmRange);
        if (const auto* error = failed(bpm))
            return *error;
        request.bpm = std::get<double>(bpm);
    }
    if (const auto text = arguments.value("--cycles")) {
        if (!arguments.has("--play"))
            return UsageError{"--cycles goes with --play"};
        const auto cycles = wholeNumberArgument(*text, 1, kMaxCycles, "a number of cycles");
        if (const auto* error = failed(cycles))
            return *error;
        request.cycles = std::get<int>(cycles);
    }
    return request;
}

// The pattern as the app's rhythm tool plays it: a hit click on hits, a
// quieter, lower one on rests.
int play(const Request& request, const std::vector<bool>& pattern, double stepMs, std::ostream& out,
         std::ostream& err) {
    out.flush();
    const InterruptFlag interrupt;
    ClickTrack track{stepMs / 1000.0, std::nullopt, [&](std::int64_t step) {
                         return pattern[static_cast<size_t>(step % request.steps)] ? kHitClick
                                                                                   : kRestClick;
                     }};
    if (request.cycles)
        track.steps = std::int64_t{*request.cycles} * request.steps;
    return playClickTrack(track, interrupt.raised(), kCommand.name, err);
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
    const auto read = readArguments(kCommand, args, out, err);
    if (const int* status = std::get_if<int>(&read))
        return *status;
    const ParsedArguments& arguments = std::get<ParsedArguments>(read);
    const auto parsed = readRequest(arguments);
    if (const auto* error = failed(parsed))
        return refuse(err, kCommand.name, *error);
    const Request& request = std::get<Request>(parsed);

    const std::vector<bool> pattern =
        rhythm::Euclid::pattern(request.pulses, request.steps, request.rotation);
    const std::string notation = rhythm::Euclid::notation(pattern);
    const std::vector<int> hits = rhythm::Euclid::hitIndices(pattern);
    const double stepMs = rhythm::Euclid::stepMilliseconds(request.bpm, request.note);
    const double cycleMs =
        rhythm::Euclid::cycleMilliseconds(request.bpm, request.note, request.steps);

    if (arguments.has("--json")) {
        // Full precision, so scripts get the same doubles the app computes.
        out << "{\"pattern\":\"" << notation << "\",\"hits\":[" << joined(hits, ",")
            << "],\"stepMs\":" << shortestJsonNumber(stepMs)
            << ",\"cycleMs\":" << shortestJsonNumber(cycleMs) << "}\n";
    } else {
        out << "E(" << request.pulses << ',' << request.steps << ")  " << notation << '\n'
            << "hits:  " << (hits.empty() ? std::string("none") : joined(hits, " ")) << '\n'
            << "step:  " << text::format("%.1f ms", stepMs) << "  (1/" << request.note << " at "
            << text::compact(std::clamp(request.bpm, tempo::kControlBpmRange.min,
                                        tempo::kControlBpmRange.max))
            << " BPM)\n"
            << "cycle: " << text::format("%.1f ms", cycleMs) << '\n';
    }
    return arguments.has("--play") ? play(request, pattern, stepMs, out, err) : kExitOk;
}

} // namespace quorlen::cli
