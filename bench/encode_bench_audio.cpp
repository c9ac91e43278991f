// Compresses a benchmark track with one of FFmpeg's encoders, so the
// benchmarks compare the same music across formats:
// encode_bench_audio IN OUT ENCODER KBITS   (e.g. track.wav track.m4a aac 192)
#include "decoding/audio_file_reader.h"
#include "decoding/read_error.h"
#include "test_encoder.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: encode_bench_audio IN OUT ENCODER KBITS\n");
        return 2;
    }
    try {
        quorlen::decoding::AudioFileReader reader(argv[1]);
        std::vector<float> all;
        std::vector<float> chunk(65536 * static_cast<size_t>(reader.channels()));
        for (long long n; (n = reader.read(chunk.data(), 65536)) > 0;)
            all.insert(all.end(), chunk.begin(), chunk.begin() + n * reader.channels());
        const quorlen::detection::testing::Encoding encoding{argv[3], 1000L * std::atol(argv[4])};
        if (!quorlen::detection::testing::encodeSound(
                argv[2], all, reader.channels(), static_cast<int>(reader.rateHz()), encoding)) {
            std::fprintf(stderr, "encode_bench_audio: could not encode %s\n", argv[2]);
            return 1;
        }
    } catch (const quorlen::decoding::ReadError& error) {
        std::fprintf(stderr, "encode_bench_audio: %s: %s\n", argv[1], error.what());
        return 1;
    }
    return 0;
}
