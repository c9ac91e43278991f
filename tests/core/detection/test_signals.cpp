#include "test_signals.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numbers>
#include <random>
#include <sstream>

namespace quorlen::detection::testing {

// A tone of `hz` decaying with time constant `tau`, added from `start`.
static void addDecay(std::vector<float>& out, size_t start, size_t length, double rateHz, double hz,
                     double tau, float gain) {
    for (size_t k = 0; k < length && start + k < out.size(); ++k) {
        const double s = double(k) / rateHz;
        out[start + k] += gain * static_cast<float>(std::sin(2.0 * std::numbers::pi * hz * s) *
                                                    std::exp(-s / tau));
    }
}

std::vector<float> clickTrain(const ClickTrain& train) {
    std::vector<float> out(static_cast<size_t>(std::llround(train.seconds * train.rateHz)), 0.0f);
    const double period = 60.0 / train.bpm;
    int index = 0;
    for (double t = train.firstClickSeconds; t < train.seconds;
         t = train.firstClickSeconds + period * ++index) {
        const bool accent = train.accentEvery > 0 && index >= train.accentFirst &&
                            (index - train.accentFirst) % train.accentEvery == 0;
        const float gain = accent ? train.accentGain : train.gain;
        const auto start = static_cast<size_t>(std::llround(t * train.rateHz));
        addDecay(out, start, size_t(0.01 * train.rateHz), train.rateHz, 1000.0, 0.002, gain);
        if (accent && train.kickHz > 0.0)
            addDecay(out, start, size_t(0.15 * train.rateHz), train.rateHz, train.kickHz, 0.04,
                     gain);
    }
    return out;
}

namespace {

void addDrum(std::vector<float>& out, size_t start, char drum, float hatGain, std::mt19937& noise) {
    constexpr double kRate = 44100.0;
    std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
    const double seconds = drum == 'k' ? 0.3 : drum == 's' ? 0.2 : 0.05;
    float previous = 0.0f;
    double phase = 0.0;
    for (size_t k = 0; k < size_t(seconds * kRate) && start + k < out.size(); ++k) {
        const double t = double(k) / kRate;
        double value = 0.0;
        if (drum == 'k') {
            phase += 2.0 * std::numbers::pi * (50.0 + 100.0 * std::exp(-t / 0.02)) / kRate;
            value = 0.9 * std::sin(phase) * std::exp(-t / 0.08);
        } else if (drum == 's') {
            value = (0.4 * std::sin(2.0 * std::numbers::pi * 200.0 * t) + 0.5 * uniform(noise)) *
                    std::exp(-t / 0.05);
        } else if (drum == 'h') {
            // The difference of white noise leaves only the top of the spectrum.
            const float white = uniform(noise);
            value = hatGain * (white - previous) * std::exp(-t / 0.012);
            previous = white;
        }
        out[start + k] += static_cast<float>(value);
    }
}

} // namespace

std::vector<float> drumGroove(const Groove& groove) {
    constexpr double kRate = 44100.0;
    std::vector<float> out(static_cast<size_t>(std::llround(groove.seconds * kRate)), 0.0f);
    std::mt19937 noise(7);
    const double stepSeconds = 60.0 / groove.bpm / 4.0;
    const size_t steps = groove.steps.size();
    for (size_t i = 0; steps > 0; ++i) {
        const double t = groove.firstBeatSeconds + double(i) * stepSeconds;
        if (t >= groove.seconds)
            break;
        for (const char drum : groove.steps[i % steps])
            addDrum(out, static_cast<size_t>(std::llround(t * kRate)), drum, groove.hatGain, noise);
    }
    return out;
}

std::vector<float> sine(double hz, double seconds, double rateHz, float gain) {
    std::vector<float> out(static_cast<size_t>(std::llround(seconds * rateHz)));
    for (size_t i = 0; i < out.size(); ++i)
        out[i] =
            gain * static_cast<float>(std::sin(2.0 * std::numbers::pi * hz * double(i) / rateHz));
    return out;
}

std::vector<float> hopPeriodicTone(int cyclesPerHop, double seconds, float gain) {
    std::vector<float> out(static_cast<size_t>(std::llround(seconds * 22050.0)));
    for (size_t i = 0; i < out.size(); ++i)
        out[i] = gain * static_cast<float>(std::sin(2.0 * std::numbers::pi * cyclesPerHop *
                                                    double(i % 256) / 256.0));
    return out;
}

std::vector<double> pulseEnvelope(size_t frames, double periodFrames, double firstFrame) {
    std::vector<double> out(frames, 0.0);
    for (double t = firstFrame; t < double(frames); t += periodFrames) {
        const auto k = static_cast<size_t>(std::llround(t));
        if (k < frames)
            out[k] = 1.0;
    }
    return out;
}

TempDir::TempDir() {
    std::random_device seed;
    std::ostringstream name;
    name << "quorlen-test-" << std::hex << seed() << seed();
    path_ = std::filesystem::temp_directory_path() / name.str();
    std::filesystem::create_directories(path_);
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

bool writeSound(const std::filesystem::path& path, std::span<const float> interleaved, int channels,
                int rateHz, int format) {
    SF_INFO info{};
    info.channels = channels;
    info.samplerate = rateHz;
    info.format = format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (!file)
        return false;
    // Float data beyond +-1 must reach integer files clipped, not wrapped.
    sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    const auto frames = static_cast<sf_count_t>(interleaved.size() / size_t(channels));
    const bool complete = sf_writef_float(file, interleaved.data(), frames) == frames;
    return sf_close(file) == 0 && complete;
}

std::string pcm16WavHeader(int channels, int rateHz, std::uint32_t dataBytes) {
    std::string h;
    const auto put = [&h](std::uint64_t v, int bytes) {
        for (int i = 0; i < bytes; ++i)
            h += static_cast<char>((v >> (8 * i)) & 0xff);
    };
    const auto frameBytes = static_cast<std::uint32_t>(channels * 2);
    h += "RIFF";
    put(std::min<std::uint64_t>(36ull + dataBytes, 0xffffffffu), 4);
    h += "WAVEfmt ";
    put(16, 4);
    put(1, 2); // PCM
    put(static_cast<std::uint32_t>(channels), 2);
    put(static_cast<std::uint32_t>(rateHz), 4);
    put(static_cast<std::uint32_t>(rateHz) * frameBytes, 4);
    put(frameBytes, 2);
    put(16, 2);
    h += "data";
    put(dataBytes, 4);
    return h;
}

void writeBytes(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string readBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace quorlen::detection::testing
