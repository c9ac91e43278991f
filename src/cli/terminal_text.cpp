#include "cli/terminal_text.h"

#include "cli/utf8.h"

#include <cstdio>

namespace quorlen::cli {
namespace {

bool isControl(char32_t c) { return c < 0x20 || (c >= 0x7F && c <= 0x9F); }

void appendEscaped(std::string& out, std::string_view bytes) {
    for (const char byte : bytes) {
        char escape[5];
        std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned char>(byte));
        out += escape;
    }
}

} // namespace

std::string terminalSafe(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const size_t length = utf8SequenceLength(text);
        const std::string_view sequence = text.substr(0, length == 0 ? 1 : length);
        if (length == 0 || isControl(utf8CodePoint(sequence)))
            appendEscaped(out, sequence);
        else
            out += sequence;
        text.remove_prefix(sequence.size());
    }
    return out;
}

} // namespace quorlen::cli
