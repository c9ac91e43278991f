#include "cli/detect_command.h"
#include "cli_run.h"
#include "harmony/key_selection.h"
#include "key_signals.h"
#include "support/json.h"
#include "support/lines.h"
#include "tags/tag_writer.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>

namespace quorlen::cli {
namespace {

namespace t = detection::testing;
using quorlen::testing::lines;
using t::TempDir;

Outcome detect(std::vector<std::string> args, const std::atomic<bool>* interrupted = nullptr) {
    const std::vector<std::string_view> views(args.begin(), args.end());
    std::ostringstream out, err;
    const int status = runDetect(views, out, err, {interrupted, false, 2});
    return {status, out.str(), err.str()};
}

// A sample library: two loops, a text file posing as audio, a non-audio file.
struct Library {
    TempDir dir;
    Library() {
        const auto loop = t::clickTrain({.bpm = 120, .seconds = 8, .rateHz = 44100});
        const auto slow = t::clickTrain({.bpm = 95, .seconds = 16 * 60 / 95.0, .rateHz = 48000});
        std::filesystem::create_directories(dir.file("drums"));
        EXPECT_TRUE(t::writeSound(dir.file("drums/loop.wav"), loop, 1, 44100,
                                  SF_FORMAT_WAV | SF_FORMAT_PCM_16));
        EXPECT_TRUE(t::writeSound(dir.file("drums/Slow.FLAC"), slow, 1, 48000,
                                  SF_FORMAT_FLAC | SF_FORMAT_PCM_16));
        t::writeBytes(dir.file("drums/notes.wav"), "not audio\n");
        t::writeBytes(dir.file("readme.txt"), "skipped: not an audio name\n");
    }
    std::string path(const std::string& name) const { return dir.file(name).string(); }
};

TEST(DetectCommand, AnOctaveModeChangesTheTempoAndIsNamedInTheJson) {
    const Library library;
    const std::string loop = library.path("drums/loop.wav"); // 16 beats in 8 s
    const auto run = [&](std::vector<std::string> options) {
        options.push_back(loop);
        const Outcome result = detect(options);
        EXPECT_EQ(result.status, kExitOk) << result.err;
        return result.out;
    };
    const std::string classic = run({"--json"});
    EXPECT_EQ(run({"--json", "--octave", "classic"}), classic) << "classic is the default";
    EXPECT_EQ(classic.find("\"octave\""), std::string::npos) << classic;
    EXPECT_NE(classic.find("\"bpm\":120,"), std::string::npos) << classic;

    // Folded into [40, 80): 60 BPM, and the 8 s still hold whole bars (2).
    const std::string folded = run({"--json", "--octave=40-80"});
    EXPECT_NE(folded.find("\"bpm\":60,"), std::string::npos) << folded;
    EXPECT_NE(folded.find("\"snappedBars\":2,"), std::string::npos) << folded;
    EXPECT_NE(folded.find(",\"octave\":\"40-80\",\"candidates\":[{\"bpm\":"), std::string::npos)
        << folded;
    // Outside classic, the candidates follow: tempos with probabilities,
    // most likely first, that sum to at most 1; the shown one's is the
    // confidence.
    const auto automatic = quorlen::testing::readJson(run({"--json", "--octave", "auto"}));
    ASSERT_TRUE(automatic);
    EXPECT_EQ((*automatic)["octave"].toString(), "auto");
    const QJsonArray candidates = (*automatic)["candidates"].toArray();
    ASSERT_FALSE(candidates.isEmpty());
    EXPECT_LE(candidates.size(), 4);
    double sum = 0.0;
    double previous = 1.0;
    bool shownListed = false;
    for (const auto& c : candidates) {
        const double p = c.toObject()["p"].toDouble();
        EXPECT_LE(p, previous);
        previous = p;
        sum += p;
        shownListed |= c.toObject()["bpm"].toDouble() == (*automatic)["bpm"].toDouble() &&
                       p == (*automatic)["confidence"].toDouble();
    }
    EXPECT_LE(sum, 1.0 + 1e-12);
    EXPECT_TRUE(shownListed);
    // The text line has no field for the mode; it shows the folded tempo.
    EXPECT_NE(run({"--octave", "150-300"}).find(": 240 BPM · "), std::string::npos);
}

TEST(DetectCommand, RangesBeyondThePickersBoundsAreRefused) {
    // A range must start at 30 to 200 BPM and end by 400: beyond, the fold
    // gives tempos no music has, or ones too large for the loop's bars.
    for (const char* range : {"100000000000-200000000000", "0.0000000001-1", "20-40", "210-420"}) {
        SCOPED_TRACE(range);
        const Outcome result = detect({"--octave", range, "x.wav"});
        EXPECT_EQ(result.status, kExitUsage);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(lines(result.err).front(),
                  "quorlen detect: '" + std::string(range) +
                      "' is not an octave mode (classic, auto, or LO-HI with LO from 30 to 200 "
                      "and HI from 2 x LO to 400)");
    }
}

TEST(DetectCommand, PrintsOneLinePerFileInSortedOrderAndFailsOnBadOnes) {
    const Library library;
    const Outcome result = detect({library.dir.path().string()});
    EXPECT_EQ(result.status, kExitFailed);
    const auto printed = lines(result.out);
    ASSERT_EQ(printed.size(), 2u) << result.out;
    // Sorted by path: "Slow.FLAC" < "loop.wav" < "notes.wav" (upper case first).
    EXPECT_EQ(printed[0].rfind(library.path("drums/Slow.FLAC") + ": 95 BPM · ", 0), 0u)
        << printed[0];
    EXPECT_NE(printed[0].find(" · 4 bars · "), std::string::npos);
    EXPECT_NE(printed[0].find(" · 10.1 s"), std::string::npos);
    EXPECT_EQ(printed[1].rfind(library.path("drums/loop.wav") + ": 120 BPM · ", 0), 0u)
        << printed[1];
    // The failure goes to stderr, so a pipe of results holds results only.
    EXPECT_EQ(result.err, library.path("drums/notes.wav") + ": Not an audio file\n");
}

TEST(DetectCommand, JsonLinesInInputOrderWhateverTheThreadCount) {
    const Library library;
    const std::vector<std::string> inputs = {library.path("drums/loop.wav"),
                                             library.path("missing.mp3"), library.path("drums")};
    std::vector<std::string> args = {"--json", "-j", "1"};
    args.insert(args.end(), inputs.begin(), inputs.end());
    const Outcome one = detect(args);
    // -j reads like every other count: 0 and below mean one thread.
    for (const char* threads : {"3", "0", "-1"}) {
        args[2] = threads;
        EXPECT_EQ(detect(args).out, one.out) << threads;
    }
    EXPECT_EQ(one.status, kExitFailed);
    const auto printed = lines(one.out);
    ASSERT_EQ(printed.size(), 5u);
    EXPECT_EQ(printed[0].rfind("{\"file\":\"" + inputs[0] + "\",\"bpm\":120,\"beatOffset\":", 0),
              0u)
        << printed[0];
    EXPECT_NE(printed[0].find(",\"snappedBars\":4,\"alternatives\":["), std::string::npos);
    EXPECT_NE(printed[0].find(",\"duration\":8,\"damaged\":false}"), std::string::npos);
    EXPECT_EQ(printed[1], "{\"file\":\"" + inputs[1] + "\",\"error\":\"File not found\"}");
    EXPECT_EQ(printed[3], printed[0]); // the same loop again, found in the folder
}

TEST(DetectCommand, AFolderWithoutAudioFilesFails) {
    const Library library;
    const TempDir empty;
    t::writeBytes(empty.file("readme.txt"), "no audio here\n");
    const std::string folder = empty.path().string();
    const Outcome alone = detect({folder});
    EXPECT_EQ(alone.status, kExitFailed);
    EXPECT_TRUE(alone.out.empty());
    EXPECT_EQ(alone.err, folder + ": No audio files found\n");

    // Beside a file that is analysed, in its place among the results.
    const Outcome json = detect({"--json", folder, library.path("drums/loop.wav")});
    EXPECT_EQ(json.status, kExitFailed);
    const auto printed = lines(json.out);
    ASSERT_EQ(printed.size(), 2u) << json.out;
    EXPECT_EQ(printed[0], "{\"file\":\"" + folder + "\",\"error\":\"No audio files found\"}");
    EXPECT_TRUE(printed[1].find("\"bpm\":120,") != std::string::npos) << printed[1];
    EXPECT_EQ(json.err, "");
}

TEST(DetectCommand, AProgressLineOnATerminalOnlyThatIsGoneAtTheEnd) {
    const Library library;
    std::filesystem::copy_file(library.dir.file("drums/loop.wav"),
                               library.dir.file("drums/again.wav"));
    const std::string drums = library.path("drums");
    const std::vector<std::string_view> args = {"--json", drums};
    std::ostringstream out, err;
    EXPECT_EQ(runDetect(args, out, err, {nullptr, true, 2}), kExitFailed);
    EXPECT_EQ(out.str(), detect({"--json", drums}).out) << "the results stay as they are";
    EXPECT_TRUE(err.str().starts_with("\r\033[K0 of 4 files")) << err.str();
    EXPECT_TRUE(err.str().ends_with("\r\033[K")) << "erased when done";

    // Three files finish before a progress line could be read.
    std::filesystem::remove(library.dir.file("drums/again.wav"));
    std::ostringstream fewOut, fewErr;
    runDetect(args, fewOut, fewErr, {nullptr, true, 2});
    EXPECT_EQ(fewErr.str(), "");
}

TEST(DetectCommand, CsvHasAHeaderAndARowPerPathFailuresIncluded) {
    const Library library;
    const Outcome csv = detect({"--csv", library.path("drums"), library.path("gone.wav")});
    EXPECT_EQ(csv.status, kExitFailed);
    const auto printed = lines(csv.out);
    ASSERT_EQ(printed.size(), 5u) << csv.out;
    EXPECT_EQ(printed[0], "file,bpm,beatOffset,downbeat,confidence,snappedBars,alternatives,"
                          "duration,damaged,error");
    EXPECT_TRUE(printed[2].starts_with(library.path("drums/loop.wav") + ",120,")) << printed[2];
    EXPECT_TRUE(printed[2].ends_with(",8,false,")) << printed[2];
    EXPECT_NE(printed[2].find(",4,"), std::string::npos) << "4 bars: " << printed[2];
    EXPECT_EQ(printed[3], library.path("drums/notes.wav") + ",,,,,,,,,Not an audio file");
    EXPECT_EQ(printed[4], library.path("gone.wav") + ",,,,,,,,,File not found");
    EXPECT_EQ(csv.err, "");

    const Outcome both = detect({"--csv", "--json", library.path("drums")});
    EXPECT_EQ(both.status, kExitUsage);
    EXPECT_EQ(lines(both.err).front(), "quorlen detect: --json and --csv do not go together");
}

TEST(DetectCommand, StopsOnUnwritableOutputOrAnInterrupt) {
    const Library library;
    std::ostringstream out, err;
    out.setstate(std::ios::badbit);
    const std::string drums = library.path("drums");
    const std::vector<std::string_view> args = {drums};
    EXPECT_EQ(runDetect(args, out, err, {nullptr, false, 2}), kExitFailed);

    const std::atomic<bool> interrupted{true};
    const Outcome result = detect({library.dir.path().string()}, &interrupted);
    EXPECT_EQ(result.status, kExitInterrupted);
    EXPECT_TRUE(result.out.empty());
}

TEST(DetectCommand, WriteTagsTagsEachFileOnceAndForceReplaces) {
    const Library library;
    const std::string loop = library.path("drums/loop.wav");
    const std::string slow = library.path("drums/Slow.FLAC");
    const Outcome first = detect({"--json", "--write-tags", loop, slow});
    EXPECT_EQ(first.status, kExitOk) << first.err;
    EXPECT_EQ(first.err, "");
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
}

TEST(DetectCommand, AFileThatCannotBeTaggedFailsWithALineOnStderr) {
    const Library library;
    const auto loop = t::clickTrain({.bpm = 120, .seconds = 8, .rateHz = 44100});
    ASSERT_TRUE(t::writeSound(library.dir.file("drums/loop.caf"), loop, 1, 44100,
                              SF_FORMAT_CAF | SF_FORMAT_PCM_16));
    const std::string caf = library.path("drums/loop.caf");
    const std::string before = t::readBytes(caf);
    const Outcome result = detect({"--write-tags", library.path("drums")});
    EXPECT_EQ(result.status, kExitFailed);
    const auto printed = lines(result.out);
    ASSERT_EQ(printed.size(), 3u) << result.out;
    EXPECT_TRUE(printed[1].starts_with(caf + ": 120 BPM · ")) << printed[1];
    EXPECT_TRUE(printed[1].ends_with(" · tags not written")) << printed[1];
    EXPECT_TRUE(printed[2].ends_with(" · tags written")) << printed[2];
    // The file that is no audio fails its analysis as ever, and gets no tag line.
    EXPECT_EQ(result.err, caf + ": could not write tags: " + tags::kUnsupportedReason + "\n" +
                              library.path("drums/notes.wav") + ": Not an audio file\n");
    EXPECT_TRUE(t::readBytes(caf) == before);
}

// A minor struck every half second, 25 cents sharp, beside a drum loop.
struct KeyedLibrary {
    TempDir dir;
    KeyedLibrary() {
        key::testing::Chords chords = key::testing::aMinorCadence();
        chords.cents = 25.0;
        chords.rateHz = 44100.0;
        EXPECT_TRUE(t::writeSound(dir.file("am.wav"), key::testing::chordSequence(chords), 1, 44100,
                                  SF_FORMAT_WAV | SF_FORMAT_PCM_16));
        const auto loop = t::clickTrain({.bpm = 120, .seconds = 8, .kickHz = 60});
        EXPECT_TRUE(
            t::writeSound(dir.file("loop.wav"), loop, 1, 44100, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    }
    std::string path(const std::string& name) const { return dir.file(name).string(); }
};

TEST(DetectCommand, KeyAddsKeyCamelotConfidenceAlternativesAndTuning) {
    const KeyedLibrary library;
    const Outcome json =
        detect({"--json", "--key", library.path("am.wav"), library.path("loop.wav")});
    ASSERT_EQ(json.status, kExitOk) << json.err;
    const auto rows = lines(json.out);
    ASSERT_EQ(rows.size(), 2u) << json.out;

    const auto keyed = quorlen::testing::readJson(rows[0]);
    ASSERT_TRUE(keyed) << rows[0];
    EXPECT_EQ(keyed->value("key").toString(), "Am");
    EXPECT_EQ(keyed->value("camelot").toString(), "8A");
    const double confidence = keyed->value("keyConfidence").toDouble(-1);
    EXPECT_GT(confidence, 0.5);
    EXPECT_LE(confidence, 1.0);
    const QJsonArray alternatives = keyed->value("keyAlternatives").toArray();
    EXPECT_EQ(alternatives.size(), 3);
    for (const auto& other : alternatives)
        EXPECT_TRUE(parseKeyName(other.toString().toStdString())) << "a name `key` reads";
    const double cents = keyed->value("tuningCents").toDouble();
    EXPECT_NEAR(cents, 25.0, 3.0);
    EXPECT_DOUBLE_EQ(cents * 10, std::round(cents * 10)) << "one decimal";
    EXPECT_DOUBLE_EQ(keyed->value("a4").toDouble(),
                     std::round(440.0 * std::exp2(cents / 1200.0) * 100.0) / 100.0);
    EXPECT_TRUE(keyed->contains("bpm")) << "the tempo's members stay";

    const auto drums = quorlen::testing::readJson(rows[1]);
    ASSERT_TRUE(drums) << rows[1];
    for (const char* member : {"key", "camelot", "tuningCents", "a4"})
        EXPECT_TRUE(drums->value(member).isNull()) << member;
    EXPECT_EQ(drums->value("keyConfidence").toDouble(-1), 0.0);
    EXPECT_TRUE(drums->value("keyAlternatives").toArray().isEmpty());

    // Text: a second line per file; the tempo's line is the one without --key.
    const Outcome text = detect({"--key", library.path("am.wav"), library.path("loop.wav")});
    const Outcome plain = detect({library.path("am.wav"), library.path("loop.wav")});
    const auto textRows = lines(text.out);
    const auto plainRows = lines(plain.out);
    ASSERT_EQ(textRows.size(), 4u) << text.out;
    ASSERT_EQ(plainRows.size(), 2u) << plain.out;
    EXPECT_EQ(textRows[0], plainRows[0]);
    EXPECT_TRUE(textRows[1].starts_with("  key Am (8A) · ")) << textRows[1];
    EXPECT_NE(textRows[1].find(" · tuning +2"), std::string::npos) << textRows[1];
    EXPECT_TRUE(textRows[1].ends_with(" Hz)")) << textRows[1];
    EXPECT_EQ(textRows[2], plainRows[1]);
    EXPECT_EQ(textRows[3], "  key none · no tonal content");
    EXPECT_EQ(lines(detect({"--json", library.path("am.wav")}).out)[0].find("\"key\""),
              std::string::npos)
        << "no key without --key";
}

} // namespace
} // namespace quorlen::cli
