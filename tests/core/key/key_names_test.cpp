#include "key/key_names.h"

#include <gtest/gtest.h>

namespace quorlen::key {
namespace {

// The 24 keys as the circle lists them, with their tonics and the codes of
// the Camelot wheel (8B = C major at the top, one step per fifth, "A" for
// the inner minor ring).
struct Named {
    KeySelection key;
    int tonic;
    const char* ascii;
    const char* camelot;
};
constexpr Named kAllKeys[] = {
    {{0, false}, 0, "C", "8B"},   {{1, false}, 7, "G", "9B"},    {{2, false}, 2, "D", "10B"},
    {{3, false}, 9, "A", "11B"},  {{4, false}, 4, "E", "12B"},   {{5, false}, 11, "B", "1B"},
    {{6, false}, 6, "F#", "2B"},  {{7, false}, 1, "Db", "3B"},   {{8, false}, 8, "Ab", "4B"},
    {{9, false}, 3, "Eb", "5B"},  {{10, false}, 10, "Bb", "6B"}, {{11, false}, 5, "F", "7B"},
    {{0, true}, 9, "Am", "8A"},   {{1, true}, 4, "Em", "9A"},    {{2, true}, 11, "Bm", "10A"},
    {{3, true}, 6, "F#m", "11A"}, {{4, true}, 1, "C#m", "12A"},  {{5, true}, 8, "G#m", "1A"},
    {{6, true}, 3, "D#m", "2A"},  {{7, true}, 10, "Bbm", "3A"},  {{8, true}, 5, "Fm", "4A"},
    {{9, true}, 0, "Cm", "5A"},   {{10, true}, 7, "Gm", "6A"},   {{11, true}, 2, "Dm", "7A"},
};

TEST(KeyNames, EveryKeyHasItsNameTonicAndCamelotCodeBothWays) {
    for (const Named& n : kAllKeys) {
        SCOPED_TRACE(n.ascii);
        EXPECT_EQ(asciiKeyName(n.key), n.ascii);
        EXPECT_EQ(camelotCode(n.key), n.camelot);
        EXPECT_EQ(n.key.tonicPitchClass(), n.tonic);
        EXPECT_EQ(keyWithTonic(n.tonic, n.key.isMinor), n.key);
        EXPECT_EQ(keyWithTonic(n.tonic - 24, n.key.isMinor), n.key) << "wrapped";
        // What detect prints, the key command reads back.
        EXPECT_EQ(parseKeyName(n.ascii), n.key);
        EXPECT_EQ(parseCamelotCode(n.camelot), n.key);
    }
}

TEST(KeyNames, CamelotCodesAcceptEitherCaseAndNothingElse) {
    EXPECT_EQ(parseCamelotCode("11a"), (KeySelection{3, true}));
    EXPECT_EQ(parseCamelotCode("12b"), (KeySelection{4, false}));
    for (const char* bad : {"", "A", "8", "0A", "13B", "08B", "8C", "-1A", "1 A", "8BB", "+8B"})
        EXPECT_EQ(parseCamelotCode(bad), std::nullopt) << bad;
}

} // namespace
} // namespace quorlen::key
