#include "platform/running_programs.h"

#include <QTemporaryDir>
#include <fstream>
#include <gtest/gtest.h>

namespace halvoren {
namespace {

TEST(RunningPrograms, ReadsProcessNamesAndSkipsWhatIsNotAProcess) {
    QTemporaryDir dir;
    const std::filesystem::path root = dir.path().toStdString();
    const auto process = [&](const std::string& pid, const std::string& comm) {
        std::filesystem::create_directories(root / pid);
        std::ofstream(root / pid / "comm") << comm;
    };
    process("1", "systemd\n");
    process("412", "mbpfan\n");
    process("977", "mbpfan\n"); // two of one program count once
    process("self", "notaprocess\n");
    std::filesystem::create_directories(root / "1200"); // ended before its name was read
    process("1300", "");

    EXPECT_EQ(runningProgramIdentifiers(root), (std::set<std::string>{"mbpfan", "systemd"}));
    EXPECT_TRUE(runningProgramIdentifiers(root / "absent").empty());
    // The real process table lists at least this test.
    EXPECT_FALSE(runningProgramIdentifiers().empty());
}

} // namespace
} // namespace halvoren
