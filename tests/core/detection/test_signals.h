#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace quorlen::detection::testing {

// A click: a 1 kHz burst decaying with a 2 ms time constant, 10 ms long.
struct ClickTrain {
    double bpm = 120.0;
    double seconds = 8.0;
    double rateHz = 44100.0;
    double firstClickSeconds = 0.0;
    int accentEvery = 0;     // every n-th click louder; 0 = none
    int accentFirst = 0;     // index of the first accented click
    float gain = 0.5f;       // peak of ordinary clicks
    float accentGain = 1.0f; // peak of accented clicks
    double kickHz = 0.0;     // accented clicks also get a low decaying tone (a kick); 0 = none
};

std::vector<float> clickTrain(const ClickTrain& train);

// A drum groove at 44.1 kHz: one bar of 16 sixteenth steps repeated, each
// step a string of the drums struck on it ("k" kick, "s" snare, "h" closed
// hi-hat; "-" or "" for none). The kick is a 150 -> 50 Hz sweep, the snare
// a 200 Hz tone with noise, the hat bright noise; the noise is seeded, so
// the signal is the same on every run.
struct Groove {
    double bpm = 120.0;
    double seconds = 10.0;
    std::vector<std::string> steps; // 16 per bar
    double firstBeatSeconds = 0.0;
    float hatGain = 0.5f;
};

std::vector<float> drumGroove(const Groove& groove);

std::vector<float> sine(double hz, double seconds, double rateHz, float gain = 0.5f);

// A 22050 Hz tone of `cyclesPerHop` cycles per 256 samples whose samples
// repeat exactly every 256 samples (no rounding drift).
std::vector<float> hopPeriodicTone(int cyclesPerHop, double seconds, float gain = 0.5f);

// Onset envelope stand-in: 1 at frames round(first + k * period), 0 elsewhere.
std::vector<double> pulseEnvelope(size_t frames, double periodFrames, double firstFrame = 0.0);

// A directory under the system temp dir, removed with everything in it.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::filesystem::path file(const std::string& name) const { return path_ / name; }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

// Writes interleaved `frames` of `channels` channels with libsndfile in
// `format` (SF_FORMAT_* major | subtype). Returns false if libsndfile refused.
bool writeSound(const std::filesystem::path& path, std::span<const float> interleaved, int channels,
                int rateHz, int format);

// The 44-byte header of a 16-bit PCM WAV file claiming `dataBytes` of
// samples, for files whose header lies about what follows.
std::string pcm16WavHeader(int channels, int rateHz, std::uint32_t dataBytes);

// Writes raw bytes (for damaged and non-audio files).
void writeBytes(const std::filesystem::path& path, const std::string& bytes);
std::string readBytes(const std::filesystem::path& path);

} // namespace quorlen::detection::testing
