#pragma once

// A PulseAudio server of its own, with one null sink and parecord on its
// monitor, so a test or a measuring probe can hear what the app plays, and
// when each stretch of it arrived. Both processes end with the object;
// start() says why when the server cannot run. The one place that knows
// how to run such a server: the sound tests and the probes behind
// scripts/measure-audio and scripts/measure-detection all use it.
#include "support/wait.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <vector>

namespace quorlen::testing {

// Above the 16-bit sink's quantisation.
inline constexpr float kSilenceLevel = 1e-3f;

// A throw-away PulseAudio server with one null sink and a recorder on its
// monitor; both processes end with this object.
class PrivateSoundServer {
public:
    ~PrivateSoundServer() {
        for (QProcess* process : {&m_recorder, &m_server}) {
            process->kill();
            process->waitForFinished(3000);
        }
    }

    // Empty when the server runs and records; otherwise why not.
    QString start() {
        const QString pulseaudio = QStandardPaths::findExecutable(QStringLiteral("pulseaudio"));
        const QString parecord = QStandardPaths::findExecutable(QStringLiteral("parecord"));
        if (pulseaudio.isEmpty() || parecord.isEmpty())
            return QStringLiteral("pulseaudio or parecord is not installed (scripts/setup)");
        if (!m_dir.isValid())
            return QStringLiteral("no temporary directory");
        const QString runtime = m_dir.filePath(QStringLiteral("runtime"));
        QDir().mkpath(runtime);
        m_socket = m_dir.filePath(QStringLiteral("native"));
        // A runtime dir and home of its own keep it apart from any desktop
        // server; running as root needs --system=false.
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
        environment.insert(QStringLiteral("HOME"), m_dir.path());
        environment.remove(QStringLiteral("PULSE_SERVER"));
        m_server.setProcessEnvironment(environment);
        m_server.setProcessChannelMode(QProcess::MergedChannels);
        m_server.start(pulseaudio, QStringLiteral("-n|--daemonize=no|--exit-idle-time=-1|"
                                                  "--system=false|--use-pid-file=false|-L|"
                                                  "module-null-sink sink_name=quorlen_test|-L|"
                                                  "module-native-protocol-unix auth-anonymous=1 "
                                                  "socket=%1")
                                       .arg(m_socket)
                                       .split(u'|'));
        const bool up = waitUntil(
            [&] {
                return QFileInfo(m_socket).exists() || m_server.state() == QProcess::NotRunning;
            },
            10000);
        if (!up || m_server.state() == QProcess::NotRunning)
            return QStringLiteral("the PulseAudio server did not start: ") +
                   QString::fromLocal8Bit(m_server.readAll()).simplified().right(300);

        m_recorder.setProcessEnvironment(environment);
        m_recorder.start(parecord, QStringLiteral("--server=unix:%1|--device=quorlen_test.monitor|"
                                                  "--raw|--format=float32le|--rate=44100|"
                                                  "--channels=2|--latency-msec=10")
                                       .arg(m_socket)
                                       .split(u'|'));
        m_clock.start();
        QObject::connect(&m_recorder, &QProcess::readyReadStandardOutput, [this] {
            m_bytes += m_recorder.readAllStandardOutput();
            m_arrivals.push_back({frameCount(), m_clock.nsecsElapsed()});
        });
        if (!waitUntil([&] { return frameCount() >= 4410; }, 10000))
            return QStringLiteral("parecord records nothing");
        return {};
    }

    QString address() const { return QStringLiteral("unix:") + m_socket; }
    // The server's process id, to freeze it (SIGSTOP) as a hung one would be.
    qint64 serverPid() const { return m_server.processId(); }
    int frameCount() const { return static_cast<int>(m_bytes.size() / (2 * sizeof(float))); }
    float sample(int frame, int channel) const {
        float value = 0;
        std::memcpy(&value, m_bytes.constData() + (2 * frame + channel) * sizeof(float),
                    sizeof value);
        return value;
    }
    std::vector<float> left(int from, int count) const {
        std::vector<float> samples(static_cast<size_t>(count));
        std::ranges::generate(samples, [&, frame = from]() mutable { return sample(frame++, 0); });
        return samples;
    }
    // The first frame at or after `from` that is not silent, waiting for it.
    std::optional<int> waitForSound(int from, int timeoutMs) {
        const auto sounding = [&] {
            for (; from < frameCount(); ++from) {
                if (std::abs(sample(from, 0)) > kSilenceLevel)
                    return true;
            }
            return false;
        };
        return waitUntil(sounding, timeoutMs) ? std::optional(from) : std::nullopt;
    }
    bool waitForFrames(int count, int timeoutMs) {
        return waitUntil([&] { return frameCount() >= count; }, timeoutMs);
    }
    // Nanoseconds on this object's clock (started with the recorder).
    qint64 nowNs() const { return m_clock.nsecsElapsed(); }
    // When the recorder handed over `frame`, on the same clock; the
    // recorder adds its own latency of about 10 ms.
    std::optional<qint64> arrivalNs(int frame) const {
        const auto arrival =
            std::ranges::find_if(m_arrivals, [&](const auto& a) { return a.first > frame; });
        return arrival == m_arrivals.end() ? std::nullopt : std::optional(arrival->second);
    }

private:
    QTemporaryDir m_dir;
    QString m_socket;
    QProcess m_server;
    QProcess m_recorder;
    QByteArray m_bytes;
    QElapsedTimer m_clock;
    std::vector<std::pair<int, qint64>> m_arrivals; // (frames so far, ns)
};

} // namespace quorlen::testing
