#pragma once

#include "ui/theme.h"

#include <QSize>
#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

namespace quorlen {

// What the app's own command-line options ask for.
struct LaunchOptions {
    // --screenshot FILE.png: render the window offscreen, save it and exit.
    std::optional<QString> screenshotPath;
    std::optional<QString> tool;       // --tool ID
    std::optional<ColorScheme> scheme; // --scheme light|dark
    std::optional<QSize> size;         // --size WxH
    // --detect AUDIO: the tempo tool analyses AUDIO and the screenshot
    // waits for the outcome, success or failure.
    std::optional<QString> detectPath;
    // FILE: open on the tempo tool and analyse FILE, as if dropped there.
    std::optional<QString> openPath;
    // --startup-probe: print the time to the first frame and the idle RSS.
    bool startupProbe = false;
    bool help = false;
};

struct LaunchError {
    QString reason;
};

// `arguments` excludes the program name.
std::variant<LaunchOptions, LaunchError> parseLaunchOptions(const QStringList& arguments);

QString launchUsage();

} // namespace quorlen
