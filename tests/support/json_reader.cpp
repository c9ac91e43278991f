#include "support/json_reader.h"

#include <cctype>
#include <cstdlib>
#include <stdexcept>

namespace quorlen::testing {
namespace {

struct Reader {
    std::string_view text;
    size_t at = 0;

    void fail() const { throw std::runtime_error("bad JSON at " + std::to_string(at)); }
    void skipBlanks() {
        while (at < text.size() && std::isspace(static_cast<unsigned char>(text[at])))
            ++at;
    }
    bool take(char c) {
        skipBlanks();
        if (at < text.size() && text[at] == c) {
            ++at;
            return true;
        }
        return false;
    }
    void expect(char c) {
        if (!take(c))
            fail();
    }
    bool takeWord(std::string_view word) {
        if (text.substr(at, word.size()) != word)
            return false;
        at += word.size();
        return true;
    }

    std::string readString() {
        expect('"');
        std::string result;
        while (at < text.size() && text[at] != '"') {
            const unsigned char c = static_cast<unsigned char>(text[at++]);
            if (c < 0x20)
                fail();
            if (c != '\\') {
                result += static_cast<char>(c);
                continue;
            }
            if (at >= text.size())
                fail();
            const char escaped = text[at++];
            switch (escaped) {
            case '"':
            case '\\':
            case '/':
                result += escaped;
                break;
            case 'n':
                result += '\n';
                break;
            case 't':
                result += '\t';
                break;
            case 'r':
                result += '\r';
                break;
            case 'b':
                result += '\b';
                break;
            case 'f':
                result += '\f';
                break;
            case 'u': {
                // Enough for the control characters the writer escapes.
                const std::string hex(text.substr(at, 4));
                if (hex.size() != 4 ||
                    hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
                    fail();
                at += 4;
                result += static_cast<char>(std::strtol(hex.c_str(), nullptr, 16));
                break;
            }
            default:
                fail();
            }
        }
        expect('"');
        return result;
    }

    double readNumber() {
        // JSON's grammar: -?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?
        const size_t start = at;
        auto digits = [&] {
            const size_t from = at;
            while (at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])))
                ++at;
            if (at == from)
                fail();
        };
        if (text[at] == '-')
            ++at;
        if (at < text.size() && text[at] == '0')
            ++at;
        else
            digits();
        if (at < text.size() && text[at] == '.') {
            ++at;
            digits();
        }
        if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
            ++at;
            if (at < text.size() && (text[at] == '+' || text[at] == '-'))
                ++at;
            digits();
        }
        return std::strtod(std::string(text.substr(start, at - start)).c_str(), nullptr);
    }

    JsonValue readValue() {
        skipBlanks();
        if (at >= text.size())
            fail();
        const char c = text[at];
        if (c == '{') {
            ++at;
            JsonValue::Object object;
            if (!take('}')) {
                do {
                    skipBlanks();
                    std::string key = readString();
                    expect(':');
                    if (!object.emplace(std::move(key), readValue()).second)
                        fail(); // duplicate key
                } while (take(','));
                expect('}');
            }
            return {std::move(object)};
        }
        if (c == '[') {
            ++at;
            JsonValue::Array array;
            if (!take(']')) {
                do
                    array.push_back(readValue());
                while (take(','));
                expect(']');
            }
            return {std::move(array)};
        }
        if (c == '"')
            return {readString()};
        if (takeWord("null"))
            return {nullptr};
        if (takeWord("true"))
            return {true};
        if (takeWord("false"))
            return {false};
        if (c == '-' || std::isdigit(static_cast<unsigned char>(c)))
            return {readNumber()};
        fail();
        return {};
    }
};

} // namespace

const JsonValue& JsonValue::operator[](const std::string& key) const { return object().at(key); }

const JsonValue& JsonValue::operator[](size_t index) const { return array().at(index); }

std::optional<JsonValue> readJson(std::string_view text) {
    Reader reader{text};
    try {
        JsonValue value = reader.readValue();
        reader.skipBlanks();
        if (reader.at != text.size())
            return std::nullopt;
        return value;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace quorlen::testing
