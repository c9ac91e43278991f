#pragma once

#include <memory>
#include <stdexcept>
#include <string>

namespace quorlen::preview {

// A sound file opened for reading in chunks from any position, so a long
// file plays without being decoded whole. One thread at a time.
class SoundFileReader {
public:
    // Throws std::runtime_error with the decoder's message when the file
    // cannot be opened.
    explicit SoundFileReader(const std::string& path);
    ~SoundFileReader();
    SoundFileReader(const SoundFileReader&) = delete;
    SoundFileReader& operator=(const SoundFileReader&) = delete;

    double rateHz() const { return m_rateHz; }
    int channels() const { return m_channels; }
    long long frames() const { return m_frames; }

    // Throws std::runtime_error when the position cannot be reached.
    void seek(long long frame);
    // Reads up to `frames` interleaved frames; returns how many were read
    // (fewer at the end of the file). Throws std::runtime_error on a read error.
    long long read(float* interleaved, long long frames);

private:
    struct Handle;
    std::unique_ptr<Handle> m_handle;
    double m_rateHz = 0;
    int m_channels = 0;
    long long m_frames = 0;
};

} // namespace quorlen::preview
