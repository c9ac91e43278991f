// Writes a synthetic drum-and-bass track for the detection benchmarks:
// make_bench_audio OUT.wav SECONDS BPM. 44.1 kHz, stereo, 16-bit. Kick on
// beats 1 and 3, snare on 2 and 4, hats on eighths, a bass line and a pad,
// so every stage of the analysis sees music-like material.
#include <sndfile.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <random>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr double kTwoPi = 2.0 * std::numbers::pi;

void addKick(std::vector<float>& mono, size_t start) {
    for (size_t k = 0; k < size_t(0.25 * kRate) && start + k < mono.size(); ++k) {
        const double t = double(k) / kRate;
        const double sweepHz = 50.0 + 90.0 * std::exp(-t / 0.03);
        mono[start + k] += 0.8f * float(std::sin(kTwoPi * sweepHz * t) * std::exp(-t / 0.08));
    }
}

void addNoise(std::vector<float>& mono, size_t start, double seconds, double decay, float gain,
              std::mt19937& random, bool bright) {
    std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
    float previous = 0.0f;
    for (size_t k = 0; k < size_t(seconds * kRate) && start + k < mono.size(); ++k) {
        const float white = uniform(random);
        const float sample = bright ? white - previous : white; // first difference: brighter
        previous = white;
        mono[start + k] += gain * sample * float(std::exp(-double(k) / kRate / decay));
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: make_bench_audio OUT.wav SECONDS BPM\n");
        return 2;
    }
    const double seconds = std::atof(argv[2]);
    const double bpm = std::atof(argv[3]);
    const size_t frames = size_t(seconds * kRate);
    std::vector<float> mono(frames, 0.0f);
    std::mt19937 random(7);
    const double beat = 60.0 / bpm;
    for (int b = 0; b * beat < seconds; ++b) {
        const auto start = size_t(b * beat * kRate);
        if (b % 2 == 0)
            addKick(mono, start);
        else
            addNoise(mono, start, 0.2, 0.05, 0.5f, random, false);
        addNoise(mono, start, 0.05, 0.01, 0.2f, random, true);
        addNoise(mono, start + size_t(beat * 0.5 * kRate), 0.05, 0.01, 0.12f, random, true);
    }
    const double roots[] = {55.0, 55.0, 43.65, 49.0};
    for (size_t i = 0; i < frames; ++i) {
        const double t = double(i) / kRate;
        const double root = roots[size_t(t / (4 * beat)) % 4];
        const double inBeat = std::fmod(t, beat) / beat;
        mono[i] += 0.25f * float(std::sin(kTwoPi * root * t) * (1.0 - 0.6 * inBeat));
        mono[i] += 0.05f * float(std::sin(kTwoPi * root * 4 * t) + std::sin(kTwoPi * root * 5 * t) +
                                 std::sin(kTwoPi * root * 6 * t));
    }
    std::vector<float> stereo(2 * frames);
    for (size_t i = 0; i < frames; ++i) {
        stereo[2 * i] = 0.6f * mono[i];
        stereo[2 * i + 1] = 0.6f * mono[i] * 0.9f;
    }
    SF_INFO info{};
    info.samplerate = kRate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* file = sf_open(argv[1], SFM_WRITE, &info);
    if (!file) {
        std::fprintf(stderr, "%s\n", sf_strerror(nullptr));
        return 1;
    }
    sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    sf_writef_float(file, stereo.data(), sf_count_t(frames));
    sf_close(file);
    return 0;
}
