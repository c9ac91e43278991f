#include "key/key_text.h"

#include "key/key_names.h"
#include "text/number_format.h"

namespace quorlen::key {

// Adding 0.0 turns a rounded -0.0 into 0.0, which shows no sign.
double shownCents(double cents) { return text::roundHalfAway(cents * 10.0) / 10.0 + 0.0; }

double shownA4(double cents) {
    return text::roundHalfAway(a4ForCents(shownCents(cents)) * 100.0) / 100.0;
}

std::string centsText(double cents) {
    const double shown = shownCents(cents);
    return text::format(shown > 0.0 ? "+%.1f" : "%.1f", shown);
}

std::string a4Text(double cents) { return text::format("%.2f", shownA4(cents)); }

std::string percentText(double confidence) {
    return text::format("%.0f%%", text::roundHalfAway(confidence * 100.0));
}

std::string summaryText(const KeyEstimate& estimate) {
    if (!estimate.key)
        return std::string("key none · ") + kNoKeyText;
    std::string line = "key " + asciiKeyName(*estimate.key) + " (" + camelotCode(*estimate.key) +
                       ") · " + percentText(estimate.confidence);
    if (estimate.tuningCents)
        line += " · tuning " + centsText(*estimate.tuningCents) + " cents (A4 " +
                a4Text(*estimate.tuningCents) + " Hz)";
    return line;
}

} // namespace quorlen::key
