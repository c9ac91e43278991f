#include "cli/text_table.h"

#include <algorithm>
#include <ostream>

namespace quorlen::cli {

size_t displayWidth(const std::string& text) {
    // Count every byte that does not continue a UTF-8 sequence.
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

void TextTable::addRow(std::vector<std::string> cells) {
    cells.resize(m_align.size());
    m_rows.push_back(std::move(cells));
}

void TextTable::print(std::ostream& out, const std::string& indent) const {
    std::vector<size_t> widths(m_align.size(), 0);
    for (const auto& row : m_rows) {
        for (size_t c = 0; c < row.size(); ++c)
            widths[c] = std::max(widths[c], displayWidth(row[c]));
    }
    for (const auto& row : m_rows) {
        std::string line = indent;
        for (size_t c = 0; c < row.size(); ++c) {
            const std::string padding(widths[c] - displayWidth(row[c]), ' ');
            if (c > 0)
                line += "  ";
            line += m_align[c] == Align::Right ? padding + row[c] : row[c] + padding;
        }
        // Left-aligned last columns would pad every line with blanks.
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    }
}

} // namespace quorlen::cli
