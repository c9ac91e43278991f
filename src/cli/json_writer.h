#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace quorlen::cli {

// Writes one JSON value to a stream as it is built, on one line. Numbers go
// out as shortestJsonNumber writes them, as in every JSON the command line
// prints. The caller keeps objects and arrays
// balanced and gives every member of an object a key first.
class JsonWriter {
public:
    explicit JsonWriter(std::ostream& out) : m_out(out) {}

    JsonWriter& beginObject();
    JsonWriter& endObject();
    JsonWriter& beginArray();
    JsonWriter& endArray();

    JsonWriter& key(std::string_view name);
    JsonWriter& value(double number);
    JsonWriter& value(int number) { return value(static_cast<double>(number)); }
    JsonWriter& value(std::string_view text);
    JsonWriter& value(const char* text) { return value(std::string_view(text)); }

    template <typename T> JsonWriter& member(std::string_view name, const T& v) {
        return key(name).value(v);
    }

private:
    void beforeValue();

    std::ostream& m_out;
    // One entry per open object or array: whether it has a member yet.
    std::vector<bool> m_hasMember;
    bool m_afterKey = false;
};

// `text` as a quoted JSON string: UTF-8 passes through unchanged, each byte
// that is no UTF-8 becomes U+FFFD.
std::string jsonString(std::string_view text);

// The shortest text that reads back as the same double (436.46, not
// 436.45999999999998); null for a number JSON cannot spell.
std::string shortestJsonNumber(double value);

} // namespace quorlen::cli
