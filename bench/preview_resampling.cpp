// What converting a file's rate costs the preview on an output that does
// not run at 44.1 kHz: a 0.5 tone in a file at FILE Hz heard at 48 kHz,
// converted straight to the output's rate (as the preview does) or through
// 44.1 kHz first (as for a source that renders at the engine's rate). For
// each it prints the tone's level change and what the conversion added
// (images), in dB re the tone; then the audio thread's time per second of
// output, converting from 44.1 kHz or handing frames through (medians of 15).
// usage: quorlen-preview-resampling
#include "audio/engine/rate_adapter.h"
#include "preview/preview_frames.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <utility>
#include <vector>

namespace {

using namespace quorlen;

constexpr double kOutputHz = 48000;

// Plays a stereo buffer as an engine source would.
class BufferSource final : public RenderSource {
public:
    explicit BufferSource(std::vector<float> frames) : m_frames(std::move(frames)) {}
    void render(float* out, int frameCount) noexcept override {
        for (int i = 0; i < 2 * frameCount; ++i)
            out[i] = m_at < m_frames.size() ? m_frames[m_at++] : 0.0f;
    }

private:
    std::vector<float> m_frames;
    size_t m_at = 0;
};

std::vector<float> tone(double hz, double rateHz, double seconds) {
    std::vector<float> frames;
    for (int i = 0; i < static_cast<int>(rateHz * seconds); ++i) {
        const auto value =
            static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * hz * i / rateHz));
        frames.insert(frames.end(), {value, value});
    }
    return frames;
}

std::vector<float> resample(const std::vector<float>& frames, double fromHz, double toHz) {
    preview::LinearResampler resampler(fromHz, toHz);
    std::vector<float> out;
    resampler.push(frames.data(), frames.size() / 2, out);
    return out;
}

// One second of the output, pulled in 256-frame blocks; `nanoseconds`
// receives the time the pulls took.
std::vector<float> pull(std::vector<float> frames, double sourceHz, double* nanoseconds = nullptr) {
    BufferSource source(std::move(frames));
    RateAdapter adapter;
    adapter.reset(sourceHz, kOutputHz);
    std::vector<float> out(2 * static_cast<size_t>(kOutputHz));
    const auto start = std::chrono::steady_clock::now();
    for (size_t at = 0; at + 256 <= out.size() / 2; at += 256)
        adapter.render(source, out.data() + 2 * at, 256);
    if (nanoseconds)
        *nanoseconds =
            std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start)
                .count();
    return out;
}

// Fits a sine and a cosine of the tone to the left channel of frames 1000
// to 0.9 s: {level change, power of the rest}, both in dB.
std::pair<double, double> measure(const std::vector<float>& out, double hz) {
    double ss = 0, cc = 0, sc = 0, ys = 0, yc = 0;
    const auto end = static_cast<size_t>(kOutputHz * 0.9);
    const auto phase = [&](size_t i) { return 2 * std::numbers::pi * hz * double(i) / kOutputHz; };
    for (size_t i = 1000; i < end; ++i) {
        const double s = std::sin(phase(i)), c = std::cos(phase(i)), y = out[2 * i];
        ss += s * s, cc += c * c, sc += s * c, ys += y * s, yc += y * c;
    }
    const double det = ss * cc - sc * sc;
    const double a = (ys * cc - yc * sc) / det, b = (yc * ss - ys * sc) / det;
    double rest = 0, fitted = 0;
    for (size_t i = 1000; i < end; ++i) {
        const double fit = a * std::sin(phase(i)) + b * std::cos(phase(i));
        rest += (out[2 * i] - fit) * (out[2 * i] - fit);
        fitted += fit * fit;
    }
    return {20 * std::log10(std::hypot(a, b) / 0.5), 10 * std::log10(rest / fitted + 1e-30)};
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main() {
    std::printf("%8s %8s %24s %24s\n", "file Hz", "tone Hz", "straight: level, images",
                "via 44.1 kHz: level, images");
    for (const double fileHz : {48000.0, 96000.0, 32000.0, 44100.0, 22050.0}) {
        for (const double hz : {1000.0, 5000.0, 10000.0}) {
            const std::vector<float> file = tone(hz, fileHz, 1.1);
            const auto [level, images] =
                measure(pull(resample(file, fileHz, kOutputHz), kOutputHz), hz);
            const auto [viaLevel, viaImages] = measure(
                pull(resample(file, fileHz, RenderSource::kRateHz), RenderSource::kRateHz), hz);
            std::printf("%8.0f %8.0f %11.2f %12.1f %11.2f %12.1f\n", fileHz, hz, level, images,
                        viaLevel, viaImages);
        }
    }
    std::vector<double> converting, handing;
    for (int repeat = 0; repeat < 15; ++repeat) {
        double ns = 0;
        pull(tone(1000, RenderSource::kRateHz, 1.1), RenderSource::kRateHz, &ns);
        converting.push_back(ns / 1000);
        pull(tone(1000, kOutputHz, 1.1), kOutputHz, &ns);
        handing.push_back(ns / 1000);
    }
    std::printf("audio thread per second at 48 kHz: converting %.0f us, handing through %.0f us "
                "(ratio %.1f)\n",
                median(converting), median(handing), median(converting) / median(handing));
    return 0;
}
