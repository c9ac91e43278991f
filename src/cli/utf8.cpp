#include "cli/utf8.h"

namespace quorlen::cli {
namespace {

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

} // namespace

size_t utf8SequenceLength(std::string_view text) {
    if (text.empty())
        return 0;
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80)
        return 1;
    // The second byte's range excludes overlong forms (E0, F0), surrogates
    // (ED) and code points past U+10FFFF (F4); C0, C1 and F5 up never lead.
    size_t length = 0;
    unsigned char low = 0x80, high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        low = lead == 0xE0 ? 0xA0 : 0x80;
        high = lead == 0xED ? 0x9F : 0xBF;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        low = lead == 0xF0 ? 0x90 : 0x80;
        high = lead == 0xF4 ? 0x8F : 0xBF;
    } else {
        return 0;
    }
    if (text.size() < length || byte(1) < low || byte(1) > high)
        return 0;
    for (size_t i = 2; i < length; ++i) {
        if (!isContinuation(byte(i)))
            return 0;
    }
    return length;
}

char32_t utf8CodePoint(std::string_view sequence) {
    const auto byte = [&](size_t i) {
        return static_cast<char32_t>(static_cast<unsigned char>(sequence[i]));
    };
    switch (sequence.size()) {
    case 1:
        return byte(0);
    case 2:
        return (byte(0) & 0x1F) << 6 | (byte(1) & 0x3F);
    case 3:
        return (byte(0) & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
    default:
        return (byte(0) & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 |
               (byte(3) & 0x3F);
    }
}

} // namespace quorlen::cli
