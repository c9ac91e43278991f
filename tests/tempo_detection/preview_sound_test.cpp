// The preview heard on a sound server: a PulseAudio server of the test's
// own with a null sink, the real player over the real RtAudio backend, and
// parecord on the sink's monitor. A file whose every second holds another
// tone is previewed from its third second; the recording must start with
// that second's tone, faded in, and go on to the next one.
#include "audio/rtaudio_backend.h"
#include "support/wait.h"
#include "tempo_detection/tempo_preview_player.h"
#include "test_signals.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <sndfile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <span>

namespace quorlen {
namespace {

constexpr double kRateHz = 44100;
constexpr float kSilence = 1e-3f; // above the 16-bit sink's quantisation

// Power of one frequency in a stretch of samples (Goertzel's recurrence).
double powerAt(std::span<const float> samples, double hz) {
    const double coefficient = 2 * std::cos(2 * std::numbers::pi * hz / kRateHz);
    double previous = 0;
    double beforePrevious = 0;
    for (const float sample : samples) {
        const double current = sample + coefficient * previous - beforePrevious;
        beforePrevious = previous;
        previous = current;
    }
    return previous * previous + beforePrevious * beforePrevious -
           coefficient * previous * beforePrevious;
}

// Of `candidates`, the frequency with the most power in `samples`.
double strongest(std::span<const float> samples, std::initializer_list<double> candidates) {
    return *std::max_element(candidates.begin(), candidates.end(), [&](double a, double b) {
        return powerAt(samples, a) < powerAt(samples, b);
    });
}

float peak(std::span<const float> samples) {
    float result = 0;
    for (const float sample : samples)
        result = std::max(result, std::abs(sample));
    return result;
}

// A throw-away PulseAudio server with one null sink and a recorder on its
// monitor; both processes end with this object.
class SoundServer {
public:
    ~SoundServer() {
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
        m_server.start(pulseaudio,
                       {QStringLiteral("-n"), QStringLiteral("--daemonize=no"),
                        QStringLiteral("--exit-idle-time=-1"), QStringLiteral("--system=false"),
                        QStringLiteral("--use-pid-file=false"), QStringLiteral("-L"),
                        QStringLiteral("module-null-sink sink_name=quorlen_preview"),
                        QStringLiteral("-L"),
                        QStringLiteral("module-native-protocol-unix auth-anonymous=1 socket=") +
                            m_socket});
        const bool up = testing::waitUntil(
            [&] { return QFileInfo(m_socket).exists() || m_server.state() == QProcess::NotRunning; },
            10000);
        if (!up || m_server.state() == QProcess::NotRunning)
            return QStringLiteral("the PulseAudio server did not start: ") +
                   QString::fromLocal8Bit(m_server.readAll()).simplified().right(300);

        m_recorder.setProcessEnvironment(environment);
        m_recorder.start(parecord, {QStringLiteral("--server=unix:") + m_socket,
                                    QStringLiteral("--device=quorlen_preview.monitor"),
                                    QStringLiteral("--raw"), QStringLiteral("--format=float32le"),
                                    QStringLiteral("--rate=44100"), QStringLiteral("--channels=2"),
                                    QStringLiteral("--latency-msec=10")});
        QObject::connect(&m_recorder, &QProcess::readyReadStandardOutput,
                         [this] { m_bytes += m_recorder.readAllStandardOutput(); });
        if (!testing::waitUntil([&] { return frameCount() >= 4410; }, 10000))
            return QStringLiteral("parecord records nothing");
        return {};
    }

    QString address() const { return QStringLiteral("unix:") + m_socket; }
    int frameCount() const { return static_cast<int>(m_bytes.size() / (2 * sizeof(float))); }
    float sample(int frame, int channel) const {
        float value = 0;
        std::memcpy(&value, m_bytes.constData() + (2 * frame + channel) * sizeof(float),
                    sizeof value);
        return value;
    }
    std::vector<float> left(int from, int count) const {
        std::vector<float> samples;
        for (int frame = from; frame < from + count; ++frame)
            samples.push_back(sample(frame, 0));
        return samples;
    }
    // The first frame at or after `from` that is not silent, waiting for it.
    std::optional<int> waitForSound(int from, int timeoutMs) {
        std::optional<int> found;
        testing::waitUntil(
            [&] {
                for (; from < frameCount(); ++from) {
                    if (std::abs(sample(from, 0)) > kSilence) {
                        found = from;
                        return true;
                    }
                }
                return false;
            },
            timeoutMs);
        return found;
    }
    bool waitForFrames(int count, int timeoutMs) {
        return testing::waitUntil([&] { return frameCount() >= count; }, timeoutMs);
    }

private:
    QTemporaryDir m_dir;
    QString m_socket;
    QProcess m_server;
    QProcess m_recorder;
    QByteArray m_bytes;
};

TEST(PreviewSound, APreviewFromTheThirdSecondIsHeardFadedIn) {
    SoundServer server;
    if (const QString reason = server.start(); !reason.isEmpty())
        GTEST_SKIP() << reason.toStdString();

    // Second s of the file holds a 0.5 sine of 300 + 200 s Hz.
    detection::testing::TempDir dir;
    std::vector<float> tones;
    for (const double hz : {300.0, 500.0, 700.0, 900.0}) {
        const std::vector<float> second = detection::testing::sine(hz, 1.0, kRateHz, 0.5f);
        tones.insert(tones.end(), second.begin(), second.end());
    }
    const std::string path = dir.file("tones.wav").string();
    ASSERT_TRUE(detection::testing::writeSound(path, tones, 1, 44100,
                                               SF_FORMAT_WAV | SF_FORMAT_FLOAT));

    qputenv("PULSE_SERVER", server.address().toLocal8Bit());
    TempoPreviewPlayer player(std::make_unique<RtAudioBackend>());
    const int before = server.frameCount();
    std::optional<QString> error;
    player.start(QString::fromStdString(path), 2.0, [] {},
                 [&](std::optional<QString> outcome) { error = outcome; });
    ASSERT_TRUE(testing::waitUntil([&] { return player.isPlaying() || error; }));
    ASSERT_FALSE(error) << error->toStdString();

    const auto onset = server.waitForSound(before, 5000);
    ASSERT_TRUE(onset) << "the preview never reached the sink";
    ASSERT_TRUE(server.waitForFrames(*onset + 66150, 8000)); // 1.5 s
    const auto heard = server.left(*onset, 66150);
    const std::span<const float> all(heard);

    // The third second's tone, not the first: the preview starts where asked.
    EXPECT_EQ(strongest(all.subspan(0, 22050), {300, 500, 700, 900}), 700);
    EXPECT_EQ(strongest(all.subspan(48510, 13230), {300, 500, 700, 900}), 900);
    // A 12 ms (529-frame) raised-cosine rise: quiet in its first 60 frames
    // (gain under 0.05), at full level (0.5) once it is over.
    EXPECT_LT(peak(all.subspan(0, 60)), 0.05f);
    EXPECT_GT(peak(all.subspan(700, 400)), 0.45f);
    EXPECT_LT(peak(all.subspan(700, 400)), 0.55f);
    player.stop(false);
}

} // namespace
} // namespace quorlen
