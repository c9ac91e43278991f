// Writes short seed files for the fuzzer into a folder, one per container
// and codec the reader meets most: make_fuzz_seeds DIR. Clicks at 8 kHz.
#include "test_encoder.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_fuzz_seeds DIR\n");
        return 2;
    }
    using quorlen::detection::testing::Encoding;
    struct Seed {
        const char* name;
        Encoding encoding;
        int rateHz;
    };
    const Seed seeds[] = {
        {"clicks.wav", {.encoder = "pcm_s16le"}, 8000},
        {"float.wav", {.encoder = "pcm_f32le"}, 8000},
        {"clicks.aiff", {.encoder = "pcm_s16be"}, 8000},
        {"clicks.caf", {.encoder = "pcm_s24le"}, 8000},
        {"clicks.flac", {.encoder = "flac"}, 8000},
        {"clicks.mp3", {.encoder = "libmp3lame", .bitRate = 32000}, 8000},
        {"clicks.ogg", {.encoder = "libvorbis"}, 8000},
        {"clicks.m4a", {.encoder = "aac", .bitRate = 32000}, 8000},
        {"alac.m4a", {.encoder = "alac"}, 8000},
        {"clicks.opus", {.encoder = "libopus", .bitRate = 16000}, 8000},
        {"clicks.wma", {.encoder = "wmav2", .bitRate = 32000}, 8000},
        {"film.mp4", {.encoder = "aac", .bitRate = 32000, .withVideo = true}, 8000},
    };
    int failures = 0;
    for (const Seed& seed : seeds) {
        std::vector<float> x(size_t(seed.rateHz * 13 / 10));
        for (size_t i = 0; i < x.size(); ++i)
            x[i] = (i % size_t(seed.rateHz / 2)) < 80 ? 0.8f * float(std::sin(double(i))) : 0.0f;
        const auto path = std::filesystem::path(argv[1]) / seed.name;
        if (!quorlen::detection::testing::encodeSound(path, x, 1, seed.rateHz, seed.encoding)) {
            std::fprintf(stderr, "make_fuzz_seeds: could not write %s\n", path.c_str());
            ++failures;
        }
    }
    return failures == 0 ? 0 : 1;
}
