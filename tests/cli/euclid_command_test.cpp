#include "cli_run.h"

#include <gtest/gtest.h>

namespace quorlen::cli {
namespace {

TEST(EuclidCommand, TextAndJsonOfAPattern) {
    // 120 BPM in sixteenths: 125 ms a step, 8 steps = 1000 ms.
    // 90 BPM in eighths: 60000 / 90 × 4 / 8 = 333.333… ms, 5 steps 1666.66… ms
    // (the shortest text that reads back as each double). E(2,5) = x..x.;
    // rotation −1 moves each hit one step earlier, 0 → 4, 3 → 2.
    const std::pair<const char*, const char*> cases[] = {
        {"euclid 3 8",
         "E(3,8)  x..x..x.\nhits:  0 3 6\nstep:  125.0 ms  (1/16 at 120 BPM)\ncycle: 1000.0 ms\n"},
        {"euclid 2 5 --rotate -1 --note 8 --bpm 90 --json",
         "{\"pattern\":\"..x.x\",\"hits\":[2,4],\"stepMs\":333.3333333333333,"
         "\"cycleMs\":1666.6666666666665}\n"},
        {"euclid 0 4 --json",
         "{\"pattern\":\"....\",\"hits\":[],\"stepMs\":125,\"cycleMs\":500}\n"},
        {"euclid 0 4 --note 4",
         "E(0,4)  ....\nhits:  none\nstep:  500.0 ms  (1/4 at 120 BPM)\ncycle: 2000.0 ms\n"},
    };
    for (const auto& [line, expected] : cases) {
        const Outcome result = typed(line);
        EXPECT_EQ(result.status, kExitOk) << line;
        EXPECT_EQ(result.out, expected);
        EXPECT_TRUE(result.err.empty());
    }
}

TEST(EuclidCommand, NumbersAreReadAndClampedLikeTheAppsFields) {
    // Steps 1 to 1024, pulses 0 to the steps, tempo 1 to 999 as typed; the
    // step length itself keeps to 20 to 400 BPM, and the text names the
    // tempo it used: at 20 BPM a sixteenth is 60000 / 20 / 4 = 750 ms.
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"9 8", "E(8,8)  xxxxxxxx", "125.0 ms  (1/16 at 120 BPM)"},
        {"-1 8", "E(0,8)  ........", "125.0 ms  (1/16 at 120 BPM)"},
        {"3 0", "E(1,1)  x", "125.0 ms  (1/16 at 120 BPM)"},
        {"3 8 --bpm 98,5", "E(3,8)  x..x..x.", "152.3 ms  (1/16 at 98.5 BPM)"},
        {"3 8 --bpm 0", "E(3,8)  x..x..x.", "750.0 ms  (1/16 at 20 BPM)"},
        {"3 8 --bpm 3.5", "E(3,8)  x..x..x.", "750.0 ms  (1/16 at 20 BPM)"},
        {"3 8 --bpm=1e308", "E(3,8)  x..x..x.", "37.5 ms  (1/16 at 400 BPM)"},
        {"3 8 --bpm 1e-400", "E(3,8)  x..x..x.", "750.0 ms  (1/16 at 20 BPM)"},
        {"2 5 --rotate -6 --note 8", "E(2,5)  ..x.x", "250.0 ms  (1/8 at 120 BPM)"},
    };
    for (const auto& [args, pattern, step] : cases) {
        SCOPED_TRACE(args);
        const Outcome result = typed(std::string("euclid ") + args);
        ASSERT_EQ(result.status, kExitOk) << result.err;
        EXPECT_TRUE(result.out.starts_with(std::string(pattern) + "\n")) << result.out;
        EXPECT_NE(result.out.find("step:  " + std::string(step) + "\n"), std::string::npos);
    }
}

} // namespace
} // namespace quorlen::cli
