#include "app/launch_options.h"

#include "app/calculator_tool.h"

#include <QRegularExpression>

namespace quorlen {
namespace {

// Past this a render takes many seconds and hundreds of MB for a picture
// nobody asked to be that big (8192 x 8192 x 4 bytes is 256 MB).
constexpr int kMaxScreenshotSide = 8192;

} // namespace

QString launchUsage() {
    return QStringLiteral(
        "usage: quorlen-calculator [AUDIO]\n"
        "       quorlen-calculator --screenshot FILE.png [--tool ID] [--scheme light|dark]\n"
        "                          [--size WxH] [--detect AUDIO]\n"
        "  AUDIO                  open on the tempo tool and analyse this audio file\n"
        "  --screenshot FILE.png  render the window offscreen to FILE.png and exit\n"
        "  --tool ID              bpm, rhythm, space, frequency, temperament, overtones,\n"
        "                         harmony (default: the stored selection)\n"
        "  --scheme light|dark    colour scheme of the screenshot (default: as the app)\n"
        "  --size WxH             window size (default 960x720, at least 900x680,\n"
        "                         at most 8192x8192)\n"
        "  --detect AUDIO         analyse AUDIO in the tempo tool before rendering\n");
}

std::variant<LaunchOptions, LaunchError> parseLaunchOptions(const QStringList& arguments) {
    LaunchOptions options;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const auto value = [&]() -> std::optional<QString> {
            if (i + 1 >= arguments.size())
                return std::nullopt;
            return arguments[++i];
        };
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            options.help = true;
        } else if (argument == QLatin1String("--startup-probe")) {
            options.startupProbe = true;
        } else if (argument == QLatin1String("--screenshot")) {
            options.screenshotPath = value();
            if (!options.screenshotPath || options.screenshotPath->isEmpty())
                return LaunchError{QStringLiteral("--screenshot needs a file name")};
            if (!options.screenshotPath->endsWith(QLatin1String(".png"), Qt::CaseInsensitive))
                return LaunchError{QStringLiteral("--screenshot writes PNG: the file name must "
                                                  "end in .png")};
        } else if (argument == QLatin1String("--tool")) {
            options.tool = value();
            if (!options.tool || !toolFromRawValue(*options.tool))
                return LaunchError{QStringLiteral("--tool needs one of bpm, rhythm, space, "
                                                  "frequency, temperament, overtones, harmony")};
        } else if (argument == QLatin1String("--scheme")) {
            const auto scheme = value();
            if (scheme == QLatin1String("light"))
                options.scheme = ColorScheme::Light;
            else if (scheme == QLatin1String("dark"))
                options.scheme = ColorScheme::Dark;
            else
                return LaunchError{QStringLiteral("--scheme needs light or dark")};
        } else if (argument == QLatin1String("--size")) {
            static const QRegularExpression pattern(QStringLiteral("^(\\d{1,5})x(\\d{1,5})$"));
            const auto match = pattern.match(value().value_or(QString()));
            if (!match.hasMatch())
                return LaunchError{QStringLiteral("--size needs WIDTHxHEIGHT, such as 960x720")};
            options.size = QSize(match.captured(1).toInt(), match.captured(2).toInt());
            if (options.size->width() > kMaxScreenshotSide ||
                options.size->height() > kMaxScreenshotSide)
                return LaunchError{
                    QStringLiteral("--size goes up to %1x%1").arg(kMaxScreenshotSide)};
        } else if (argument == QLatin1String("--detect")) {
            options.detectPath = value();
            if (!options.detectPath || options.detectPath->isEmpty())
                return LaunchError{QStringLiteral("--detect needs an audio file")};
        } else if (!argument.startsWith(QLatin1Char('-')) && !options.openPath) {
            options.openPath = argument;
        } else if (!argument.startsWith(QLatin1Char('-'))) {
            return LaunchError{QStringLiteral("one audio file at a time")};
        } else {
            return LaunchError{QStringLiteral("unknown option '%1'").arg(argument)};
        }
    }
    const bool screenshotOnly =
        options.tool || options.scheme || options.size || options.detectPath;
    if (options.openPath && options.screenshotPath)
        return LaunchError{QStringLiteral("to render a detection, use --detect AUDIO")};
    if (screenshotOnly && !options.screenshotPath)
        return LaunchError{
            QStringLiteral("--tool, --scheme, --size and --detect go with --screenshot")};
    if (options.detectPath) {
        // The detection panel lives in the tempo tool.
        if (options.tool && *options.tool != QLatin1String("bpm"))
            return LaunchError{QStringLiteral("--detect goes with --tool bpm")};
        options.tool = QStringLiteral("bpm");
    }
    return options;
}

} // namespace quorlen
