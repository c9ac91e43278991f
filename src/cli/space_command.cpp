#include "cli/space_command.h"

#include "cli/arguments.h"
#include "cli/command_line.h"
#include "cli/json_writer.h"
#include "cli/text_table.h"
#include "tempo/delay_pick.h"
#include "tempo/reverb_times.h"
#include "tempo/tempo_field.h"
#include "text/number_format.h"

#include <algorithm>
#include <ostream>

namespace quorlen::cli {
namespace {

constexpr KnownOption kOptions[] = {{"--total", true}, {"--pre", true}, {"--json", false}};
constexpr CommandInfo kCommand{"space", kSpaceSynopsis, kSpaceSummary, kOptions};

struct SpaceRequest {
    double bpm;      // as clamped for the bar length, 20 to 400
    double givenBpm; // as the app's tempo field would store it
    double totalBars;
    int preDivision;
};

std::string msText(double ms) { return text::format("%.1f ms", ms); }

std::variant<SpaceRequest, UsageError> readRequest(const ParsedArguments& arguments) {
    SpaceRequest request{120, 120, 1, 64};
    if (arguments.positionals.size() > 1)
        return tooManyTempos(arguments.positionals.size());
    if (!arguments.positionals.empty()) {
        const auto read = bpmArgument(arguments.positionals.front(), tempo::kTypedBpmRange);
        if (const auto* error = std::get_if<UsageError>(&read))
            return *error;
        request.givenBpm = std::get<double>(read);
        request.bpm =
            std::clamp(request.givenBpm, tempo::kControlBpmRange.min, tempo::kControlBpmRange.max);
    }
    if (const auto total = arguments.value("--total")) {
        const auto parsed = text::parseTypedNumber(*total);
        const auto choices = tempo::customTotalBarsChoices();
        const auto match = std::find_if(choices.begin(), choices.end(), [&](const auto& choice) {
            return parsed && *parsed == choice.totalBars;
        });
        if (match == choices.end())
            return UsageError{"--total takes 0.25, 0.5, 1, 2, 4 or 8, not '" + std::string(*total) +
                              "'"};
        request.totalBars = match->totalBars;
    }
    if (const auto pre = arguments.value("--pre")) {
        const auto parsed = text::parseTypedNumber(*pre);
        const auto choices = tempo::customPreDivisionChoices();
        const auto match = std::find_if(choices.begin(), choices.end(),
                                        [&](int choice) { return parsed && *parsed == choice; });
        if (match == choices.end())
            return UsageError{"--pre takes 256, 128, 64, 32 or 16, not '" + std::string(*pre) +
                              "'"};
        request.preDivision = *match;
    }
    return request;
}

void timesMembers(JsonWriter& json, const tempo::ReverbTimes& times) {
    json.member("preDelayMs", times.preDelayMs)
        .member("decayMs", times.decayMs)
        .member("totalMs", times.totalMs);
}

void printJson(std::ostream& out, const SpaceRequest& request) {
    const double barMs = tempo::barMs(request.bpm);
    JsonWriter json(out);
    json.beginObject()
        .member("bpm", request.bpm)
        .member("barMs", barMs)
        .member("beatMs", barMs * 0.25)
        .member("pre64Ms", barMs / 64);
    json.key("presets").beginArray();
    for (const tempo::ReverbPreset& preset : tempo::reverbPresets()) {
        json.beginObject().member("name", preset.name).member("detail", preset.detail);
        timesMembers(json, tempo::reverbTimes(barMs, preset.totalBars, preset.preDivision));
        json.endObject();
    }
    json.endArray();
    json.key("custom")
        .beginObject()
        .member("totalBars", request.totalBars)
        .member("preDivision", request.preDivision);
    timesMembers(json, tempo::customReverbTimes(barMs, request.totalBars, request.preDivision));
    json.endObject();
    json.key("delays").beginArray();
    for (const tempo::DelayPick& pick : tempo::delayPicks())
        json.beginObject()
            .member("label", pick.label)
            .member("ms", tempo::delayMs(barMs, pick))
            .endObject();
    json.endArray().endObject();
    out << '\n';
}

void printText(std::ostream& out, const SpaceRequest& request) {
    using Align = TextTable::Align;
    const double barMs = tempo::barMs(request.bpm);
    out << "Tempo " << tempo::bpmFieldText(request.bpm) << " BPM";
    if (request.givenBpm != request.bpm)
        out << " (" << tempo::bpmFieldText(request.givenBpm) << " given; times use 20 to 400)";
    out << "\n\n";

    TextTable metrics({Align::Left, Align::Right});
    metrics.addRow({"Bar", msText(barMs)});
    metrics.addRow({"Beat", msText(barMs * 0.25)});
    metrics.addRow({"Pre 1/64", msText(barMs / 64)});
    metrics.print(out);

    out << "\nReverb Times\n";
    TextTable presets({Align::Left, Align::Right, Align::Right, Align::Right, Align::Left});
    presets.addRow({"Space", "Pre-delay", "Decay", "Total", ""});
    for (const tempo::ReverbPreset& preset : tempo::reverbPresets()) {
        const auto times = tempo::reverbTimes(barMs, preset.totalBars, preset.preDivision);
        presets.addRow(
            {preset.name, msText(times.preDelayMs), msText(times.decayMs), msText(times.totalMs),
             std::string(preset.detail) + " \u00b7 " + tempo::lengthLabel(preset.totalBars) +
                 " \u00b7 pre 1/" + std::to_string(preset.preDivision)});
    }
    presets.print(out, "  ");

    out << "\nCustom Space: " << tempo::lengthLabel(request.totalBars) << ", pre-delay 1/"
        << request.preDivision << " of a bar\n";
    const auto custom = tempo::customReverbTimes(barMs, request.totalBars, request.preDivision);
    TextTable customTable({Align::Left, Align::Right});
    customTable.addRow({"Pre-delay", msText(custom.preDelayMs)});
    customTable.addRow({"Decay", msText(custom.decayMs)});
    customTable.addRow({"Total", msText(custom.totalMs)});
    customTable.print(out, "  ");

    out << "\nDelay Quick Picks\n";
    TextTable delays({Align::Left, Align::Right});
    for (const tempo::DelayPick& pick : tempo::delayPicks())
        delays.addRow({pick.label, msText(tempo::delayMs(barMs, pick))});
    delays.print(out, "  ");
}

} // namespace

int runSpaceCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
    return runRequestCommand(kCommand, args, out, err, &readRequest, &printJson, &printText);
}

} // namespace quorlen::cli
