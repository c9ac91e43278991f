#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace quorlen::cli {

// Columns of text for the terminal, each as wide as its widest cell (in
// characters, so "¼" counts once), two blanks apart.
class TextTable {
public:
    enum class Align { Left, Right };

    explicit TextTable(std::vector<Align> columns) : m_align(std::move(columns)) {}

    void addRow(std::vector<std::string> cells);
    void print(std::ostream& out, const std::string& indent = {}) const;

private:
    std::vector<Align> m_align;
    std::vector<std::vector<std::string>> m_rows;
};

// Characters in a UTF-8 string.
size_t displayWidth(const std::string& text);

} // namespace quorlen::cli
