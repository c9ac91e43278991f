#include "cli/csv_report.h"

#include <cstdlib>
#include <map>

namespace quorlen::cli {
namespace {

// The detect command's JSON lines are the only input: flat objects whose
// values are numbers, strings, booleans, null, and arrays of numbers,
// strings or flat objects. Anything else reads as text, never as a crash.
class JsonReader {
public:
    explicit JsonReader(std::string_view text) : m_text(text) {}

    // Members of the top-level object as cell texts.
    std::map<std::string, std::string, std::less<>> members() {
        std::map<std::string, std::string, std::less<>> found;
        skipSpace();
        if (!take('{'))
            return found;
        while (skipSpace(), m_at < m_text.size() && peek() != '}') {
            std::string name = string();
            skipSpace();
            if (!take(':'))
                break;
            found[std::move(name)] = cell();
            skipSpace();
            take(',');
        }
        return found;
    }

private:
    char peek() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }
    bool take(char c) {
        if (peek() != c)
            return false;
        ++m_at;
        return true;
    }
    void skipSpace() {
        while (peek() == ' ')
            ++m_at;
    }

    std::string cell() {
        skipSpace();
        if (peek() == '"')
            return string();
        if (take('[')) {
            std::string joined;
            bool first = true;
            while (skipSpace(), m_at < m_text.size() && peek() != ']') {
                joined += first ? "" : ";";
                first = false;
                joined += peek() == '{' ? objectValues() : cell();
                skipSpace();
                take(',');
            }
            take(']');
            return joined;
        }
        const size_t from = m_at;
        while (m_at < m_text.size() && peek() != ',' && peek() != '}' && peek() != ']')
            ++m_at;
        const std::string_view word = m_text.substr(from, m_at - from);
        return word == "null" ? std::string() : std::string(word);
    }

    std::string objectValues() {
        take('{');
        std::string joined;
        bool first = true;
        while (skipSpace(), m_at < m_text.size() && peek() != '}') {
            string();
            skipSpace();
            take(':');
            joined += (first ? "" : ":") + cell();
            first = false;
            skipSpace();
            take(',');
        }
        take('}');
        return joined;
    }

    // A string's text with its escapes undone (our writer escapes quotes,
    // backslashes, \n \r \t and other control bytes as \u00XX).
    std::string string() {
        std::string text;
        if (!take('"'))
            return text;
        while (m_at < m_text.size() && peek() != '"') {
            char c = m_text[m_at++];
            if (c != '\\' || m_at >= m_text.size()) {
                text += c;
                continue;
            }
            c = m_text[m_at++];
            switch (c) {
            case 'n':
                text += '\n';
                break;
            case 'r':
                text += '\r';
                break;
            case 't':
                text += '\t';
                break;
            case 'u': {
                const std::string hex(m_text.substr(m_at, 4));
                m_at = std::min(m_at + 4, m_text.size());
                appendUtf8(text, std::strtoul(hex.c_str(), nullptr, 16));
                break;
            }
            default:
                text += c; // \" \\ \/
            }
        }
        take('"');
        return text;
    }

    static void appendUtf8(std::string& text, unsigned long code) {
        if (code < 0x80) {
            text += static_cast<char>(code);
        } else if (code < 0x800) {
            text += static_cast<char>(0xC0 | (code >> 6));
            text += static_cast<char>(0x80 | (code & 0x3F));
        } else {
            text += static_cast<char>(0xE0 | (code >> 12));
            text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            text += static_cast<char>(0x80 | (code & 0x3F));
        }
    }

    std::string_view m_text;
    size_t m_at = 0;
};

std::string csvCell(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (const char c : text)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + '"';
}

std::string csvLine(const std::vector<std::string>& cells) {
    std::string line;
    for (size_t i = 0; i < cells.size(); ++i)
        line += (i ? "," : "") + csvCell(cells[i]);
    return line + '\n';
}

} // namespace

std::vector<std::string> csvColumns(bool octaveMode, bool writeTags, bool key) {
    std::vector<std::string> columns = {"file",         "bpm",        "beatOffset",
                                        "downbeat",     "confidence", "snappedBars",
                                        "alternatives", "duration",   "damaged"};
    if (octaveMode)
        columns.insert(columns.end(), {"octave", "candidates"});
    if (writeTags)
        columns.insert(columns.end(), {"tags", "taggedBpm"});
    if (key)
        columns.insert(columns.end(),
                       {"key", "camelot", "keyConfidence", "keyAlternatives", "tuningCents", "a4"});
    columns.emplace_back("error");
    return columns;
}

std::string csvHeader(const std::vector<std::string>& columns) { return csvLine(columns); }

std::string csvRow(std::string_view jsonLine, const std::vector<std::string>& columns) {
    const auto members = JsonReader(jsonLine).members();
    std::vector<std::string> cells;
    cells.reserve(columns.size());
    for (const std::string& column : columns) {
        const auto found = members.find(column);
        cells.push_back(found == members.end() ? std::string() : found->second);
    }
    return csvLine(cells);
}

} // namespace quorlen::cli
