#include "cli/harmonics_command.h"

#include "cli/command_line.h"
#include "cli/json_writer.h"
#include "cli/pitch_arguments.h"
#include "cli/text_table.h"
#include "pitch/harmonic_series.h"
#include "pitch/note_names.h"
#include "text/number_format.h"

#include <ostream>

namespace quorlen::cli {
namespace {

using text::format;

constexpr KnownOption kOptions[] = {{"--a4", true}, {"--count", true}, {"--json", false}};
constexpr CommandInfo kCommand{"harmonics", kHarmonicsSynopsis, kHarmonicsSummary, kOptions};

// The app offers octaves 0 to 4 for the fundamental; 16 harmonics by default.
constexpr int kHighestOctave = 4;
constexpr int kDefaultCount = 16;
constexpr int kMostHarmonics = 128;

struct HarmonicsRequest {
    double fundamental;
    double a4;
    int count;
};

std::variant<HarmonicsRequest, UsageError> readRequest(const ParsedArguments& arguments) {
    if (arguments.positionals.size() > 1)
        return UsageError{"expected one note, got " + std::to_string(arguments.positionals.size())};
    pitch::PitchName note{9, 1};
    if (!arguments.positionals.empty()) {
        const std::string_view text = arguments.positionals.front();
        const auto parsed = pitch::parsePitchName(text);
        if (!parsed || parsed->octave < 0 || parsed->octave > kHighestOctave)
            return UsageError{"'" + std::string(text) + "' is not a note from C0 to B4"};
        note = *parsed;
    }
    const auto a4 = a4Option(arguments);
    if (const auto* error = std::get_if<UsageError>(&a4))
        return *error;
    int count = kDefaultCount;
    if (const auto text = arguments.value("--count")) {
        const auto read = wholeNumberArgument(*text, 1, kMostHarmonics, "a number of harmonics");
        if (const auto* error = std::get_if<UsageError>(&read))
            return *error;
        count = std::get<int>(read);
    }
    const double a4Hz = std::get<double>(a4);
    return HarmonicsRequest{pitch::overtoneFundamentalHz(note.pitchClass, note.octave, a4Hz), a4Hz,
                            count};
}

void printJson(std::ostream& out, const HarmonicsRequest& request) {
    JsonWriter json(out);
    json.beginObject()
        .member("fundamental", request.fundamental)
        .member("a4", request.a4)
        .key("harmonics")
        .beginArray();
    for (const pitch::Harmonic& h :
         pitch::harmonicSeries(request.fundamental, request.a4, request.count)) {
        json.beginObject()
            .member("number", h.number)
            .member("frequency", h.frequency)
            .member("noteName", h.noteName)
            .member("cents", h.cents)
            .endObject();
    }
    json.endArray().endObject();
    out << '\n';
}

void printText(std::ostream& out, const HarmonicsRequest& request) {
    const auto harmonics = pitch::harmonicSeries(request.fundamental, request.a4, request.count);
    out << "f0 = " << harmonics.front().noteName << " = " << format("%.2f Hz", request.fundamental)
        << " (A4 = " << text::compact(request.a4) << " Hz)\n\n";
    using Align = TextTable::Align;
    TextTable table({Align::Right, Align::Right, Align::Left, Align::Right});
    table.addRow({"n", "Frequency", "Note", "Cents"});
    for (const pitch::Harmonic& h : harmonics) {
        table.addRow({std::to_string(h.number) + "×", format("%.1f Hz", h.frequency), h.noteName,
                      format("%+.0f¢", h.cents)});
    }
    table.print(out);
}

} // namespace

int runHarmonicsCommand(std::span<const std::string_view> args, std::ostream& out,
                        std::ostream& err) {
    return runRequestCommand(kCommand, args, out, err, &readRequest, &printJson, &printText);
}

} // namespace quorlen::cli
