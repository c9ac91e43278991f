#include "cli/key_report.h"

#include "cli/json_writer.h"
#include "key/key_names.h"
#include "key/key_text.h"

#include <charconv>
#include <cmath>

namespace quorlen::cli {
namespace {

// The shortest text that reads back as the same double: 436.46, not
// 436.45999999999998.
std::string shortestNumber(double value) {
    if (!std::isfinite(value))
        return "null";
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

} // namespace

std::string keyJsonMembers(const key::KeyEstimate& estimate) {
    if (!estimate.key)
        return ",\"key\":null,\"camelot\":null,\"keyConfidence\":0,\"keyAlternatives\":[],"
               "\"tuningCents\":null,\"a4\":null";
    std::string alternatives;
    for (const KeySelection& other : estimate.alternatives)
        alternatives += (alternatives.empty() ? "" : ",") + jsonString(key::asciiKeyName(other));
    const double cents = estimate.tuningCents.value_or(0.0);
    return ",\"key\":" + jsonString(key::asciiKeyName(*estimate.key)) +
           ",\"camelot\":" + jsonString(key::camelotCode(*estimate.key)) +
           ",\"keyConfidence\":" + shortestNumber(estimate.confidence) + ",\"keyAlternatives\":[" +
           alternatives + "],\"tuningCents\":" + shortestNumber(key::shownCents(cents)) +
           ",\"a4\":" + shortestNumber(key::shownA4(cents));
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
