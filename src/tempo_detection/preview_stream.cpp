#include "tempo_detection/preview_stream.h"

#include "detection/waveform_layout.h"
#include "preview/preview_frames.h"
#include "synth/tone_buffers.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>
#include <utility>

namespace quorlen {
namespace {

// The tempo tool's metronome sounds, the plain beat a little softer than
// under the tool's own click so that the music stays in front.
constexpr double kAccentHz = 1760;
constexpr float kAccentGain = 0.5f;
constexpr double kBeatHz = 1175;
constexpr float kBeatGain = 0.3f;

// 2.916666 ms: 128.6 frames at 44.1 kHz, rounded to whole frames.
int framesPerFadeStep(double rateHz) {
    return static_cast<int>(std::lround(preview::kFadeOutStepSeconds * rateHz));
}

} // namespace

PreviewStream::PreviewStream()
    : m_framesPerFadeStep(framesPerFadeStep(kRateHz)),
      m_accentClick(synth::makeTickBuffer(kAccentHz, kAccentGain, kRateHz)),
      m_beatClick(synth::makeTickBuffer(kBeatHz, kBeatGain, kRateHz)) {}

void PreviewStream::begin(uint64_t generation, double delaySeconds) {
    m_delaySeconds.store(delaySeconds, std::memory_order_relaxed);
    m_generation.store(generation, std::memory_order_release);
}

double PreviewStream::renderRateFor(double outputRateHz) noexcept {
    if (outputRateHz != m_renderRateHz) {
        try {
            std::vector<float> accent = synth::makeTickBuffer(kAccentHz, kAccentGain, outputRateHz);
            std::vector<float> beat = synth::makeTickBuffer(kBeatHz, kBeatGain, outputRateHz);
            m_accentClick = std::move(accent);
            m_beatClick = std::move(beat);
            m_renderRateHz = outputRateHz;
            m_framesPerFadeStep = framesPerFadeStep(outputRateHz);
            m_click = nullptr; // it pointed into the sounds replaced
        } catch (const std::bad_alloc&) {
            // Without memory for the clicks at the output's rate, the preview
            // stays at the rate they were made for; the output converts it.
        }
    }
    m_rateHz.store(m_renderRateHz, std::memory_order_release);
    return m_renderRateHz;
}

void PreviewStream::fadeOut() { m_fadeRequests.fetch_add(1, std::memory_order_release); }

bool PreviewStream::nextBlock(uint64_t generation) noexcept {
    while (m_ring.pop(m_current)) {
        if (m_current.generation == generation && m_current.frameCount > 0) {
            m_position = 0;
            return true;
        }
    }
    m_current.frameCount = 0;
    return false;
}

void PreviewStream::stepFade() noexcept {
    ++m_fadeStep;
    m_volume = preview::fadeOutVolume(m_fadeFrom, m_fadeStep);
    m_framesToStep = m_framesPerFadeStep;
}

void PreviewStream::takeClickGrids() noexcept {
    ClickGrid grid;
    bool taken = false;
    while (m_clickGrids.pop(grid)) {
        m_grid = grid;
        taken = true;
    }
    if (taken)
        aimNextClick(m_filePosition);
}

void PreviewStream::aimNextClick(int64_t from) noexcept {
    m_nextClick = -1;
    const double firstBeatFrame = m_grid.firstBeatSeconds * m_renderRateHz;
    const double periodFrames = m_grid.periodSeconds * m_renderRateHz;
    if (m_grid.generation != m_playing || !m_grid.on || !(periodFrames > 0))
        return;
    auto beat = static_cast<int64_t>(
        std::ceil((static_cast<double>(from) - firstBeatFrame) / periodFrames));
    int64_t due = 0;
    // Rounding may put the beat found just before the position.
    for (;; ++beat) {
        due = std::llround(firstBeatFrame + static_cast<double>(beat) * periodFrames);
        if (due >= from)
            break;
    }
    m_nextClick = due;
    m_nextAccented = detection::isBarBeat(beat, m_grid.downbeat);
}

void PreviewStream::clickIfDue() noexcept {
    if (m_filePosition != m_nextClick)
        return;
    m_click = m_nextAccented ? &m_accentClick : &m_beatClick;
    m_clickPosition = 0;
    aimNextClick(m_filePosition + 1);
}

void PreviewStream::render(float* out, int frameCount) noexcept {
    const uint64_t generation = m_generation.load(std::memory_order_acquire);
    if (generation != m_playing) {
        m_playing = generation;
        // What the last playback left in the ring goes now, not after the
        // start delay: the reader fills the room during the delay, and a
        // caller counting buffered blocks counts only blocks that will play.
        nextBlock(generation);
        m_delayLeft = static_cast<int>(
            std::lround(m_delaySeconds.load(std::memory_order_relaxed) * m_renderRateHz));
        m_volume = 1.0f;
        m_fadeStep = 0;
        m_fadesSeen = m_fadeRequests.load(std::memory_order_acquire);
        m_framesPlayed.store(0, std::memory_order_relaxed);
        m_filePosition = 0;
        m_click = nullptr;
        aimNextClick(0);
    }
    takeClickGrids();
    const uint32_t fades = m_fadeRequests.load(std::memory_order_acquire);
    if (fades != m_fadesSeen) {
        m_fadesSeen = fades;
        m_fadeFrom = m_volume;
        m_fadeStep = 0;
        stepFade();
    }

    uint64_t played = 0;
    for (int i = 0; i < frameCount; ++i) {
        float left = 0.0f;
        float right = 0.0f;
        if (m_delayLeft > 0) {
            --m_delayLeft;
        } else if (m_playing != 0 && (m_position < m_current.frameCount || nextBlock(m_playing))) {
            left = m_current.frames[2 * static_cast<size_t>(m_position)];
            right = m_current.frames[2 * static_cast<size_t>(m_position) + 1];
            ++m_position;
            ++played;
            clickIfDue();
            ++m_filePosition;
        }
        if (m_click) {
            const float click = (*m_click)[m_clickPosition];
            left += click;
            right += click;
            if (++m_clickPosition == m_click->size())
                m_click = nullptr;
        }
        left *= m_volume;
        right *= m_volume;
        out[2 * static_cast<ptrdiff_t>(i)] = left;
        out[2 * static_cast<ptrdiff_t>(i) + 1] = right;
        if (m_fadeStep > 0 && m_fadeStep < preview::kFadeOutSteps && --m_framesToStep == 0)
            stepFade();
    }
    m_volumeNow.store(m_volume, std::memory_order_relaxed);
    m_framesPlayed.fetch_add(played, std::memory_order_relaxed);
}

} // namespace quorlen
