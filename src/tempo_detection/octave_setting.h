#pragma once

#include "detection/octave_mode.h"

#include <QObject>

namespace quorlen {

// The app's "Tempo detection" choice, shared by the settings pane (which
// stores it) and every detection panel (which analyses with it). Main
// thread only; `modeChanged` follows every change of the mode.
class OctaveSetting : public QObject {
    Q_OBJECT
public:
    static OctaveSetting& instance();

    const detection::OctaveMode& mode() const { return m_mode; }
    void setMode(const detection::OctaveMode& mode);

signals:
    void modeChanged();

private:
    OctaveSetting() = default;

    detection::OctaveMode m_mode;
};

} // namespace quorlen
