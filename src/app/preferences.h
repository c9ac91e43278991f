#pragma once

#include "detection/octave_mode.h"

#include <QSettings>
#include <QString>

namespace quorlen {

enum class AppearanceChoice { system, light, dark };

// Everything the app keeps between launches, in the one QSettings store
// that config/settings_store.h names. The main window's restored state sits
// in the "MainWindow" group, since Linux desktops restore no window state.
class Preferences {
public:
    Preferences();

    // When the store's path holds something that is no regular file (a FIFO
    // blocks the first read forever, a folder cannot be read as one, a
    // symbolic link in a loop leads to no file at all), points
    // every QSettings user store of the process at a private temporary
    // folder and says so on stderr: the app runs, nothing is kept. Call once,
    // after the application object is named and before any store is read.
    static void avoidUnusableStore();

    bool statsOptOut() const;
    void setStatsOptOut(bool optOut);

    // The raw value of the selected tool; "bpm" when none was stored.
    QString selectedCalculatorTool() const;
    void setSelectedCalculatorTool(const QString& rawValue);

    // The key selected on the harmony tool's circle of fifths: a position
    // 0…11 (a stored value outside that range is wrapped into it) and
    // whether the inner, minor ring holds the selection.
    int fifthsSelectedIndex() const;
    void setFifthsSelectedIndex(int index);
    bool fifthsMinorSelected() const;
    void setFifthsMinorSelected(bool minor);

    AppearanceChoice appearance() const;
    void setAppearance(AppearanceChoice choice);

    // How tempo detection chooses the octave: classic unless another mode
    // was stored (a stored text that names no mode reads as classic).
    detection::OctaveMode tempoOctave() const;
    void setTempoOctave(const detection::OctaveMode& mode);

private:
    mutable QSettings m_settings;
};

} // namespace quorlen
