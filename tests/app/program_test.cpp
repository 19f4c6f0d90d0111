// The application and headless programs started as a user starts them, each in a data folder of
// its own.

#include "fakes/helper_process.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace halvoren {
namespace {

using namespace std::chrono_literals;
using testing::after;
using testing::waitUntil;

// `quietLeaks`: a run ended in the middle of a conversation with the helper leaves its suspended
// coroutine frames behind at exit, which the leak checker would turn into exit code 1; leaks proper
// are the in-process tests' to find.
void start(QProcess& program, const QString& dataHome, const QStringList& arguments,
           bool quietLeaks = false) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), dataHome);
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    if (quietLeaks) {
        environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0"));
    }
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(HALVOREN_APP_BINARY), arguments);
}

// The application on the simulated Mac with an offscreen display.
struct Launch {
    explicit Launch(const QTemporaryDir& dir) {
        start(program, dir.path(),
              {"--simulate", "--load", "idle", "--settings", dir.filePath("settings.ini")}, true);
    }
    ~Launch() {
        program.kill();
        program.waitForFinished();
    }
    Launch(const Launch&) = delete;
    Launch& operator=(const Launch&) = delete;

    bool saidWithin(const QByteArray& text, int ms) {
        return waitUntil(after(std::chrono::milliseconds(ms)), [&] {
            // Without an event loop the pipe is read only while waiting on it.
            program.waitForReadyRead(50);
            errors += program.readAllStandardError();
            return errors.contains(text);
        });
    }

    QProcess program;
    QByteArray errors;
};

TEST(ApplicationProgram, AKilledRunLeavesItsMarkerForTheNextLaunchAndSigtermLeavesNone) {
    QTemporaryDir dir;
    const QString marker = dir.filePath(QStringLiteral("Halvoren/run.marker"));
    {
        Launch first(dir);
        ASSERT_TRUE(waitUntil(after(20000ms), [&] { return QFileInfo::exists(marker); }))
            << "no run marker: " << first.program.readAllStandardError().toStdString();
        EXPECT_FALSE(first.errors.contains("previous run ended"));
        first.program.kill();
        ASSERT_TRUE(first.program.waitForFinished(10000));
    }
    ASSERT_TRUE(QFileInfo::exists(marker));

    Launch second(dir);
    EXPECT_TRUE(
        second.saidWithin("previous run ended without clean shutdown — external kill or crash", 20000));
    second.program.terminate();
    ASSERT_TRUE(second.program.waitForFinished(15000)) << "SIGTERM did not end it";
    EXPECT_EQ(second.program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(second.program.exitCode(), 0);
    EXPECT_TRUE(second.saidWithin("SIGTERM received from outside the app — terminating gracefully", 1000));
    EXPECT_FALSE(QFileInfo::exists(marker));
}

// The status lines of a headless run that ended by itself with success.
QList<QByteArray> statusLines(QProcess& program) {
    EXPECT_TRUE(program.waitForFinished(60000)) << "did not stop after its duration";
    EXPECT_EQ(program.exitCode(), 0) << program.readAllStandardError().toStdString();
    return program.readAllStandardOutput().trimmed().split('\n');
}

TEST(HeadlessProgram, AppliesThePresetOnceConnectedReportsEverySecondAndStopsOnTime) {
    QTemporaryDir dir;
    QProcess program;
    start(program, dir.path(),
          {"--headless", "--simulate", "--preset", "max", "--duration", "4", "--status-json", "--settings",
           dir.filePath(QStringLiteral("settings.ini"))});
    const auto lines = statusLines(program);
    EXPECT_GE(lines.size(), 3) << "one status line a second";
    const auto last = nlohmann::json::parse(lines.back().toStdString());
    EXPECT_EQ(last["helperState"], "connected");
    EXPECT_EQ(last["activePreset"], "max");

    start(program, dir.path(), {"--headless", "--simulate=no-such-machine"});
    ASSERT_TRUE(program.waitForFinished(60000));
    EXPECT_EQ(program.exitCode(), 2);
    EXPECT_TRUE(program.readAllStandardError().startsWith("halvoren: "));
}

// A real machine's path with both of its places moved: the controller's hwmon tree and the
// helper's socket, the helper started by hand with no service manager to ask.
TEST(HeadlessProgram, DrivesAControllerTreeElsewhereThroughAHelperStartedByHand) {
    QTemporaryDir dir;
    const QDir root(dir.path());
    ASSERT_TRUE(root.mkpath(QStringLiteral("hwmon3")));
    const auto attribute = [&](const char* name) { return root.filePath(QStringLiteral("hwmon3/") + name); };
    const auto read = [](const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray("unreadable");
    };
    for (const auto& [name, value] : {std::pair{"name", "applesmc"},
                                      {"fan1_input", "1500"},
                                      {"fan1_min", "1200"},
                                      {"fan1_max", "6000"},
                                      {"fan1_output", "1500"},
                                      {"fan1_manual", "0"},
                                      {"temp1_label", "TC0P"},
                                      {"temp1_input", "52000"}}) {
        QFile file(attribute(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << name;
        file.write(QByteArray(value) + "\n");
    }
    const QString socket = root.filePath(QStringLiteral("helper.sock"));
    testing::HelperProcess helper(QStringLiteral(HALVOREN_HELPER_BINARY),
                                  {"--sysfs-root", dir.path(), "--socket", socket});
    ASSERT_TRUE(helper.waitForSocket(socket.toStdString()));

    QProcess program;
    start(program, dir.path(),
          {"--headless", "--sysfs-root", dir.path(), "--helper-socket", socket, "--preset", "max",
           "--duration", "3", "--status-json", "--settings", root.filePath(QStringLiteral("s.ini"))});
    const auto last = nlohmann::json::parse(statusLines(program).back().toStdString());
    helper.process.terminate();
    helper.process.waitForFinished();
    EXPECT_EQ(last["smcAvailable"], true);
    EXPECT_EQ(last["helperState"], "connected");
    ASSERT_EQ(last["fans"].size(), 1U);
    EXPECT_EQ(last["fans"][0]["max"], 6000.0);
    // Max, ramping up, reached the file through the helper; the end handed the fan back.
    const int output = read(attribute("fan1_output")).toInt();
    EXPECT_GT(output, 1500);
    EXPECT_LE(output, 6000);
    EXPECT_EQ(read(attribute("fan1_manual")), "0");
}

} // namespace
} // namespace halvoren
