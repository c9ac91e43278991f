#include "cli/command_line.h"

#include "cli/detect_command.h"
#include "cli/euclid_command.h"
#include "cli/harmonics_command.h"
#include "cli/key_command.h"
#include "cli/notes_command.h"
#include "cli/space_command.h"
#include "cli/tempo_command.h"
#include "cli/tet_command.h"
#include "quorlen/version.h"

#include <ostream>
#include <string>
#include <vector>

namespace quorlen::cli {
namespace {

struct Command {
    std::string_view name;
    std::string_view synopsis;
    std::string_view summary;
    int (*run)(std::span<const std::string_view> args, std::ostream& out, std::ostream& err);
};

// Calculators register here as they gain a command, each with its own
// source file in this folder.
const std::vector<Command> kCommands = {
    {"tempo", kTempoSynopsis, kTempoSummary, runTempoCommand},
    {"space", kSpaceSynopsis, kSpaceSummary, runSpaceCommand},
    {"notes", kNotesSynopsis, kNotesSummary, runNotesCommand},
    {"tet", kTetSynopsis, kTetSummary, runTetCommand},
    {"harmonics", kHarmonicsSynopsis, kHarmonicsSummary, runHarmonicsCommand},
    {"key", kKeySynopsis, kKeySummary, runKeyCommand},
    {"euclid", kEuclidSynopsis, kEuclidSummary, runEuclid},
    {"detect", kDetectSynopsis, kDetectSummary, detectCommand},
};

void printUsage(std::ostream& stream) {
    stream << "usage: quorlen <command> [arguments]\n"
              "       quorlen --help | --version\n"
              "\n"
              "The calculators of Quorlen Calculator, for scripts and terminals.\n";
    if (kCommands.empty()) {
        stream << "\nNo calculator commands are built into this version yet.\n";
        return;
    }
    stream << "\ncommands:\n";
    for (const Command& command : kCommands)
        stream << "  " << command.synopsis << "\n      " << command.summary << '\n';
}

int refuse(std::ostream& err, const std::string& reason) {
    err << "quorlen: " << reason << '\n';
    printUsage(err);
    return kExitUsage;
}

} // namespace

int runCommandLine(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
    if (args.empty())
        return refuse(err, "no command given");

    const std::string_view first = args.front();
    if (first == "--help" || first == "-h" || first == "help") {
        printUsage(out);
        return kExitOk;
    }
    if (first == "--version" || first == "-V") {
        out << "quorlen " << kVersion << '\n';
        return kExitOk;
    }
    for (const Command& command : kCommands) {
        if (command.name == first)
            return command.run(args.subspan(1), out, err);
    }
    if (first.starts_with('-'))
        return refuse(err, "unknown option '" + std::string(first) + "'");
    return refuse(err, "unknown command '" + std::string(first) + "'");
}

} // namespace quorlen::cli
