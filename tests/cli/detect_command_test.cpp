#include "cli/detect_command.h"
#include "cli_run.h"
#include "harmony/key_selection.h"
#include "key_signals.h"
#include "tags/tag_writer.h"
#include "test_signals.h"
#include "text/failure_texts.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>

namespace quorlen::cli {
namespace {

namespace t = detection::testing;
using quorlen::testing::lines;
using quorlen::testing::readJson;

Outcome detect(std::vector<std::string> args, bool terminal = false,
               const std::atomic<bool>* interrupted = nullptr) {
    const std::vector<std::string_view> views(args.begin(), args.end());
    std::ostringstream out, err;
    const int status = runDetect(views, out, err, {interrupted, terminal, 2});
    return {status, out.str(), err.str()};
}

void writeWav(const std::filesystem::path& path, const std::vector<float>& samples,
              int format = SF_FORMAT_WAV) {
    EXPECT_TRUE(t::writeSound(path, samples, 1, 44100, format | SF_FORMAT_PCM_16));
}

// A sample library: two loops, a text file posing as audio, a non-audio file.
class DetectCommand : public ::testing::Test {
protected:
    DetectCommand() {
        std::filesystem::create_directories(dir.file("drums"));
        writeWav(dir.file("drums/loop.wav"),
                 t::clickTrain({.bpm = 120, .seconds = 8, .rateHz = 44100}));
        EXPECT_TRUE(
            t::writeSound(dir.file("drums/Slow.FLAC"),
                          t::clickTrain({.bpm = 95, .seconds = 16 * 60 / 95.0, .rateHz = 48000}), 1,
                          48000, SF_FORMAT_FLAC | SF_FORMAT_PCM_16));
        t::writeBytes(dir.file("drums/notes.wav"), "not audio\n");
        t::writeBytes(dir.file("readme.txt"), "skipped: not an audio name\n");
    }
    std::string path(const std::string& name) const { return dir.file(name).string(); }

