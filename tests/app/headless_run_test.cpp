#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace halvoren {
namespace {

// The headless program on the simulated Mac, as a user starts it.
TEST(HeadlessProgram, AppliesThePresetOnceConnectedReportsEverySecondAndStopsOnTime) {
    QTemporaryDir dir;
    QProcess program;
    // The program keeps its files in the user's data folder: a folder of the test's own here.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), dir.path());
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(HALVOREN_APP_BINARY),
                  {"--headless", "--simulate", "--preset", "max", "--duration", "4", "--status-json",
                   "--settings", dir.filePath(QStringLiteral("settings.ini"))});
    ASSERT_TRUE(program.waitForFinished(60000)) << "did not stop after its duration";
    EXPECT_EQ(program.exitCode(), 0) << program.readAllStandardError().toStdString();
    const auto lines = program.readAllStandardOutput().trimmed().split('\n');
    EXPECT_GE(lines.size(), 3) << "one status line a second";
    const auto last = nlohmann::json::parse(lines.back().toStdString());
    EXPECT_EQ(last["helperState"], "connected");
    EXPECT_EQ(last["activePreset"], "max");

    program.start(QStringLiteral(HALVOREN_APP_BINARY), {"--headless", "--simulate=no-such-machine"});
    ASSERT_TRUE(program.waitForFinished(60000));
    EXPECT_EQ(program.exitCode(), 2);
    EXPECT_TRUE(program.readAllStandardError().startsWith("halvoren: "));
}

void writeFile(const QString& path, const QByteArray& text) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(text + "\n");
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray("unreadable");
}

// A real machine's path with both of its places moved: the controller's hwmon tree and the
// helper's socket, the helper started by hand with no service manager to ask.
TEST(HeadlessProgram, DrivesAControllerTreeElsewhereThroughAHelperStartedByHand) {
    QTemporaryDir dir;
    const QDir root(dir.path());
    ASSERT_TRUE(root.mkpath(QStringLiteral("hwmon3")));
    const auto attribute = [&](const char* name) { return root.filePath(QStringLiteral("hwmon3/") + name); };
    writeFile(attribute("name"), "applesmc");
    for (const auto& [name, value] : {std::pair{"fan1_input", "1500"},
                                      {"fan1_min", "1200"},
                                      {"fan1_max", "6000"},
                                      {"fan1_output", "1500"},
                                      {"fan1_manual", "0"},
                                      {"temp1_label", "TC0P"},
                                      {"temp1_input", "52000"}}) {
        writeFile(attribute(name), value);
    }
    const QString socket = root.filePath(QStringLiteral("helper.sock"));
    QProcess helper;
    helper.start(QStringLiteral(HALVOREN_HELPER_BINARY), {"--sysfs-root", dir.path(), "--socket", socket});
    ASSERT_TRUE(helper.waitForStarted());
    for (int i = 0; i < 100 && !QFile::exists(socket); ++i) {
        QThread::msleep(50);
    }

    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), dir.path());
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(HALVOREN_APP_BINARY),
                  {"--headless", "--sysfs-root", dir.path(), "--helper-socket", socket, "--preset", "max",
                   "--duration", "3", "--status-json", "--settings", root.filePath(QStringLiteral("s.ini"))});
    ASSERT_TRUE(program.waitForFinished(60000)) << "did not stop after its duration";
    helper.terminate();
    helper.waitForFinished();
    EXPECT_EQ(program.exitCode(), 0) << program.readAllStandardError().toStdString();
    const auto lines = program.readAllStandardOutput().trimmed().split('\n');
    const auto last = nlohmann::json::parse(lines.back().toStdString());
    EXPECT_EQ(last["smcAvailable"], true);
    EXPECT_EQ(last["helperState"], "connected");
    ASSERT_EQ(last["fans"].size(), 1U);
    EXPECT_EQ(last["fans"][0]["max"], 6000.0);
    // Max, ramping up, reached the file through the helper; the end handed the fan back.
    const int output = readFile(attribute("fan1_output")).toInt();
    EXPECT_GT(output, 1500);
    EXPECT_LE(output, 6000);
    EXPECT_EQ(readFile(attribute("fan1_manual")), "0");
}

} // namespace
} // namespace halvoren
