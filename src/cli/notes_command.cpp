#include "cli/notes_command.h"

#include "cli/command_line.h"
#include "cli/json_writer.h"
#include "cli/pitch_arguments.h"
#include "cli/text_table.h"
#include "pitch/note_names.h"
#include "text/number_format.h"

#include <ostream>

namespace quorlen::cli {
namespace {

constexpr KnownOption kOptions[] = {{"--a4", true}, {"--json", false}};
constexpr CommandInfo kCommand{"notes", kNotesSynopsis, kNotesSummary, kOptions};

void printJson(std::ostream& out, double a4) {
    JsonWriter json(out);
    json.beginObject().member("a4", a4).key("notes").beginArray();
    for (int octave : pitch::NoteFrequency::octaves) {
        for (size_t pitchClass = 0; pitchClass < pitch::NoteFrequency::names.size(); ++pitchClass) {
            const int midi = pitch::midiNote(static_cast<int>(pitchClass), octave);
            json.beginObject()
                .member("name", pitch::NoteFrequency::names[pitchClass])
                .member("octave", octave)
                .member("midi", midi)
                .member("hz", pitch::noteFrequencyHz(midi, a4))
                .endObject();
        }
    }
    json.endArray().endObject();
    out << '\n';
}

// Rows C … B, columns octave 0 … 8, as the frequency matrix shows them.
void printText(std::ostream& out, double a4) {
    out << "A4 = " << text::format("%.1f", a4) << " Hz\n\n";
    std::vector<TextTable::Align> columns(pitch::NoteFrequency::octaves.size() + 1,
                                          TextTable::Align::Right);
    columns.front() = TextTable::Align::Left;
    TextTable table(columns);
    std::vector<std::string> header{"Note"};
    for (int octave : pitch::NoteFrequency::octaves)
        header.push_back(std::to_string(octave));
    table.addRow(header);
    for (size_t pitchClass = 0; pitchClass < pitch::NoteFrequency::names.size(); ++pitchClass) {
        std::vector<std::string> row{std::string(pitch::NoteFrequency::names[pitchClass])};
        for (int octave : pitch::NoteFrequency::octaves)
            row.push_back(text::format(
                "%.1f",
                pitch::noteFrequencyHz(pitch::midiNote(static_cast<int>(pitchClass), octave), a4)));
        table.addRow(row);
    }
    table.print(out);
}

} // namespace

int runNotesCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
    const auto read = readArguments(kCommand, args, out, err);
    if (const int* status = std::get_if<int>(&read))
        return *status;
    const ParsedArguments& arguments = std::get<ParsedArguments>(read);
    if (!arguments.positionals.empty())
        return refuse(err, "notes",
                      {"unexpected argument '" + std::string(arguments.positionals.front()) + "'"});
    const auto a4 = a4Option(arguments);
    if (const auto* error = std::get_if<UsageError>(&a4))
        return refuse(err, "notes", *error);

    if (arguments.has("--json"))
        printJson(out, std::get<double>(a4));
    else
        printText(out, std::get<double>(a4));
    return kExitOk;
}

} // namespace quorlen::cli
