#include "cli/csv_report.h"
#include "cli/detect_report.h"
#include "cli/progress_line.h"
#include "support/json.h"

#include <gtest/gtest.h>

namespace quorlen::cli {
namespace {

using quorlen::testing::readJson;

const detection::Estimate kPlain{120.0, 0.0, 0, 0.5, std::nullopt, {}, 8.0, {}};

TEST(DetectReport, TextLinesReadLikeThePanelAndJsonKeepsNumbersExact) {
    // Tempo: two decimals unless whole; alternatives: whole or "%.1f";
    // confidence: label and rounded percentage; duration "%.1f s".
    EXPECT_EQ(textLine("a.wav", {120.0, 0.0348, 1, 0.82, 4, {60.0, 240.0}, 8.0, {}}, false),
              "a.wav: 120 BPM · High · 82% · first beat 0.035 s · downbeat 1 · 4 bars · "
              "also plausible: 60, 240 BPM · 8.0 s\n");
    EXPECT_EQ(textLine("a.wav", {127.934, 12.5, 0, 0.449, std::nullopt, {63.97, 191.9}, 181.26, {}},
                       false),
              "a.wav: 127.93 BPM · Low · 45% · first beat 12.500 s · downbeat 0 · "
              "also plausible: 64.0, 191.9 BPM · 181.3 s\n");
    EXPECT_EQ(textLine("a.wav", {95.0, 0.1, 3, 0.45, 1, {}, 2.53, {}}, true),
              "a.wav: 95 BPM · Medium · 45% · first beat 0.100 s · downbeat 3 · 1 bar · 2.5 s · "
              "parts of the file could not be decoded\n");
    EXPECT_EQ(textFailureLine("a.wav", "File is too short to detect a tempo"),
              "a.wav: File is too short to detect a tempo\n");
    // Shortest text that reads back as the same double: 0.1 + 0.2 is not 0.3.
    EXPECT_EQ(
        jsonLine("a.wav", {127.934, 0.1 + 0.2, 2, 0.5, std::nullopt, {64.0}, 181.25, {}}, true),
        "{\"file\":\"a.wav\",\"bpm\":127.934,\"beatOffset\":0.30000000000000004,\"downbeat\":2,"
        "\"confidence\":0.5,\"snappedBars\":null,\"alternatives\":[64],\"duration\":181.25,"
        "\"damaged\":true}\n");
    EXPECT_EQ(jsonFailureLine("b.wav", "Not an audio file"),
              "{\"file\":\"b.wav\",\"error\":\"Not an audio file\"}\n");
}

TEST(DetectReport, HostileFileNamesReachNeitherTerminalNorJsonRaw) {
    // Names are bytes: ESC sequences that recolour or clear the terminal, a
    // carriage return that overwrites the line, a C1 CSI (U+009B, which
    // some terminals obey), Latin-1 bytes that are no UTF-8, and a cut-off
    // three-byte sequence.
    const std::string hostile = "a\x1b[31mb\rc\u009bd\xe9\xff\xe2\x82.wav";
    const std::string escaped = "a\\x1b[31mb\\x0dc\\xc2\\x9bd\\xe9\\xff\\xe2\\x82.wav";
    EXPECT_TRUE(textLine(hostile, kPlain, false).starts_with(escaped + ": 120 BPM"));
    EXPECT_EQ(textFailureLine(hostile, "bad\x07"), escaped + ": bad\\x07\n");
    EXPECT_EQ(tagFailureLine("a\x1b.mp3", "cannot write the file: Permission denied"),
              "a\\x1b.mp3: could not write tags: cannot write the file: Permission denied\n");
    // Printable UTF-8 stays as it is.
    EXPECT_EQ(textFailureLine("Café ♯.wav", "x"), "Café ♯.wav: x\n");
    for (const std::string& line :
         {jsonLine(hostile, kPlain, false), jsonFailureLine(hostile, "x")}) {
        const auto json = readJson(line);
        ASSERT_TRUE(json) << line;
        EXPECT_EQ((*json)["file"].toString().toStdString(),
                  "a\x1b[31mb\rc\u009bd\uFFFD\uFFFD\uFFFD\uFFFD.wav");
    }
}

TEST(DetectReport, TagOutcomesEndTheLineInWordsOrFields) {
    using tags::TagResult;
    const struct {
        tags::TagOutcome outcome;
        const char* text; // what follows "8.0 s"
        const char* json; // what follows "damaged":false
    } cases[] = {
        {{TagResult::written, std::nullopt, "120", std::nullopt, ""},
         " · tags written",
         ",\"tags\":\"written\""},
        {{TagResult::written, "124", "120", std::nullopt, ""},
         " · tags written, replacing 124 BPM",
         ",\"tags\":\"written\",\"taggedBpm\":124"},
        {{TagResult::kept, "127,50", "", std::nullopt, ""},
         " · tags kept: the file says 127,50 BPM",
         ",\"tags\":\"kept\",\"taggedBpm\":127.5"},
        // A tag that is no number is reported as the text it is.
        {{TagResult::kept, "fast\x1b", "", std::nullopt, ""},
         " · tags kept: the file says fast\\x1b BPM",
         ",\"tags\":\"kept\",\"taggedBpm\":\"fast\\u001b\""},
        {{TagResult::failed, std::nullopt, "", std::nullopt, "Permission denied"},
         " · tags not written",
         ",\"tags\":\"failed\""},
    };
    const std::string text = textLine("a.wav", kPlain, false);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(withTagOutcome(text, c.outcome, false),
                  text.substr(0, text.size() - 1) + c.text + "\n");
        const std::string json = withTagOutcome(jsonLine("a.wav", kPlain, false), c.outcome, true);
        EXPECT_EQ(json.substr(json.find("\"damaged\":false") + 15), c.json + std::string("}\n"));
        EXPECT_TRUE(readJson(json)) << json;
    }
}

TEST(ProgressLine, CountsThenRateAndTimeLeft) {
    const struct {
        size_t done, total;
        double seconds;
        const char* text;
    } cases[] = {
        {0, 400, 5, "0 of 400 files"}, // no rate before the first file
        {12, 400, 4, "12 of 400 files · 3.0 files/s · about 2 min left"},
        {9, 10, 3, "9 of 10 files · 3.0 files/s · 1 s left"},
        {5, 10, 10, "5 of 10 files · 0.5 files/s · 10 s left"},
        {1, 5000, 2, "1 of 5000 files · 0.5 files/s · about 2 h 47 min left"},
        {10, 10, 3, "10 of 10 files"}, // done: nothing left to estimate
        {3, 10, 0, "3 of 10 files"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(progressText(c.done, c.total, c.seconds), c.text) << c.done << " " << c.total;
}

TEST(CsvReport, RowsHoldTheJsonMembersInTheirColumns) {
    const std::vector<std::string> columns = csvColumns(true, false, true);
    EXPECT_EQ(csvHeader(columns),
              "file,bpm,beatOffset,downbeat,confidence,snappedBars,alternatives,duration,damaged,"
              "octave,candidates,key,camelot,keyConfidence,keyAlternatives,tuningCents,a4,error\n");
    EXPECT_EQ(csvHeader(csvColumns(false, true, false)),
              "file,bpm,beatOffset,downbeat,confidence,snappedBars,alternatives,duration,damaged,"
              "tags,taggedBpm,error\n");
    const std::pair<std::string, std::string> cases[] = {
        {"{\"file\":\"a.wav\",\"bpm\":120,\"beatOffset\":0.25,\"downbeat\":1,\"confidence\":0.8,"
         "\"snappedBars\":null,\"alternatives\":[60,240],\"duration\":8,\"damaged\":false,"
         "\"octave\":\"auto\",\"candidates\":[{\"bpm\":120,\"p\":0.7},{\"bpm\":60,\"p\":0.2}],"
         "\"key\":\"Am\",\"camelot\":\"8A\",\"keyConfidence\":0.9,\"keyAlternatives\":[\"C\","
         "\"Em\"],\"tuningCents\":-0.3,\"a4\":439.92}\n",
         "a.wav,120,0.25,1,0.8,,60;240,8,false,auto,120:0.7;60:0.2,Am,8A,0.9,C;Em,-0.3,439.92,\n"},
        // A failure: the name, then only the error.
        {"{\"file\":\"b.wav\",\"error\":\"Not an audio file\"}\n",
         "b.wav,,,,,,,,,,,,,,,,,Not an audio file\n"},
        // Commas, quotes and line breaks in a name are quoted; escapes undone.
        {"{\"file\":\"x, \\\"y\\\"\\n\\u0001z\",\"error\":\"File not found\"}\n",
         "\"x, \"\"y\"\"\n\001z\",,,,,,,,,,,,,,,,,File not found\n"},
        {"not json at all", ",,,,,,,,,,,,,,,,,\n"},
    };
    for (const auto& [json, row] : cases)
        EXPECT_EQ(csvRow(json, columns), row) << json;
}

} // namespace
} // namespace quorlen::cli
