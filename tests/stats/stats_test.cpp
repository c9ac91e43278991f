#include "app/appearance.h"
#include "app/content_view.h"
#include "app/main_window.h"
#include "app/preferences.h"
#include "app/sidebar.h"
#include "app/sidebar_tool_row.h"
#include "stats/loopback_server.h"
#include "stats/stats.h"
#include "support/wait.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

using testing::LoopbackServer;
using testing::ReceivedRequest;
using testing::waitUntil;

TEST(Stats, EndpointOverrideAcceptsHttpsAndLoopbackHttpOnly) {
    EXPECT_EQ(Stats::endpointFrom({}), Stats::defaultEndpoint());
    for (const char* accepted :
         {"https://stats.example.org/api/send", "http://127.0.0.1:8080/x",
          "http://localhost:9/api/send", "http://[::1]:80/api/send", "http://127.8.9.10/api/send"})
        EXPECT_TRUE(Stats::endpointFrom(accepted)) << accepted;
    for (const char* refused : {"off", "http://stats.example.org/api/send",
                                "http://192.168.1.2/api/send", "ftp://127.0.0.1/x", "http://"})
        EXPECT_FALSE(Stats::endpointFrom(refused)) << refused;
}

// Checks one request against the wire format, member by member.
void expectEvent(const ReceivedRequest& request, const char* name, const char* version = "dev") {
    EXPECT_EQ(request.requestLine, "POST /api/send HTTP/1.1");
    EXPECT_EQ(request.headers.value("content-type"), "application/json");
    // The version, or "dev" in a build without one.
    EXPECT_EQ(request.headers.value("user-agent"),
              QByteArray("Mozilla/5.0 (Macintosh) QuorlenCalculator/") + version);
    EXPECT_FALSE(request.headers.contains("cookie"));
    QJsonObject payload =
        QJsonDocument::fromJson(R"({"website": "3f1a7c52-8e4b-4d09-a6c1-5b2e90d7f318",
        "hostname": "macos-app", "screen": "", "title": "macOS", "url": "/macos"})")
            .object();
    payload.insert(QStringLiteral("language"), QLocale::system().name());
    payload.insert(QStringLiteral("name"), QString::fromLatin1(name));
    EXPECT_EQ(QJsonDocument::fromJson(request.body).object(),
              (QJsonObject{{QStringLiteral("type"), QStringLiteral("event")},
                           {QStringLiteral("payload"), payload}}));
}

// One server for the whole scenario: the endpoint is read once per process.
TEST(Stats, EventsReachALoopbackServerUnlessOptedOutAndFailuresStaySilent) {
    LoopbackServer server;
    ASSERT_TRUE(server.isListening());
    qputenv("QUORLEN_STATS_URL", server.url());
    Preferences().setStatsOptOut(false);

    AppearanceController appearance;
    MainWindow window(appearance);
    window.show();
    const auto click = [&](CalculatorTool tool) {
        QTest::mouseClick(window.content()->sidebar()->row(tool), Qt::LeftButton);
    };
    ASSERT_TRUE(waitUntil([&] { return server.requests.size() == 1; }));
    expectEvent(server.requests[0], "launch");

    click(CalculatorTool::harmony);
    click(CalculatorTool::harmony); // the selected row reports again
    ASSERT_TRUE(waitUntil([&] { return server.requests.size() == 3; }));
    for (const int i : {1, 2})
        expectEvent(server.requests[i], "tool-harmony");

    // The opt-out is read at each event: the event of the opted-out click
    // would have gone out before the next one, which arrives alone.
    Preferences().setStatsOptOut(true);
    click(CalculatorTool::rhythm);
    Preferences().setStatsOptOut(false);
    click(CalculatorTool::frequency);
    ASSERT_TRUE(waitUntil([&] { return server.requests.size() >= 4; }));
    ASSERT_EQ(server.requests.size(), 4);
    expectEvent(server.requests[3], "tool-frequency");

    // A server that never answers, then a closed port: the window goes on.
    server.answer = false;
    QElapsedTimer clock;
    clock.start();
    click(CalculatorTool::space);
    EXPECT_EQ(window.content()->shownTool(), CalculatorTool::space);
    ASSERT_TRUE(waitUntil([&] { return server.requests.size() == 5; }));
    server.close();
    click(CalculatorTool::temperament);
    click(CalculatorTool::overtones);
    EXPECT_EQ(window.content()->shownTool(), CalculatorTool::overtones);
    EXPECT_LT(clock.elapsed(), 2000) << "a click must never wait for the network";
}

TEST(Stats, TheRealAppReportsItsLaunchWithItsVersion) {
    LoopbackServer server;
    QTemporaryDir config;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const auto& [name, value] : {std::pair{"QUORLEN_STATS_URL", QString(server.url())},
                                      {"XDG_CONFIG_HOME", config.path()},
                                      {"QT_QPA_PLATFORM", QStringLiteral("offscreen")}})
        environment.insert(QString::fromLatin1(name), value);
    QProcess app;
    app.setProcessEnvironment(environment);
    app.start(QStringLiteral(QUORLEN_APP_PATH), {QStringLiteral("--startup-probe")});
    ASSERT_TRUE(app.waitForStarted());
    ASSERT_TRUE(waitUntil([&] { return !server.requests.isEmpty(); }, 10000));
    expectEvent(server.requests[0], "launch", QUORLEN_VERSION);
    app.waitForFinished(10000);
    EXPECT_EQ(app.exitCode(), 0);
    EXPECT_EQ(app.readAllStandardError().count("QuorlenCalculator"), 0);
    EXPECT_EQ(server.requests.size(), 1);
}

} // namespace
} // namespace quorlen
