#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quorlen::testing {

// A strict reader for the JSON the command line prints, so tests can check
// that it is well formed and look values up by key. Any syntax error, or
// text after the value, gives nothing.
struct JsonValue {
    using Object = std::map<std::string, JsonValue>;
    using Array = std::vector<JsonValue>;
    std::variant<std::nullptr_t, bool, double, std::string, Array, Object> data;

    const JsonValue& operator[](const std::string& key) const;
    const JsonValue& operator[](size_t index) const;
    double number() const { return std::get<double>(data); }
    const std::string& string() const { return std::get<std::string>(data); }
    const Array& array() const { return std::get<Array>(data); }
    const Object& object() const { return std::get<Object>(data); }
};

std::optional<JsonValue> readJson(std::string_view text);

} // namespace quorlen::testing