    t::TempDir dir;
    const std::string loop = path("drums/loop.wav"); // 16 beats in 8 s
    const std::string drums = path("drums");
};

TEST_F(DetectCommand, AnOctaveModeChangesTheTempoAndIsNamedInTheJson) {
    const std::string classic = detect({"--json", loop}).out;
    EXPECT_EQ(detect({"--json", "--octave", "classic", loop}).out, classic) << "the default";
    EXPECT_EQ(classic.find("\"octave\""), std::string::npos) << classic;
    EXPECT_NE(classic.find("\"bpm\":120,"), std::string::npos) << classic;
    // Folded into [40, 80): 60 BPM, and the 8 s still hold whole bars (2).
    const std::string folded = detect({"--json", "--octave=40-80", loop}).out;
    EXPECT_NE(folded.find("\"bpm\":60,"), std::string::npos) << folded;
    EXPECT_NE(folded.find("\"snappedBars\":2,"), std::string::npos) << folded;
    EXPECT_NE(folded.find(",\"octave\":\"40-80\",\"candidates\":[{\"bpm\":"), std::string::npos);
    // Outside classic, the candidates follow (their order and sum are the
    // core's).
    EXPECT_NE(detect({"--json", "--octave", "auto", loop})
                  .out.find(",\"octave\":\"auto\",\"candidates\":[{\"bpm\":"),
              std::string::npos);
    // The text line has no field for the mode; it shows the folded tempo.
    EXPECT_NE(detect({"--octave", "150-300", loop}).out.find(": 240 BPM · "), std::string::npos);
}

TEST_F(DetectCommand, PrintsOneLinePerFileInSortedOrderFailsOnBadOnesAndStopsOnAnInterrupt) {
    const Outcome result = detect({dir.path().string()});
    EXPECT_EQ(result.status, kExitFailed);
    const auto printed = lines(result.out);
    ASSERT_EQ(printed.size(), 2u) << result.out;
    // Sorted by path: "Slow.FLAC" < "loop.wav" < "notes.wav" (upper case first).
    EXPECT_TRUE(printed[0].starts_with(path("drums/Slow.FLAC") + ": 95 BPM · ")) << printed[0];
    EXPECT_NE(printed[0].find(" · 4 bars · "), std::string::npos);
    EXPECT_TRUE(printed[1].starts_with(loop + ": 120 BPM · ")) << printed[1];
    // The failure goes to stderr, so a pipe of results holds results only.
    EXPECT_EQ(result.err, path("drums/notes.wav") + ": Not an audio file\n");
    const std::atomic<bool> interrupted{true};
    const Outcome stopped = detect({dir.path().string()}, false, &interrupted);
    EXPECT_EQ(stopped.status, kExitInterrupted);
    EXPECT_TRUE(stopped.out.empty());
}

TEST_F(DetectCommand, JsonAndCsvLinesInInputOrderWhateverTheThreadCount) {
    const t::TempDir empty;
    t::writeBytes(empty.file("readme.txt"), "no audio here\n");
    const std::string folder = empty.path().string();
    std::vector<std::string> args = {"--json", "-j", "1", loop, path("missing.mp3"), drums, folder};
    const Outcome one = detect(args);
    // -j reads like every other count: 0 and below mean one thread.
    for (const char* threads : {"3", "0", "-1"}) {
        args[2] = threads;
        EXPECT_EQ(detect(args).out, one.out) << threads;
    }
    EXPECT_EQ(one.status, kExitFailed);
    EXPECT_EQ(one.err, "");
    const auto printed = lines(one.out);
    ASSERT_EQ(printed.size(), 6u);
    EXPECT_TRUE(printed[0].starts_with("{\"file\":\"" + loop + "\",\"bpm\":120,\"beatOffset\":"))
        << printed[0];
    EXPECT_EQ(printed[1],
              "{\"file\":\"" + path("missing.mp3") + "\",\"error\":\"File not found\"}");
    EXPECT_EQ(printed[3], printed[0]); // the same loop again, found in the folder
    // A folder without audio files fails in its place among the results.
    EXPECT_EQ(printed[5], "{\"file\":\"" + folder + "\",\"error\":\"No audio files found\"}");
    // As CSV: a header, then a row per path, failures included.
    args[0] = "--csv";
    const auto rows = lines(detect(args).out);
    ASSERT_EQ(rows.size(), 7u);
    EXPECT_EQ(rows[0], "file,bpm,beatOffset,downbeat,confidence,snappedBars,alternatives,"
                       "duration,damaged,error");
    EXPECT_TRUE(rows[1].starts_with(loop + ",120,")) << rows[1];
    EXPECT_EQ(rows[2], path("missing.mp3") + ",,,,,,,,,File not found");
}

TEST_F(DetectCommand, AProgressLineOnATerminalOnlyThatIsGoneAtTheEnd) {
    std::filesystem::copy_file(loop, dir.file("drums/again.wav"));
    const Outcome shown = detect({"--json", drums}, true);
    EXPECT_EQ(shown.status, kExitFailed);
    EXPECT_EQ(shown.out, detect({"--json", drums}).out) << "the results stay as they are";
    EXPECT_TRUE(shown.err.starts_with("\r\033[K0 of 4 files")) << shown.err;
    EXPECT_TRUE(shown.err.ends_with("\r\033[K")) << "erased when done";
    // Three files finish before a progress line could be read.
    std::filesystem::remove(dir.file("drums/again.wav"));
    EXPECT_EQ(detect({"--json", drums}, true).err, "");
}

TEST_F(DetectCommand, WriteTagsTagsEachFileOnceAndForceReplaces) {
    const std::string slow = path("drums/Slow.FLAC");
    const Outcome first = detect({"--json", "--write-tags", loop, slow});
    EXPECT_EQ(first.status, kExitOk) << first.err;
    for (const std::string& line : lines(first.out))
        EXPECT_TRUE(line.ends_with(",\"damaged\":false,\"tags\":\"written\"}")) << line;
    EXPECT_EQ(tags::readTempoTags(loop).bpm, "120");
    EXPECT_EQ(tags::readTempoTags(slow).bpm, "95");
    const Outcome again = detect({"--write-tags", loop});
    EXPECT_EQ(again.status, kExitOk);
    EXPECT_TRUE(again.out.ends_with(" · 8.0 s · tags kept: the file says 120 BPM\n")) << again.out;
    // The tag follows the octave mode, as the printed tempo does.
    const Outcome forced = detect({"--write-tags", "--force", "--octave", "40-80", loop});
    EXPECT_EQ(forced.status, kExitOk);
    EXPECT_TRUE(forced.out.ends_with(" · tags written, replacing 120 BPM\n")) << forced.out;
    EXPECT_EQ(tags::readTempoTags(loop).bpm, "60");

    // A file that cannot be tagged fails with a line on stderr, unchanged.
    writeWav(dir.file("drums/loop.caf"), t::clickTrain({.bpm = 120, .seconds = 8, .rateHz = 44100}),
             SF_FORMAT_CAF);
    const std::string caf = path("drums/loop.caf");
    const std::string before = t::readBytes(caf);
    const Outcome result = detect({"--write-tags", drums});
    EXPECT_EQ(result.status, kExitFailed);
    const auto printed = lines(result.out);
    ASSERT_EQ(printed.size(), 3u) << result.out;
    EXPECT_TRUE(printed[1].starts_with(caf + ": 120 BPM · ")) << printed[1];
    EXPECT_TRUE(printed[1].ends_with(" · tags not written")) << printed[1];
    // The file that is no audio fails its analysis as ever, and gets no tag line.
    EXPECT_EQ(result.err, caf + ": could not write tags: " + text::failure::kUnsupportedContainer +
                              "\n" + path("drums/notes.wav") + ": Not an audio file\n");
    EXPECT_TRUE(t::readBytes(caf) == before);
}

TEST(DetectKey, AddsKeyCamelotConfidenceAlternativesAndTuning) {
    // A minor struck every half second, 25 cents sharp, beside a drum loop.
    const t::TempDir dir;
    key::testing::Chords chords = key::testing::aMinorCadence();
    chords.cents = 25.0;
    chords.rateHz = 44100.0;
    writeWav(dir.file("am.wav"), key::testing::chordSequence(chords));
    writeWav(dir.file("loop.wav"), t::clickTrain({.bpm = 120, .seconds = 8, .kickHz = 60}));
    const std::string am = dir.file("am.wav").string(), loop = dir.file("loop.wav").string();
    const Outcome json = detect({"--json", "--key", am, loop});
    ASSERT_EQ(json.status, kExitOk) << json.err;
    const auto rows = lines(json.out);
    ASSERT_EQ(rows.size(), 2u) << json.out;
    const auto keyed = readJson(rows[0]);
    ASSERT_TRUE(keyed) << rows[0];
    EXPECT_EQ((*keyed)["key"].toString(), "Am");
    EXPECT_EQ((*keyed)["camelot"].toString(), "8A");
    EXPECT_GT((*keyed)["keyConfidence"].toDouble(-1), 0.5);
    EXPECT_EQ((*keyed)["keyAlternatives"].toArray().size(), 3);
    for (const auto& other : (*keyed)["keyAlternatives"].toArray())
        EXPECT_TRUE(harmony::parseKeyName(other.toString().toStdString())) << "a name `key` reads";
    const double cents = (*keyed)["tuningCents"].toDouble();
    EXPECT_NEAR(cents, 25.0, 3.0);
    EXPECT_DOUBLE_EQ(cents * 10, std::round(cents * 10)) << "one decimal";
    EXPECT_NEAR((*keyed)["a4"].toDouble(), 446.4, 1.0);
    EXPECT_TRUE(keyed->contains("bpm")) << "the tempo's members stay";
    const auto drumsRow = readJson(rows[1]);
    ASSERT_TRUE(drumsRow) << rows[1];
    for (const char* member : {"key", "camelot", "tuningCents", "a4"})
        EXPECT_TRUE((*drumsRow)[member].isNull()) << member;
    EXPECT_EQ((*drumsRow)["keyConfidence"].toDouble(-1), 0.0);
    EXPECT_TRUE((*drumsRow)["keyAlternatives"].toArray().isEmpty());
    EXPECT_EQ(detect({"--json", am}).out.find("\"key\""), std::string::npos) << "only with --key";

    // Text: a second line per file, after the tempo's.
    const auto text = lines(detect({"--key", am, loop}).out);
    ASSERT_EQ(text.size(), 4u);
    EXPECT_TRUE(text[0].starts_with(am + ": ")) << text[0];
    EXPECT_TRUE(text[1].starts_with("  key Am (8A) · ")) << text[1];
    EXPECT_EQ(text[3], "  key none · no tonal content");
}

} // namespace
} // namespace quorlen::cli
