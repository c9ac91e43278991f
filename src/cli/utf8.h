#pragma once

#include <cstddef>
#include <string_view>

namespace quorlen::cli {

// Bytes in the well-formed UTF-8 sequence at the start of `text` (1 to 4),
// or 0 when none starts there: a stray continuation byte, an overlong form,
// a surrogate, a code point beyond U+10FFFF or a sequence cut short. File
// names on Linux are bytes, so any of these can reach the output.
size_t utf8SequenceLength(std::string_view text);

// The code point of a sequence that utf8SequenceLength() accepted.
char32_t utf8CodePoint(std::string_view sequence);

} // namespace quorlen::cli
