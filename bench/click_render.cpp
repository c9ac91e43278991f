// A recording of the preview with its click, rendered offline through the
// preview's own player and stream (the frames a sound card would be
// handed): the file is analysed, played from FROM seconds with the click on
// the detected grid to an output at RATE Hz (44100 unless given), and
// SECONDS of the output are written to OUT.wav (stereo, 32-bit float, at
// RATE). For each click it prints where it starts and where the music's
// loudest sample within 30 ms of it lies.
// usage: quorlen-click-render AUDIO OUT.wav [FROM] [SECONDS] [RATE]
#include "audio/engine/audio_backend.h"
#include "detection/tempo_detector.h"
#include "detection/waveform_layout.h"
#include "tempo_detection/preview_stream.h"
#include "tempo_detection/tempo_preview_player.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>
#include <vector>

namespace {

using namespace quorlen;

// Pulls the source on demand, as an audio thread would, never ahead of the
// reader (an empty ring would stand for an underrun).
class OfflineOutput final : public AudioBackend {
public:
    explicit OfflineOutput(double rateHz) : m_rateHz(rateHz) {}
    // The preview follows any rate, so nothing is converted here.
    bool start(RenderSource& source) override {
        m_source = &source;
        source.renderRateFor(m_rateHz);
        return true;
    }
    void pause() override {}
    bool isRunning() const override { return m_source != nullptr; }
    std::vector<float> render(PreviewStream& stream, int frames) {
        std::vector<float> out;
        std::vector<float> block(2 * 256);
        for (int at = 0; at < frames; at += 256) {
            while (stream.buffered() < 2)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            m_source->render(block.data(), 256);
            out.insert(out.end(), block.begin(), block.end());
        }
        return out;
    }

private:
    double m_rateHz;
    RenderSource* m_source = nullptr;
};

std::vector<float> play(const QString& path, double from, int frames, double rateHz,
                        const detection::Estimate& grid, bool click) {
    auto owned = std::make_unique<OfflineOutput>(rateHz);
    OfflineOutput* output = owned.get();
    TempoPreviewPlayer player(std::move(owned));
    player.setClickGrid(grid.bpm, grid.beatOffsetSeconds, grid.downbeat);
    player.setClickOn(click);
    player.start(path, from, {}, [](std::optional<QString> error) {
        if (error) {
            std::fprintf(stderr, "%s\n", qPrintable(*error));
            std::exit(1);
        }
    });
    return output->render(player.stream(), frames);
}

void writeWav(const char* path, const std::vector<float>& stereo, uint32_t rateHz) {
    std::ofstream out(path, std::ios::binary);
    const auto u32 = [&](uint32_t v) { out.write(reinterpret_cast<const char*>(&v), 4); };
    const auto u16 = [&](uint16_t v) { out.write(reinterpret_cast<const char*>(&v), 2); };
    const auto bytes = static_cast<uint32_t>(stereo.size() * sizeof(float));
    out.write("RIFF", 4);
    u32(36 + bytes);
    out.write("WAVEfmt ", 8);
    u32(16);
    u16(3); // IEEE float
    u16(2);
    u32(rateHz);
    u32(rateHz * 8);
    u16(8);
    u16(32);
    out.write("data", 4);
    u32(bytes);
    out.write(reinterpret_cast<const char*>(stereo.data()), bytes);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: quorlen-click-render AUDIO OUT.wav [FROM] [SECONDS] [RATE]\n");
        return 2;
    }
    const double from = argc > 3 ? std::atof(argv[3]) : 10.0;
    const double seconds = argc > 4 ? std::atof(argv[4]) : 8.0;
    const double rate = argc > 5 ? std::atof(argv[5]) : RenderSource::kRateHz;
    if (!(rate >= 8000 && rate <= 192000)) {
        std::fprintf(stderr, "RATE must lie between 8000 and 192000 Hz\n");
        return 2;
    }
    const detection::Analysis analysis = detection::analyzeFile(argv[1], [] { return false; }, {});
    const detection::Estimate& grid = analysis.estimate;
    std::printf("grid: %.2f BPM, beat 0 at %.4f s, downbeat %d; played from %.2f s\n", grid.bpm,
                grid.beatOffsetSeconds, grid.downbeat, from);
    const int frames = static_cast<int>(seconds * rate);
    const std::vector<float> mixed =
        play(QString::fromLocal8Bit(argv[1]), from, frames, rate, grid, true);
    const std::vector<float> music =
        play(QString::fromLocal8Bit(argv[1]), from, frames, rate, grid, false);
    writeWav(argv[2], mixed, static_cast<uint32_t>(rate));

    // Clicks: where the mix first differs from the music after a quiet gap.
    const int delay = static_cast<int>(std::lround(0.12 * rate));
    int lastClick = -100000;
    std::printf("%10s %10s %12s %8s\n", "click (s)", "grid (s)", "music peak", "bar");
    for (int i = 0; i < frames; ++i) {
        const auto at = static_cast<size_t>(2 * i);
        if (std::abs(mixed[at] - music[at]) < 1e-6f || i - lastClick < 4000)
            continue;
        // The click sound starts at 0: its onset is the frame before.
        const int click = i - 1;
        lastClick = click;
        const double fileSeconds = from + double(click - delay) / rate;
        int peak = click;
        const auto window = static_cast<int>(std::lround(0.03 * rate));
        for (int j = std::max(0, click - window); j < std::min(frames, click + window); ++j)
            if (std::abs(music[2 * size_t(j)]) > std::abs(music[2 * size_t(peak)]))
                peak = j;
        const auto k = std::llround((fileSeconds - grid.beatOffsetSeconds) * grid.bpm / 60);
        const double beat = grid.beatOffsetSeconds + double(k) * 60 / grid.bpm;
        const bool accent = detection::isBarBeat(k, grid.downbeat);
        std::printf("%10.4f %10.4f %+9.1f ms %8s\n", fileSeconds, beat,
                    double(peak - click) / rate * 1000, accent ? "yes" : "");
    }
    return 0;
}
