#include "harmony/circle_of_fifths.h"

#include <algorithm>
#include <cstdlib>

namespace quorlen::harmony::CircleOfFifths {

std::string signatureText(int accidentals) {
    if (accidentals == 0)
        return "0";
    return std::to_string(std::abs(accidentals)) + (accidentals > 0 ? "♯" : "♭");
}

std::vector<std::string_view> signatureNotes(int accidentals) {
    const auto& order = accidentals > 0 ? sharpOrder : flatOrder;
    const int count = std::min(std::abs(accidentals), static_cast<int>(order.size()));
    return {order.begin(), order.begin() + count};
}

int wrappedIndex(int index) { return ((index % kKeyCount) + kKeyCount) % kKeyCount; }

} // namespace quorlen::harmony::CircleOfFifths

namespace quorlen::harmony {

std::string clipboardSpelling(std::string_view text) {
    static constexpr std::string_view kSharp = "♯";
    static constexpr std::string_view kFlat = "♭";
    std::string spelled;
    spelled.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        if (text.substr(i).starts_with(kSharp)) {
            spelled += '#';
            i += kSharp.size();
        } else if (text.substr(i).starts_with(kFlat)) {
            spelled += 'b';
            i += kFlat.size();
        } else {
            spelled += text[i++];
        }
    }
    return spelled;
}

} // namespace quorlen::harmony
