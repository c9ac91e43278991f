// What a change of the octave setting costs on a shown result: the file is
// analysed once, then re-estimated from what that analysis measured in each
// mode. reestimate_timing FILE [RUNS] prints, per mode, the median of RUNS
// re-estimates in milliseconds, beside the median of RUNS whole analyses
// (decoding included) that a change would cost without the kept evidence.
#include "detection/failure.h"
#include "detection/octave_mode.h"
#include "detection/tempo_detector.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

namespace {

using namespace quorlen::detection;

double medianMs(int runs, const std::function<void()>& step) {
    std::vector<double> ms;
    for (int run = 0; run < runs; ++run) {
        const auto start = std::chrono::steady_clock::now();
        step();
        ms.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count());
    }
    std::sort(ms.begin(), ms.end());
    return ms[ms.size() / 2];
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: reestimate_timing FILE [RUNS]\n");
        return 2;
    }
    const int runs = argc == 3 ? std::max(1, std::atoi(argv[2])) : 7;
    const char* path = argv[1];
    try {
        const Analysis shown = analyzeFile(path, {}, {}, OctaveMode::classic());
        const double analysisMs = medianMs(runs, [&] { (void)analyzeFile(path, {}, {}); });
        std::printf("%-10s %10s %10s\n", "mode", "median ms", "ratio");
        std::printf("%-10s %10.2f %10s\n", "analysis", analysisMs, "1");
        for (const OctaveMode& mode : {OctaveMode::automatic(), *OctaveMode::range(70, 140),
                                       *OctaveMode::range(40, 80), OctaveMode::classic()}) {
            const double ms = medianMs(runs, [&] { (void)reestimate(shown, mode); });
            std::printf("%-10s %10.2f %10.4f\n", octaveModeText(mode).c_str(), ms, ms / analysisMs);
        }
    } catch (const Failure& failure) {
        std::fprintf(stderr, "reestimate_timing: %s: %s\n", path, failure.what());
        return 1;
    }
    return 0;
}
