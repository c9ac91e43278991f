#include "cli/pitch_arguments.h"

namespace quorlen::cli {

std::variant<double, UsageError> a4Option(const ParsedArguments& arguments) {
    const auto text = arguments.value("--a4");
    if (!text)
        return 440.0;
    return numberArgument(*text, pitch::kA4Range, "a frequency in Hz");
}

} // namespace quorlen::cli
