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
    // (the doubles printed to 17 digits). E(2,5) = x..x. (i × 2 mod 5 < 2
    // at i = 0 and 3); rotation −1 moves each hit one step earlier, 0 → 4, 3 → 2.
    const Outcome result =
        run({"euclid", "2", "5", "--rotate", "-1", "--note", "8", "--bpm", "90", "--json"});
    EXPECT_EQ(result.status, kExitOk);
    EXPECT_EQ(result.out, "{\"pattern\":\"..x.x\",\"hits\":[2,4],"
                          "\"stepMs\":333.33333333333331,\"cycleMs\":1666.6666666666665}\n");
}

TEST(EuclidCommand, NoHitsIsValidOutput) {
    const Outcome text = run({"euclid", "0", "4", "--note", "4"});
    EXPECT_EQ(text.status, kExitOk);
    EXPECT_NE(text.out.find("hits:  none"), std::string::npos);
    EXPECT_EQ(run({"euclid", "0", "4", "--json"}).out,
              "{\"pattern\":\"....\",\"hits\":[],\"stepMs\":125,\"cycleMs\":500}\n");
}

TEST(EuclidCommand, BadArgumentsGiveOneLineAndStatus2) {
    const std::vector<std::vector<std::string_view>> refused = {
        {"euclid"},
        {"euclid", "3"},
        {"euclid", "3", "8", "9"},
        {"euclid", "9", "8"},       // more pulses than steps
        {"euclid", "-1", "8"},
        {"euclid", "3", "0"},
        {"euclid", "3", "x"},
        {"euclid", "3.5", "8"},
        {"euclid", "3", "8", "--note", "32"},
        {"euclid", "3", "8", "--note"},
        {"euclid", "3", "8", "--bpm", "0"},
        {"euclid", "3", "8", "--bpm", "inf"},
        {"euclid", "3", "8", "--bpm", "12x"},
        {"euclid", "3", "8", "--rotate", "1.5"},
        {"euclid", "3", "8", "--swing"},
    };
    for (const auto& args : refused) {
        const Outcome result = run(args);
        EXPECT_EQ(result.status, kExitUsage) << result.err;
        EXPECT_TRUE(result.out.empty());
        EXPECT_EQ(result.err.rfind("quorlen euclid: ", 0), 0u) << result.err;
        EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    }
}

} // namespace
} // namespace quorlen::cli
