#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorlen::cli {

// The columns of `quorlen detect --csv`: the members its JSON lines can
// have with these options, in the JSON's order, then "error".
std::vector<std::string> csvColumns(bool octaveMode, bool writeTags, bool key);

// RFC 4180 lines (CRLF-free: "\n", as the other formats end theirs): the
// header of `columns`, and one row per JSON line of the detect command,
// each member in its column (a missing one or null empty). Strings are
// unescaped, arrays joined with ";" and the objects in them with ":"
// ("128:0.62;64:0.31" for candidates). Cells with a comma, a quote or a
// line break are quoted.
std::string csvHeader(const std::vector<std::string>& columns);
std::string csvRow(std::string_view jsonLine, const std::vector<std::string>& columns);

} // namespace quorlen::cli
