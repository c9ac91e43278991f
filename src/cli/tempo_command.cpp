#include "cli/tempo_command.h"

#include "cli/arguments.h"
#include "cli/click_track.h"
#include "cli/command_line.h"
#include "cli/interrupt.h"
#include "cli/json_writer.h"
#include "cli/text_table.h"
#include "rhythm/step_length.h"
#include "tempo/note_division.h"
#include "tempo/tempo_field.h"

#include <ostream>

namespace quorlen::cli {
namespace {

constexpr KnownOption kOptions[] = {{"--json", false}, {"--click", false}, {"--bars", true}};
constexpr CommandInfo kCommand{"tempo", kTempoSynopsis, kTempoSummary, kOptions};

constexpr int kBeatsPerBar = 4;
// A day of 4/4 at 400 BPM; more is a typo.
constexpr int kMaxBars = 144000;

// A metronome in 4/4, accented on beat 1, at the tempo tools' beat (the
// tempo clamped to 20...400 BPM), for `bars` bars or until Ctrl+C.
int click(double bpm, std::optional<int> bars, std::ostream& out, std::ostream& err) {
    out.flush();
    const InterruptFlag interrupt;
    ClickTrack track{
        rhythm::Euclid::stepMilliseconds(bpm, 4) / 1000.0, std::nullopt,
        [](std::int64_t beat) { return beat % kBeatsPerBar == 0 ? kAccentClick : kBeatClick; }};
    if (bars)
        track.steps = std::int64_t{*bars} * kBeatsPerBar;
    return playClickTrack(track, interrupt.raised(), kCommand.name, err);
}

void printJson(std::ostream& out, double bpm) {
    const tempo::TempoMetrics metrics = tempo::tempoMetrics(bpm);
    JsonWriter json(out);
    json.beginObject().member("bpm", bpm);
    json.key("metrics")
        .beginObject()
        .member("quarterMs", metrics.quarterMs)
        .member("eighthDottedMs", metrics.eighthDottedMs)
        .member("sixteenthHz", metrics.sixteenthHz)
        .endObject();
    json.key("rows").beginArray();
    for (const tempo::NoteDivision& division : tempo::NoteDivisions::all()) {
        const tempo::NoteLengths lengths = tempo::noteLengths(bpm, division);
        json.beginObject()
            .member("note", division.id())
            .member("straightMs", lengths.straightMs)
            .member("dottedMs", lengths.dottedMs)
            .member("tripletMs", lengths.tripletMs)
            .member("hz", lengths.hz)
            .endObject();
    }
    json.endArray().endObject();
    out << '\n';
}

void printText(std::ostream& out, double bpm) {
    const tempo::TempoMetrics metrics = tempo::tempoMetrics(bpm);
    out << "Tempo " << tempo::bpmFieldText(bpm) << " BPM\n\n";

    using Align = TextTable::Align;
    TextTable header({Align::Left, Align::Right});
    header.addRow({"Quarter", tempo::msText(metrics.quarterMs) + " ms"});
    header.addRow({"1/8 dotted", tempo::msText(metrics.eighthDottedMs) + " ms"});
    header.addRow({"1/16 Hz", tempo::msText(metrics.sixteenthHz) + "   "});
    header.print(out);
    out << '\n';

    TextTable table({Align::Left, Align::Right, Align::Right, Align::Right, Align::Right});
    table.addRow({"Note", "Straight", "Dotted", "Triplet", "Hz"});
    for (const tempo::NoteDivision& division : tempo::NoteDivisions::all()) {
        const tempo::NoteLengths lengths = tempo::noteLengths(bpm, division);
        table.addRow({division.id(), tempo::msText(lengths.straightMs) + " ms",
                      tempo::msText(lengths.dottedMs) + " ms",
                      tempo::msText(lengths.tripletMs) + " ms", tempo::hzText(lengths.hz)});
    }
    table.print(out);
}

} // namespace

int runTempoCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
    const auto read = readArguments(kCommand, args, out, err);
    if (const int* status = std::get_if<int>(&read))
        return *status;
    const ParsedArguments& arguments = std::get<ParsedArguments>(read);
    if (arguments.positionals.size() > 1)
        return refuse(err, "tempo", tooManyTempos(arguments.positionals.size()));

    double bpm = 120;
    if (!arguments.positionals.empty()) {
        const auto read = bpmArgument(arguments.positionals.front(), tempo::kTypedBpmRange);
        if (const auto* error = std::get_if<UsageError>(&read))
            return refuse(err, "tempo", *error);
        bpm = std::get<double>(read);
    }

    std::optional<int> bars;
    if (const auto text = arguments.value("--bars")) {
        if (!arguments.has("--click"))
            return refuse(err, "tempo", {"--bars goes with --click"});
        const auto read = wholeNumberArgument(*text, 1, kMaxBars, "a number of bars");
        if (const auto* error = std::get_if<UsageError>(&read))
            return refuse(err, "tempo", *error);
        bars = std::get<int>(read);
    }

    if (arguments.has("--json"))
        printJson(out, bpm);
    else
        printText(out, bpm);
    return arguments.has("--click") ? click(bpm, bars, out, err) : kExitOk;
}

} // namespace quorlen::cli
