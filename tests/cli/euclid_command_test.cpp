#include "cli_run.h"

#include <gtest/gtest.h>

namespace quorlen::cli {
namespace {

TEST(EuclidCommand, PrintsPatternHitsStepAndCycle) {
    // 120 BPM in sixteenths: 125 ms a step, 8 steps = 1000 ms.
    const Outcome result = run({"euclid", "3", "8"});
    EXPECT_EQ(result.status, kExitOk);
    EXPECT_EQ(result.out, "E(3,8)  x..x..x.\n"
                          "hits:  0 3 6\n"
                          "step:  125.0 ms  (1/16 at 120 BPM)\n"
                          "cycle: 1000.0 ms\n");
    EXPECT_TRUE(result.err.empty());
}

TEST(EuclidCommand, JsonKeepsFullPrecision) {
    // 90 BPM in eighths: 60000 / 90 × 4 / 8 = 333.333… ms, 5 steps 1666.66… ms
    // (the shortest text that reads back as each double). E(2,5) = x..x. (i × 2 mod 5 < 2
    // at i = 0 and 3); rotation −1 moves each hit one step earlier, 0 → 4, 3 → 2.
    const Outcome result =
        run({"euclid", "2", "5", "--rotate", "-1", "--note", "8", "--bpm", "90", "--json"});
    EXPECT_EQ(result.status, kExitOk);
    EXPECT_EQ(result.out, "{\"pattern\":\"..x.x\",\"hits\":[2,4],"
                          "\"stepMs\":333.3333333333333,\"cycleMs\":1666.6666666666665}\n");
}

TEST(EuclidCommand, NoHitsIsValidOutput) {
    const Outcome text = run({"euclid", "0", "4", "--note", "4"});
    EXPECT_EQ(text.status, kExitOk);
    EXPECT_NE(text.out.find("hits:  none"), std::string::npos);
    EXPECT_EQ(run({"euclid", "0", "4", "--json"}).out,
              "{\"pattern\":\"....\",\"hits\":[],\"stepMs\":125,\"cycleMs\":500}\n");
}

TEST(EuclidCommand, NumbersAreReadAndClampedLikeTheAppsFields) {
    // Steps 1 to 1024, pulses 0 to the steps, tempo 1 to 999 as typed; the
    // step length itself keeps to 20 to 400 BPM, and the text names the
    // tempo it used: at 20 BPM a sixteenth is 60000 / 20 / 4 = 750 ms.
    struct Case {
        std::vector<std::string_view> args;
        const char* firstLine;
        const char* stepLine;
    };
    const Case cases[] = {
        {{"9", "8"}, "E(8,8)  xxxxxxxx", "step:  125.0 ms  (1/16 at 120 BPM)"},
        {{"-1", "8"}, "E(0,8)  ........", "step:  125.0 ms  (1/16 at 120 BPM)"},
        {{"3", "0"}, "E(1,1)  x", "step:  125.0 ms  (1/16 at 120 BPM)"},
        {{"3", "8", "--bpm", "98,5"}, "E(3,8)  x..x..x.", "step:  152.3 ms  (1/16 at 98.5 BPM)"},
        {{"3", "8", "--bpm", "0"}, "E(3,8)  x..x..x.", "step:  750.0 ms  (1/16 at 20 BPM)"},
        {{"3", "8", "--bpm", "3.5"}, "E(3,8)  x..x..x.", "step:  750.0 ms  (1/16 at 20 BPM)"},
        {{"3", "8", "--bpm=1e308"}, "E(3,8)  x..x..x.", "step:  37.5 ms  (1/16 at 400 BPM)"},
        {{"3", "8", "--bpm", "1e-400"}, "E(3,8)  x..x..x.", "step:  750.0 ms  (1/16 at 20 BPM)"},
        {{"2", "5", "--rotate", "-6", "--note", "8"},
         "E(2,5)  ..x.x",
         "step:  250.0 ms  (1/8 at 120 BPM)"},
    };
    for (const Case& c : cases) {
        std::vector<std::string_view> args{"euclid"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        SCOPED_TRACE(std::string(c.firstLine));
        const Outcome result = run(args);
        ASSERT_EQ(result.status, kExitOk) << result.err;
        EXPECT_EQ(result.out.substr(0, result.out.find('\n')), c.firstLine);
        EXPECT_NE(result.out.find(std::string(c.stepLine) + "\n"), std::string::npos) << result.out;
    }
}

} // namespace
} // namespace quorlen::cli
