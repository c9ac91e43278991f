#include "preview/sound_file_reader.h"

#include <sndfile.h>

namespace quorlen::preview {

struct SoundFileReader::Handle {
    SNDFILE* file = nullptr;
    ~Handle() {
        if (file)
            sf_close(file);
    }
};

SoundFileReader::SoundFileReader(const std::string& path) : m_handle(std::make_unique<Handle>()) {
    SF_INFO info{};
    m_handle->file = sf_open(path.c_str(), SFM_READ, &info);
    if (!m_handle->file)
        throw std::runtime_error(sf_strerror(nullptr));
    if (info.channels < 1 || info.samplerate < 1)
        throw std::runtime_error("The file has no playable audio");
    // Float reads come back in -1 ... 1 whatever the stored format.
    sf_command(m_handle->file, SFC_SET_NORM_FLOAT, nullptr, SF_TRUE);
    m_rateHz = info.samplerate;
    m_channels = info.channels;
    m_frames = info.frames;
}

SoundFileReader::~SoundFileReader() = default;

void SoundFileReader::seek(long long frame) {
    if (sf_seek(m_handle->file, frame, SEEK_SET) < 0)
        throw std::runtime_error(sf_strerror(m_handle->file));
}

long long SoundFileReader::read(float* interleaved, long long frames) {
    const sf_count_t read = sf_readf_float(m_handle->file, interleaved, frames);
    if (read < frames && sf_error(m_handle->file) != SF_ERR_NO_ERROR)
        throw std::runtime_error(sf_strerror(m_handle->file));
    return read;
}

} // namespace quorlen::preview
