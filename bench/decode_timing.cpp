// The floor under any analysis of a file: reading and decoding it, nothing
// else (no mixing, no storing). decode_timing FILE [RUNS] prints the median
// of RUNS reads in seconds.
#include "decoding/audio_file_reader.h"
#include "decoding/read_error.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: decode_timing FILE [RUNS]\n");
        return 2;
    }
    const int runs = argc == 3 ? std::max(1, std::atoi(argv[2])) : 5;
    std::vector<double> seconds;
    try {
        for (int run = 0; run < runs; ++run) {
            const auto start = std::chrono::steady_clock::now();
            quorlen::decoding::AudioFileReader reader(argv[1]);
            constexpr long long kFrames = 65536;
            std::vector<float> chunk(kFrames * static_cast<size_t>(reader.channels()));
            while (reader.read(chunk.data(), kFrames) > 0) {
            }
            seconds.push_back(
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
    } catch (const quorlen::decoding::ReadError& error) {
        std::fprintf(stderr, "decode_timing: %s: %s\n", argv[1], error.what());
        return 1;
    }
    std::sort(seconds.begin(), seconds.end());
    std::printf("%.4f\n", seconds[seconds.size() / 2]);
    return 0;
}
