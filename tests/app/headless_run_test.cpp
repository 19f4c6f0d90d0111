#include <QProcess>
#include <QTemporaryDir>
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

} // namespace
} // namespace halvoren
