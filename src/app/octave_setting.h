#pragma once

#include "detection/octave_mode.h"

#include <QObject>

namespace quorlen {

// The app's "Tempo detection" choice: read from the store when made and
// stored the moment it changes. The window's detection session estimates
// with it, and the settings pane changes it. Main thread only;
// `modeChanged` follows every change of the mode.
class OctaveSetting : public QObject {
    Q_OBJECT
public:
    explicit OctaveSetting(QObject* parent = nullptr);

    const detection::OctaveMode& mode() const { return m_mode; }
    void setMode(const detection::OctaveMode& mode);

signals:
    void modeChanged();

private:
    detection::OctaveMode m_mode;
};

} // namespace quorlen
