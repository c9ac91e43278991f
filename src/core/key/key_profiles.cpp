#include "key/key_profiles.h"

#include <cmath>
#include <numeric>

namespace quorlen::key {

const KeyProfile kKrumhanslKessler = {
    {6.35, 2.23, 3.48, 2.33, 4.38, 4.09, 2.52, 5.19, 2.39, 3.66, 2.29, 2.88},
    {6.33, 2.68, 3.52, 5.38, 2.60, 3.53, 2.54, 4.75, 3.98, 2.69, 3.34, 3.17},
};

const KeyProfile kTemperley = {
    {5.0, 2.0, 3.5, 2.0, 4.5, 4.0, 2.0, 4.5, 2.0, 3.5, 1.5, 4.0},
    {5.0, 2.0, 3.5, 4.5, 2.0, 4.0, 2.0, 4.5, 3.5, 2.0, 1.5, 4.0},
};

const KeyProfile kAardenEssen = {
    {17.7661, 0.145624, 14.9265, 0.160186, 19.8049, 11.3587, 0.291248, 22.062, 0.145624, 8.15494,
     0.232998, 4.95122},
    {18.2648, 0.737619, 14.0499, 16.8599, 0.702494, 14.4362, 0.702494, 18.6161, 4.56621, 1.93186,
     7.37619, 1.75623},
};

PitchClasses withHarmonics(const PitchClasses& profile) {
    // Pitch class of harmonic h above its fundamental, h = 1 ... 8.
    static constexpr int kHarmonicOffset[] = {0, 0, 7, 0, 4, 7, 10, 0};
    PitchClasses spread{};
    double amplitude = 1.0;
    for (const int offset : kHarmonicOffset) {
        for (int p = 0; p < 12; ++p)
            spread[static_cast<size_t>((p + offset) % 12)] +=
                amplitude * profile[static_cast<size_t>(p)];
        amplitude *= 0.6;
    }
    return spread;
}

PitchClasses rotatedTo(const PitchClasses& tonicFirst, int tonic) {
    PitchClasses turned{};
    for (int p = 0; p < 12; ++p)
        turned[static_cast<size_t>(((p + tonic) % 12 + 12) % 12)] =
            tonicFirst[static_cast<size_t>(p)];
    return turned;
}

double correlation(const PitchClasses& a, const PitchClasses& b) {
    const double meanA = std::accumulate(a.begin(), a.end(), 0.0) / 12.0;
    const double meanB = std::accumulate(b.begin(), b.end(), 0.0) / 12.0;
    double ab = 0.0, aa = 0.0, bb = 0.0;
    for (size_t i = 0; i < 12; ++i) {
        ab += (a[i] - meanA) * (b[i] - meanB);
        aa += (a[i] - meanA) * (a[i] - meanA);
        bb += (b[i] - meanB) * (b[i] - meanB);
    }
    return aa > 0.0 && bb > 0.0 ? ab / std::sqrt(aa * bb) : 0.0;
}

} // namespace quorlen::key
