#include "cli/json_writer.h"

#include "cli/utf8.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <ostream>

namespace quorlen::cli {

std::string shortestJsonNumber(double value) {
    if (!std::isfinite(value))
        return "null";
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::string jsonString(std::string_view text) {
    std::string quoted = "\"";
    while (!text.empty()) {
        const size_t length = utf8SequenceLength(text);
        const char c = text.front();
        if (length == 0) {
            // JSON text is UTF-8; a byte that is none (a file name in
            // another encoding) becomes U+FFFD so the line stays valid.
            quoted += "\uFFFD";
            text.remove_prefix(1);
            continue;
        }
        switch (c) {
        case '"':
            quoted += "\\\"";
            break;
        case '\\':
            quoted += "\\\\";
            break;
        case '\n':
            quoted += "\\n";
            break;
        case '\r':
            quoted += "\\r";
            break;
        case '\t':
            quoted += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char escape[8];
                std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
                quoted += escape;
            } else {
                quoted += text.substr(0, length);
            }
        }
        text.remove_prefix(length);
    }
    return quoted + "\"";
}

void JsonWriter::beforeValue() {
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (!m_hasMember.empty()) {
        if (m_hasMember.back())
            m_out << ',';
        m_hasMember.back() = true;
    }
}

JsonWriter& JsonWriter::beginObject() {
    beforeValue();
    m_out << '{';
    m_hasMember.push_back(false);
    return *this;
}

JsonWriter& JsonWriter::endObject() {
    m_hasMember.pop_back();
    m_out << '}';
    return *this;
}

JsonWriter& JsonWriter::beginArray() {
    beforeValue();
    m_out << '[';
    m_hasMember.push_back(false);
    return *this;
}

JsonWriter& JsonWriter::endArray() {
    m_hasMember.pop_back();
    m_out << ']';
    return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
    beforeValue();
    m_out << jsonString(name) << ':';
    m_afterKey = true;
    return *this;
}

JsonWriter& JsonWriter::value(double number) {
    beforeValue();
    m_out << shortestJsonNumber(number);
    return *this;
}

JsonWriter& JsonWriter::value(std::string_view text) {
    beforeValue();
    m_out << jsonString(text);
    return *this;
}

} // namespace quorlen::cli
