#include "cli/key_command.h"

#include "cli/command_line.h"
#include "cli/json_writer.h"
#include "cli/pitch_arguments.h"
#include "cli/text_table.h"
#include "harmony/key_selection.h"
#include "key/key_names.h"
#include "text/number_format.h"

#include <ostream>

namespace quorlen::cli {

using harmony::KeySelection;
using harmony::TriadQuality;

namespace {

constexpr KnownOption kOptions[] = {{"--a4", true}, {"--json", false}};
constexpr CommandInfo kCommand{"key", kKeySynopsis, kKeySummary, kOptions};

struct KeyRequest {
    KeySelection key;
    double a4;
};

const char* qualityName(TriadQuality quality) {
    switch (quality) {
    case TriadQuality::major:
        return "major";
    case TriadQuality::minor:
        return "minor";
    case TriadQuality::diminished:
        break;
    }
    return "diminished";
}

template <typename Strings> std::string joined(const Strings& strings, std::string_view gap) {
    std::string text;
    for (const auto& s : strings) {
        if (!text.empty())
            text += gap;
        text += s;
    }
    return text;
}

void printJson(std::ostream& out, const KeyRequest& request) {
    const KeySelection& key = request.key;
    const int accidentals = key.slot().accidentals;
    JsonWriter json(out);
    json.beginObject()
        .member("key", key.shortName())
        .member("longName", key.longName())
        .member("signature", harmony::CircleOfFifths::signatureText(accidentals))
        .key("signatureNotes")
        .beginArray();
    for (const std::string_view note : harmony::CircleOfFifths::signatureNotes(accidentals))
        json.value(note);
    json.endArray().key("scale").beginArray();
    for (const std::string_view note : key.scale())
        json.value(note);
    json.endArray().key("chords").beginArray();
    const auto chords = key.chords();
    const auto numerals = key.romanNumerals();
    for (int degree = 0; degree < 7; ++degree) {
        const auto i = static_cast<size_t>(degree);
        json.beginObject()
            .member("degree", degree)
            .member("name", chords[i])
            .member("numeral", numerals[i])
            .member("quality", qualityName(key.triadQuality(degree)))
            .member("rootHz", key.rootFrequency(degree, request.a4))
            .endObject();
    }
    json.endArray()
        .member("relative", key.relative().shortName())
        .member("dominant", key.dominant().shortName())
        .member("subdominant", key.subdominant().shortName())
        .endObject();
    out << '\n';
}

void printText(std::ostream& out, const KeyRequest& request) {
    const KeySelection& key = request.key;
    const int accidentals = key.slot().accidentals;
    const auto notes = harmony::CircleOfFifths::signatureNotes(accidentals);
    out << key.longName() << "  ·  signature "
        << harmony::CircleOfFifths::signatureText(accidentals)
        << (notes.empty() ? std::string(" (no accidentals)") : " (" + joined(notes, " ") + ")")
        << "  ·  A4 = " << text::compact(request.a4) << " Hz\n"
        << "Scale: " << joined(key.scale(), " ") << "\n\n";

    using Align = TextTable::Align;
    TextTable table({Align::Right, Align::Left, Align::Left, Align::Left, Align::Right});
    table.addRow({"Degree", "Chord", "Numeral", "Quality", "Root"});
    const auto chords = key.chords();
    const auto numerals = key.romanNumerals();
    for (int degree = 0; degree < 7; ++degree) {
        const auto i = static_cast<size_t>(degree);
        table.addRow({std::to_string(degree), chords[i], std::string(numerals[i]),
                      qualityName(key.triadQuality(degree)),
                      text::format("%.2f Hz", key.rootFrequency(degree, request.a4))});
    }
    table.print(out);
    out << "\nRelative " << key.relative().shortName() << "  ·  Dominant "
        << key.dominant().shortName() << "  ·  Subdominant " << key.subdominant().shortName()
        << '\n';
}

std::variant<KeyRequest, UsageError> readRequest(const ParsedArguments& arguments) {
    if (arguments.positionals.size() != 1)
        return UsageError{"expected one key, got " + std::to_string(arguments.positionals.size())};
    const std::string_view name = arguments.positionals.front();
    // A name as `quorlen detect --key` prints it, or its Camelot code.
    auto key = harmony::parseKeyName(name);
    if (!key)
        key = key::parseCamelotCode(name);
    if (!key)
        return UsageError{"'" + std::string(name) +
                          "' is not a key (C, F#, Db … major; Am, F#m, Bbm … minor; or a "
                          "Camelot code such as 8B or 11A)"};
    const auto a4 = a4Option(arguments);
    if (const auto* error = std::get_if<UsageError>(&a4))
        return *error;
    return KeyRequest{*key, std::get<double>(a4)};
}

} // namespace

int runKeyCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
    return runRequestCommand(kCommand, args, out, err, &readRequest, &printJson, &printText);
}

} // namespace quorlen::cli
