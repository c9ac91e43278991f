#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string_view>

namespace quorlen::cli {

// One click: the synthesiser's tick at a pitch and gain.
struct Click {
    double frequencyHz;
    float gain;
};

// The rhythm tool's two clicks, and the metronome's.
inline constexpr Click kHitClick{1760, 0.55f};
inline constexpr Click kRestClick{1175, 0.16f};
inline constexpr Click kAccentClick{1760, 0.55f};
inline constexpr Click kBeatClick{1175, 0.4f};

struct ClickTrack {
    double stepSeconds;
    // Steps to play; none: until interrupted.
    std::optional<std::int64_t> steps;
    // What step i sounds; none: nothing.
    std::function<std::optional<Click>(std::int64_t step)> clickOf;
};

// Plays `track` through the default output, each click on its frame of the
// audio clock, and returns once the last one has sounded (kExitOk), at once
// when `interrupted` is raised (kExitInterrupted), or with one line on
// `err` naming `command` when there is no output, it goes away or its clock
// stands still (kExitFailed).
int playClickTrack(const ClickTrack& track, const std::atomic<bool>& interrupted,
                   std::string_view command, std::ostream& err);

} // namespace quorlen::cli
