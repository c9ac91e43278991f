#include "app/octave_setting.h"

#include "app/preferences.h"

namespace quorlen {

OctaveSetting::OctaveSetting(QObject* parent)
    : QObject(parent), m_mode(Preferences().tempoOctave()) {}

void OctaveSetting::setMode(const detection::OctaveMode& mode) {
    if (mode == m_mode)
        return;
    m_mode = mode;
    Preferences().setTempoOctave(mode);
    emit modeChanged();
}

} // namespace quorlen
