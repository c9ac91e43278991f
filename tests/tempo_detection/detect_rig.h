#pragma once

#include "audio/fake_audio_backend.h"
#include "support/wait.h"
#include "tempo_detection/preview_stream.h"
#include "tempo_detection/tempo_detect_model.h"
#include "tempo_detection/tempo_preview_player.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <memory>

namespace quorlen::testing {

namespace generated = detection::testing;

// An analysis made by hand: `bpm` with beats from 0 s in a 30 s file.
inline detection::Analysis analysisAt(double bpm, double confidence = 0.8) {
    detection::Analysis analysis;
    analysis.estimate.bpm = bpm;
    analysis.estimate.confidence = confidence;
    analysis.estimate.durationSeconds = 30;
    analysis.waveform = std::make_shared<const std::vector<float>>(1600, 0.5f);
    return analysis;
}

// A detection model over a fake output, with an analyser the test decides
// and, when asked, a clock the test sets (else the player's own).
struct DetectRig {
    explicit DetectRig(TempoDetectModel::Analyser analyser, bool ownClock = false) {
        auto output = std::make_unique<FakeAudioBackend>();
        backend = output.get();
        TempoPreviewPlayer::Clock clock;
        if (ownClock)
            clock = [this] { return nowSeconds; };
        model = std::make_unique<TempoDetectModel>(
            std::make_unique<TempoPreviewPlayer>(std::move(output), clock), std::move(analyser));
    }
    // An analyser that gives `answer()` for any file in any mode.
    static TempoDetectModel::Analyser answering(std::function<detection::Analysis()> answer) {
        return [answer](const std::string&, const detection::CancelCheck&,
                        const detection::OctaveMode&) { return answer(); };
    }
    bool analyse(const QString& path = QStringLiteral("/music/take.wav")) {
        model->analyse(path);
        return waitUntil([this] { return !model->isAnalysing(); });
    }
    bool analyse(const std::string& path) { return analyse(QString::fromStdString(path)); }
    // Writes float WAV samples into the rig's directory.
    std::string write(const char* name, const std::vector<float>& samples, int channels = 1,
                      int rateHz = 44100) {
        const std::string path = dir.file(name).string();
        EXPECT_TRUE(generated::writeSound(path, samples, channels, rateHz,
                                          SF_FORMAT_WAV | SF_FORMAT_FLOAT));
        return path;
    }
    TempoPreviewPlayer& player() { return model->player(); }
    // Pulls `frames` frames as the audio thread would, once the reader has
    // buffered enough of them (silence would otherwise stand for an underrun).
    std::vector<float> pull(int frames, uint64_t bufferedBlocks) {
        EXPECT_TRUE(waitUntil([&] { return player().stream().buffered() >= bufferedBlocks; }));
        return backend->pull(frames);
    }
    // The left channel of `frames` frames, in blocks the reader keeps ahead of.
    std::vector<float> pullLeft(int frames) {
        std::vector<float> left;
        for (int at = 0; at < frames; at += 1024) {
            const auto block = pull(1024, 2);
            for (size_t i = 0; i < block.size(); i += 2)
                left.push_back(block[i]);
        }
        return left;
    }

    generated::TempDir dir;
    double nowSeconds = 100;
    FakeAudioBackend* backend = nullptr;
    std::unique_ptr<TempoDetectModel> model;
};

} // namespace quorlen::testing
