#include "tempo_detection/octave_setting.h"

namespace quorlen {

OctaveSetting& OctaveSetting::instance() {
    static OctaveSetting setting;
    return setting;
}

void OctaveSetting::setMode(const detection::OctaveMode& mode) {
    if (mode == m_mode)
        return;
    m_mode = mode;
    emit modeChanged();
}

} // namespace quorlen
