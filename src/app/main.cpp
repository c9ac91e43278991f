#include "app/appearance.h"
#include "app/content_view.h"
#include "app/launch_options.h"
#include "app/main_window.h"
#include "app/preferences.h"
#include "app/startup_probe.h"
#include "config/settings_store.h"
#include "quorlen/version.h"
#include "tempo_detection/tempo_detect_panel.h"
#include "tools/tempo/tempo_view.h"
#include "ui/fonts.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QIcon>
#include <QImage>
#include <QImageWriter>
#include <QLoggingCategory>
#include <QTextStream>

#include <clocale>
#include <cstdio>
#include <cstring>
#include <exception>
#include <optional>

namespace {

using namespace quorlen;

int saveScreenshot(MainWindow& window, const LaunchOptions& options) {
    window.resize(options.size.value_or(MainWindow::kDefaultSize));
    if (options.tool)
        window.content()->selectTool(*toolFromRawValue(*options.tool));
    window.show();
    QApplication::processEvents();
    if (options.detectPath) {
        auto* tempo = qobject_cast<TempoView*>(window.content()->toolView());
        if (!tempo)
            return 1;
        tempo->analyse(*options.detectPath);
        TempoDetectModel& model = tempo->detectPanel()->model();
        // Even a long file is analysed in seconds; the deadline only guards
        // against waiting forever.
        QDeadlineTimer deadline(std::chrono::minutes(5));
        while (model.isAnalysing() && !deadline.hasExpired())
            QApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        QApplication::processEvents();
    }
    const QImage image = window.grab().toImage();
    if (image.isNull()) {
        std::fprintf(stderr, "quorlen-calculator: not enough memory for a %dx%d screenshot\n",
                     window.width(), window.height());
        return 1;
    }
    QImageWriter writer(*options.screenshotPath, "png");
    if (!writer.write(image)) {
        std::fprintf(stderr, "quorlen-calculator: cannot write %s: %s\n",
                     qPrintable(*options.screenshotPath), qPrintable(writer.errorString()));
        return 1;
    }
    return 0;
}

bool wantsScreenshot(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--screenshot") == 0)
            return true;
    }
    return false;
}

// Refusals and --help must work without a display, so they are decided
// before Qt starts; arguments of Qt's own (single dash: -platform, -style)
// are left for QApplication to take first.
std::optional<int> answerWithoutGui(int argc, char** argv) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        const QString argument = QString::fromLocal8Bit(argv[i]);
        if (argument.size() > 1 && argument[0] == QLatin1Char('-') &&
            argument[1] != QLatin1Char('-'))
            return std::nullopt;
        arguments << argument;
    }
    const auto parsed = parseLaunchOptions(arguments);
    if (const auto* error = std::get_if<LaunchError>(&parsed)) {
        std::fprintf(stderr, "quorlen-calculator: %s\n%s", qPrintable(error->reason),
                     qPrintable(launchUsage()));
        return 2;
    }
    if (std::get<LaunchOptions>(parsed).help) {
        std::fputs(qPrintable(launchUsage()), stdout);
        return 0;
    }
    return std::nullopt;
}

int run(int argc, char** argv) {
    const long long mainStartNs = monotonicNowNs();
    if (const auto status = answerWithoutGui(argc, argv))
        return *status;
    // A screenshot needs no display; without one Qt would abort.
    if (wantsScreenshot(argc, argv)) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        // The offscreen platform warns about window features it lacks; a
        // screenshot needs none of them, and its own failures are reported.
        QLoggingCategory::setFilterRules(QStringLiteral("*.warning=false"));
    }

    QApplication app(argc, argv);
    // QApplication adopts the user's locale for every C library call; numbers
    // printed or read through it would then use the locale's decimal comma.
    std::setlocale(LC_NUMERIC, "C");
    QApplication::setOrganizationName(QString::fromLatin1(config::kSettingsOrganization));
    QApplication::setApplicationName(QString::fromLatin1(config::kSettingsApplication));
    QApplication::setApplicationVersion(QString::fromLatin1(kVersion));
    // Ties the windows to the installed desktop entry and its icon.
    QGuiApplication::setDesktopFileName(QStringLiteral("app.quorlen.Calculator"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/app/app.quorlen.Calculator.svg")));
    QApplication::setFont(uiFont(13));

    const auto parsed = parseLaunchOptions(QApplication::arguments().mid(1));
    if (const auto* error = std::get_if<LaunchError>(&parsed)) {
        std::fprintf(stderr, "quorlen-calculator: %s\n%s", qPrintable(error->reason),
                     qPrintable(launchUsage()));
        return 2;
    }
    const LaunchOptions& options = std::get<LaunchOptions>(parsed);
    if (options.help) {
        std::fputs(qPrintable(launchUsage()), stdout);
        return 0;
    }

    Preferences::avoidUnusableStore();
    AppearanceController appearance;
    if (options.scheme)
        appearance.forceScheme(*options.scheme);

    const bool screenshot = options.screenshotPath.has_value();
    MainWindow window(appearance, !screenshot);
    if (screenshot)
        return saveScreenshot(window, options);

    if (options.startupProbe)
        installStartupProbe(&window, mainStartNs);
    window.show();
    if (options.openPath) {
        window.content()->showTool(CalculatorTool::bpm);
        if (auto* tempo = qobject_cast<TempoView*>(window.content()->toolView()))
            tempo->analyse(*options.openPath);
    }
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv) {
    // Nothing is meant to reach here (a file the app cannot read is shown in
    // its panel); what does, memory running out above all, ends the app with
    // a line that says so rather than with std::terminate's abort.
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quorlen-calculator: %s\n", error.what());
    } catch (...) {
        std::fprintf(stderr, "quorlen-calculator: an unexpected error ended the app\n");
    }
    return 1;
}
