#include "tags/tag_values.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorlen::tags {
namespace {

TEST(TagValues, TempoTextPerTagFamily) {
    struct Case {
        double bpm;
        int whole;           // TBPM and tmpo: halves away from zero
        const char* decimal; // Vorbis BPM: two decimals, trailing zeros dropped
    };
    const Case cases[] = {
        {120.0, 120, "120"},     {127.934, 128, "127.93"}, {127.5, 128, "127.5"},
        {127.49, 127, "127.49"}, {99.999, 100, "100"},     {63.96, 64, "63.96"},
        {60.1, 60, "60.1"},      {0.004, 0, "0"},          {250.0, 250, "250"},
        {89.999999, 90, "90"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bpm);
        EXPECT_EQ(wholeBpm(c.bpm), c.whole);
        EXPECT_EQ(decimalBpmText(c.bpm), c.decimal);
    }
}

TEST(TagValues, KeySpellingsOfTheHarmonyTool) {
    for (const char* key : {"C", "Am", "F#m", "Db", "Bbm", "G#", "Ebm", "B"})
        EXPECT_TRUE(isKeySpelling(key)) << key;
    // Lower-case letters, Unicode accidentals, a second accidental, long
    // names and trailing text are not what the key tags hold.
    for (const char* key :
         {"", "H", "c", "F##", "F#M", "Dbmm", "C major", "F\u266f", "#", "m", "Am ", "Bb7"})
        EXPECT_FALSE(isKeySpelling(key)) << key;
}

TEST(TagValues, TempoFromATagsText) {
    struct Case {
        const char* text;
        double bpm; // NaN: not a tempo
    };
    const double no = std::nan("");
    const Case cases[] = {
        {"120", 120},    {" 127.5 ", 127.5}, {"120,5", 120.5}, {"0", no},
        {"-120", no},    {"", no},           {"  ", no},       {"fast", no},
        {"120 BPM", no}, {"inf", no},        {"1e2", 100},     {"\t98\t", 98},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const auto bpm = bpmFromTagText(c.text);
        if (std::isnan(c.bpm))
            EXPECT_FALSE(bpm);
        else
            EXPECT_EQ(bpm, c.bpm);
    }
}

} // namespace
} // namespace quorlen::tags
