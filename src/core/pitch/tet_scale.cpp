#include "pitch/tet_scale.h"

#include "pitch/note_names.h"

#include <cmath>

namespace quorlen::pitch {

std::vector<TetStep> tetScale(double reference, int divisions, double a4) {
    std::vector<TetStep> steps;
    steps.reserve(static_cast<size_t>(divisions) + 1);
    for (int k = 0; k <= divisions; ++k) {
        const double ratio = std::pow(2.0, static_cast<double>(k) / divisions);
        const double frequency = reference * ratio;
        NearestNote nearest = nearestNote(frequency, a4);
        steps.push_back(
            {k, frequency, ratio, k * 1200.0 / divisions, std::move(nearest.name), nearest.cents});
    }
    return steps;
}

} // namespace quorlen::pitch
