#include "cli/key_report.h"

#include "cli/json_writer.h"
#include "key/key_names.h"
#include "key/key_text.h"

#include <cmath>

namespace quorlen::cli {

std::string keyJsonMembers(const key::KeyEstimate& estimate) {
    if (!estimate.key)
        return ",\"key\":null,\"camelot\":null,\"keyConfidence\":0,\"keyAlternatives\":[],"
               "\"tuningCents\":null,\"a4\":null";
    std::string alternatives;
    for (const harmony::KeySelection& other : estimate.alternatives)
        alternatives += (alternatives.empty() ? "" : ",") + jsonString(key::asciiKeyName(other));
    const double cents = estimate.tuningCents.value_or(0.0);
    return ",\"key\":" + jsonString(key::asciiKeyName(*estimate.key)) +
           ",\"camelot\":" + jsonString(key::camelotCode(*estimate.key)) +
           ",\"keyConfidence\":" + shortestJsonNumber(estimate.confidence) +
           ",\"keyAlternatives\":[" + alternatives +
           "],\"tuningCents\":" + shortestJsonNumber(key::shownCents(cents)) +
           ",\"a4\":" + shortestJsonNumber(key::shownA4(cents));
}

std::string withJsonMembers(std::string line, const std::string& members) {
    const size_t close = line.rfind('}');
    if (close != std::string::npos)
        line.insert(close, members);
    return line;
}

std::string keyTextLine(const key::KeyEstimate& estimate) {
    return "  " + key::summaryText(estimate) + '\n';
}

} // namespace quorlen::cli
