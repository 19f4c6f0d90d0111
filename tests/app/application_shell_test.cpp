#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <functional>
#include <gtest/gtest.h>

namespace halvoren {
namespace {

// Polls `done` for at most `ms` of real time; no event loop is needed.
bool waitUntil(const std::function<bool()>& done, int ms) {
    QElapsedTimer elapsed;
    elapsed.start();
    while (!done()) {
        if (elapsed.hasExpired(ms)) {
            return false;
        }
        QThread::msleep(50);
    }
    return true;
}

// The application on the simulated Mac with an offscreen display, in a data folder of its own.
struct Launch {
    explicit Launch(const QTemporaryDir& dir) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_DATA_HOME"), dir.path());
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        // A run ended in the middle of a conversation with the helper leaves its suspended
        // coroutine frames behind at exit, which the leak checker would turn into exit code 1;
        // leaks proper are the in-process tests' to find.
        environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0"));
        program.setProcessEnvironment(environment);
        program.start(QStringLiteral(HALVOREN_APP_BINARY), {"--simulate", "--load", "idle", "--settings",
                                                            dir.filePath(QStringLiteral("settings.ini"))});
    }
    ~Launch() {
        program.kill();
        program.waitForFinished();
    }
    Launch(const Launch&) = delete;
    Launch& operator=(const Launch&) = delete;

    bool saidWithin(const QByteArray& text, int ms) {
        return waitUntil(
            [&] {
                // Without an event loop the pipe is read only while waiting on it.
                program.waitForReadyRead(50);
                errors += program.readAllStandardError();
                return errors.contains(text);
            },
            ms);
    }

    QProcess program;
    QByteArray errors;
};

TEST(ApplicationProgram, AKilledRunLeavesItsMarkerForTheNextLaunchAndSigtermLeavesNone) {
    QTemporaryDir dir;
    const QString marker = dir.filePath(QStringLiteral("Halvoren/run.marker"));
    {
        Launch first(dir);
        ASSERT_TRUE(waitUntil([&] { return QFileInfo::exists(marker); }, 20000))
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

} // namespace
} // namespace halvoren
