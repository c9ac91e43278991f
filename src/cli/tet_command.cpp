#include "cli/tet_command.h"

#include "cli/command_line.h"
#include "cli/json_writer.h"
#include "cli/pitch_arguments.h"
#include "cli/text_table.h"
#include "pitch/tet_scale.h"
#include "text/number_format.h"

#include <cmath>
#include <ostream>

namespace quorlen::cli {
namespace {

using text::format;

constexpr KnownOption kOptions[] = {{"--ref", true}, {"--a4", true}, {"--json", false}};
constexpr CommandInfo kCommand{"tet", kTetSynopsis, kTetSummary, kOptions};

struct TetRequest {
    int divisions;
    double reference;
    double a4;
};

void printJson(std::ostream& out, const TetRequest& request) {
    JsonWriter json(out);
    json.beginObject()
        .member("divisions", request.divisions)
        .member("reference", request.reference)
        .member("a4", request.a4)
        .key("steps")
        .beginArray();
    for (const pitch::TetStep& step :
         pitch::tetScale(request.reference, request.divisions, request.a4)) {
        json.beginObject()
            .member("index", step.index)
            .member("frequency", step.frequency)
            .member("ratio", step.ratio)
            .member("centsFromRoot", step.centsFromRoot)
            .member("nearestNote", step.nearestNote)
            .member("nearestCents", step.nearestCents)
            .endObject();
    }
    json.endArray().endObject();
    out << '\n';
}

void printText(std::ostream& out, const TetRequest& request) {
    const int n = request.divisions;
    out << n << "-TET from " << text::compact(request.reference)
        << " Hz (A4 = " << text::compact(request.a4) << " Hz)  ·  step "
        << format("%.1f ¢", 1200.0 / n) << "  ·  ratio " << format("×%.5f", std::pow(2.0, 1.0 / n))
        << "\n\n";
    using Align = TextTable::Align;
    TextTable table({Align::Left, Align::Right, Align::Right, Align::Right, Align::Right});
    table.addRow({"Step", "Frequency", "Ratio", "Cents", "Nearest 12-TET"});
    for (const pitch::TetStep& step : pitch::tetScale(request.reference, n, request.a4)) {
        table.addRow({step.index == n ? "octave" : std::to_string(step.index),
                      format("%.2f Hz", step.frequency), format("×%.4f", step.ratio),
                      format("%.1f ¢", step.centsFromRoot),
                      step.nearestNote + " " + format("%+.0f¢", step.nearestCents)});
    }
    table.print(out);
}

std::variant<TetRequest, UsageError> readRequest(const ParsedArguments& arguments) {
    if (arguments.positionals.size() != 1)
        return UsageError{"expected one number of divisions, got " +
                          std::to_string(arguments.positionals.size())};
    const auto divisions =
        wholeNumberArgument(arguments.positionals.front(), pitch::kMinTetDivisions,
                            pitch::kMaxTetDivisions, "a number of divisions");
    if (const auto* error = std::get_if<UsageError>(&divisions))
        return *error;
    double reference = 440;
    if (const auto text = arguments.value("--ref")) {
        const auto read = numberArgument(*text, pitch::kTetReferenceRange, "a frequency in Hz");
        if (const auto* error = std::get_if<UsageError>(&read))
            return *error;
        reference = std::get<double>(read);
    }
    const auto a4 = a4Option(arguments);
    if (const auto* error = std::get_if<UsageError>(&a4))
        return *error;
    return TetRequest{std::get<int>(divisions), reference, std::get<double>(a4)};
}

} // namespace

int runTetCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
    return runRequestCommand(kCommand, args, out, err, &readRequest, &printJson, &printText);
}

} // namespace quorlen::cli
