#include "cli/json_writer.h"
#include "cli_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <variant>

namespace quorlen::cli {
namespace {

// A member of a command's JSON by its path: names and indices between "/",
// with "#" for an array's size and "keys" for an object's member names.
QJsonValue at(QJsonValue value, const QString& path) {
    for (const QString& step : path.split(u'/')) {
        if (step == u"#")
            return value.toArray().size();
        if (step == u"keys")
            return value.toObject().keys().join(u',');
        bool index = false;
        const int i = step.toInt(&index);
        value = index ? value[i] : value[step];
    }
    return value;
}

// The tables' numbers are the core's (its tests derive them); these check
// that each command prints them in the app's formats, under the right names.
TEST(Commands, TextLinesShowTheAppsFormats) {
    const struct {
        const char* line;
        const char* first; // the first word of the output line
        const char* shown; // its words, from the start
    } cases[] = {
        {"tempo", "Tempo", "Tempo 120 BPM"},
        {"tempo", "Quarter", "Quarter 500.00 ms"},
        {"tempo", "Note", "Note Straight Dotted Triplet Hz"},
        {"tempo", "1/64", "1/64 31.25 ms 46.88 ms 20.83 ms 32.00"},
        {"tempo 98,5", "Tempo", "Tempo 98.50 BPM"},
        {"space", "Medium",
         "Medium Room 31.2 ms 1968.8 ms 2000.0 ms vocals, snare · 1 bar · pre 1/64"},
        {"space", "1/8T", "1/8T 166.7 ms"},
        // 600 / 256 = 2.34375.
        {"space 1000 --total 8 --pre 256", "Tempo",
         "Tempo 400 BPM (999 given; times use 20 to 400)"},
        {"space 1000 --total 8 --pre 256", "Pre-delay", "Pre-delay 2.3 ms"},
        {"space 1000 --total 8 --pre 256", "Custom",
         "Custom Space: 8 bars, pre-delay 1/256 of a bar"},
        // 432 × 2^(-9/12) = 256.87 for C4, halved for each octave below.
        {"notes --a4 432", "Note", "Note 0 1 2 3 4 5 6 7 8"},
        {"notes --a4 432", "C", "C 16.1 32.1 64.2 128.4 256.9"},
        {"tet 19", "1", "1 456.35 Hz ×1.0372 63.2 ¢ A#4 -37¢"},
        {"tet 19", "octave", "octave 880.00 Hz ×2.0000 1200.0 ¢ A5 +0¢"},
        {"harmonics", "7×", "7× 385.0 Hz G4 -31¢"},
        {"key F#", "F♯", "F♯ major · signature 6♯ (F♯ C♯ G♯ D♯ A♯ E♯) · A4 = 440 Hz"},
        {"key F#", "Scale:", "Scale: F♯ G♯ A♯ B C♯ D♯ E♯"},
        // F♯ is pitch class 6: 440 × 2^(−15/12) = 185.00 Hz. E♯ (F) wraps
        // below it to F3 = 174.61 Hz.
        {"key F#", "0", "0 F♯ I major 185.00 Hz"},
        {"key F#", "6", "6 E♯° vii° diminished 174.61 Hz"},
        {"key F#", "Relative", "Relative D♯m · Dominant D♭ · Subdominant B"},
        {"key C", "C", "C major · signature 0 (no accidentals)"},
        // Steps 1 to 1024, pulses 0 to the steps, tempo 1 to 999 as typed;
        // the step length keeps to 20 to 400 BPM, and the text names the
        // tempo it used: at 20 BPM a sixteenth is 60000 / 20 / 4 = 750 ms.
        {"euclid 9 8", "E(8,8)", "E(8,8) xxxxxxxx"},
        {"euclid -1 8", "E(0,8)", "E(0,8) ........"},
        {"euclid 3 0", "E(1,1)", "E(1,1) x"},
        {"euclid 0 4 --note 4", "hits:", "hits: none"},
        {"euclid 3 8 --bpm 98,5", "step:", "step: 152.3 ms (1/16 at 98.5 BPM)"},
        {"euclid 3 8 --bpm 0", "step:", "step: 750.0 ms (1/16 at 20 BPM)"},
        {"euclid 3 8 --bpm 3.5", "step:", "step: 750.0 ms (1/16 at 20 BPM)"},
        {"euclid 3 8 --bpm=1e308", "step:", "step: 37.5 ms (1/16 at 400 BPM)"},
        {"euclid 3 8 --bpm 1e-400", "step:", "step: 750.0 ms (1/16 at 20 BPM)"},
        {"euclid 2 5 --rotate -6 --note 8", "E(2,5)", "E(2,5) ..x.x"},
        {"euclid 2 5 --rotate -6 --note 8", "step:", "step: 250.0 ms (1/8 at 120 BPM)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.line) + " / " + c.first);
        const Outcome result = typed(c.line);
        EXPECT_EQ(result.status, kExitOk);
        EXPECT_TRUE(result.err.empty());
        std::string shown;
        for (const std::string& word : wordsOfLine(result.out, c.first))
            shown += (shown.empty() ? "" : " ") + word;
        EXPECT_TRUE(shown.starts_with(c.shown)) << shown;
    }
    // Whole outputs, where the spacing and the members' order are the format.
    // 90 BPM in eighths: 60000 / 90 × 4 / 8 = 333.333… ms a step, 5 steps
    // 1666.66… ms. E(2,5) = x..x.; rotation −1 moves each hit one step
    // earlier, 0 → 4, 3 → 2.
    const std::pair<const char*, const char*> whole[] = {
        {"euclid 3 8",
         "E(3,8)  x..x..x.\nhits:  0 3 6\nstep:  125.0 ms  (1/16 at 120 BPM)\ncycle: 1000.0 ms\n"},
        {"euclid 2 5 --rotate -1 --note 8 --bpm 90 --json",
         "{\"pattern\":\"..x.x\",\"hits\":[2,4],\"stepMs\":333.3333333333333,"
         "\"cycleMs\":1666.6666666666665}\n"},
        {"euclid 0 4 --json",
         "{\"pattern\":\"....\",\"hits\":[],\"stepMs\":125,\"cycleMs\":500}\n"},
    };
    for (const auto& [line, out] : whole)
        EXPECT_EQ(typed(line).out, out) << line;
}

TEST(Commands, JsonHoldsTheListedMembersUnrounded) {
    const struct {
        const char* line;
        const char* path;
        std::variant<double, const char*> value;
    } cases[] = {
        {"tempo --json", "keys", "bpm,metrics,rows"},
        {"tempo --json", "metrics/keys", "eighthDottedMs,quarterMs,sixteenthHz"},
        {"tempo --json", "rows/#", 13.0},
        {"tempo --json", "rows/7/keys", "dottedMs,hz,note,straightMs,tripletMs"},
        // Unrounded: the text shows 333.33, the JSON the double itself.
        {"tempo --json", "rows/7/tripletMs", 1000.0 / 3.0},
        // "," reads as "." as in the app's fields.
        {"tempo 98,5 --json", "metrics/quarterMs", 60000 / 98.5},
        {"space --json", "keys", "barMs,beatMs,bpm,custom,delays,pre64Ms,presets"},
        {"space --json", "pre64Ms", 31.25},
        // Bar 2000: pre-delay 2000/N, total 2000 x bars, decay the difference.
        {"space --json", "presets/#", 5.0},
        {"space --json", "presets/0/keys", "decayMs,detail,name,preDelayMs,totalMs"},
        {"space --json", "presets/0/decayMs", 492.1875},
        {"space --json", "custom/keys", "decayMs,preDelayMs,preDivision,totalBars,totalMs"},
        {"space --json", "custom/decayMs", 1968.75},
        {"space --json", "delays/#", 7.0},
        {"space --json", "delays/3/ms", 2000.0 / 12},
        // Quarter bar with a 1/16 pre-delay at 120: 500 - 125 = 375; "0,25"
        // is read by the typed-number rule.
        {"space --total 0,25 --pre=16 --json", "custom/totalBars", 0.25},
        {"space --total 0,25 --pre=16 --json", "custom/decayMs", 375.0},
        {"space 98,5 --json", "barMs", 240000 / 98.5},
        {"notes --json --a4=441,5", "a4", 441.5},
        {"notes --json --a4=441,5", "notes/#", 108.0},
        {"notes --json --a4=441,5", "notes/57/keys", "hz,midi,name,octave"},
        {"notes --json --a4=441,5", "notes/57/name", "A"}, // A4: octave 4, pitch class 9
        {"notes --json --a4=441,5", "notes/57/midi", 69.0},
        {"notes --json --a4=441,5", "notes/57/hz", 441.5},
        {"tet 99 --ref 5000 --a4 300 --json", "divisions", 53.0},
        {"tet 99 --ref 5000 --a4 300 --json", "reference", 2000.0},
        {"tet 99 --ref 5000 --a4 300 --json", "steps/#", 54.0},
        {"tet 99 --ref 5000 --a4 300 --json", "steps/53/keys",
         "centsFromRoot,frequency,index,nearestCents,nearestNote,ratio"},
        {"tet 99 --ref 5000 --a4 300 --json", "steps/53/frequency", 4000.0},
        {"harmonics Bb2 --count 2 --json", "harmonics/#", 2.0},
        {"harmonics Bb2 --count 2 --json", "harmonics/0/noteName", "A#2"},
        {"key Am --a4 432 --json", "keys",
         "chords,dominant,key,longName,relative,scale,signature,signatureNotes,subdominant"},
        {"key Am --a4 432 --json", "longName", "A minor"},
        {"key Am --a4 432 --json", "signature", "0"},
        {"key Am --a4 432 --json", "dominant", "Em"},
        {"key Am --a4 432 --json", "chords/#", 7.0},
        {"key Am --a4 432 --json", "chords/1/keys", "degree,name,numeral,quality,rootHz"},
        {"key Am --a4 432 --json", "chords/1/degree", 1.0},
        {"key Am --a4 432 --json", "chords/1/name", "B°"},
        {"key Am --a4 432 --json", "chords/1/quality", "diminished"},
        // The tonic A3 is A4 / 2 exactly, at the A4 given.
        {"key Am --a4 432 --json", "chords/0/rootHz", 216.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.line) + " / " + c.path);
        const QJsonValue value = at(jsonOf(c.line), QString::fromUtf8(c.path));
        if (const double* number = std::get_if<double>(&c.value))
            EXPECT_DOUBLE_EQ(value.toDouble(std::nan("")), *number);
        else
            EXPECT_EQ(value.toString().toStdString(), std::get<const char*>(c.value));
    }
}

TEST(Commands, EverySpellingOfANoteOrKeyGivesTheSameAnswer) {
    // The circle lists D♭ and B♭m, not C♯ and A♯m; ♯/♭ and #/b are the same.
    const std::pair<const char*, const char*> same[] = {
        {"key C#", "key Db"},
        {"key B♭m", "key Bbm"},
        {"key Gb", "key F#"},
        {"harmonics Bb2", "harmonics A#2"},
        // Camelot codes, as `detect --key` prints them beside the names.
        {"key 8A", "key Am"},
        {"key 11b", "key A"}};
    for (const auto& [one, other] : same)
        EXPECT_EQ(jsonOf(std::string(one) + " --json"), jsonOf(std::string(other) + " --json"));
    EXPECT_NE(typed("key 13A").err.find("Camelot code such as 8B or 11A"), std::string::npos);
}

TEST(JsonWriter, EscapesAndNumbersStayValidJson) {
    EXPECT_EQ(jsonString("a\"b\\c\nd\x01\u00bc"), "\"a\\\"b\\\\c\\nd\\u0001\u00bc\"");
    EXPECT_EQ(shortestJsonNumber(std::numeric_limits<double>::infinity()), "null");
    EXPECT_EQ(shortestJsonNumber(std::nan("")), "null");
    // The shortest text still reads back as the very same double.
    EXPECT_EQ(std::strtod(shortestJsonNumber(1.0 / 3.0).c_str(), nullptr), 1.0 / 3.0);
    std::ostringstream out;
    JsonWriter json(out);
    json.beginObject().key("a").beginArray().value(1).value("x").beginObject().endObject();
    json.endArray().member("b", std::nan("")).member("c", 98.1).endObject();
    // 98.1, not 98.099999999999994: the writer's numbers are the reports'.
    EXPECT_EQ(out.str(), "{\"a\":[1,\"x\",{}],\"b\":null,\"c\":98.1}");
}

} // namespace
} // namespace quorlen::cli
