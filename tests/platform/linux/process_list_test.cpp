#include "platform/quit_program.h"
#include "platform/running_programs.h"

#include <QTemporaryDir>
#include <fstream>
#include <gtest/gtest.h>

namespace halvoren {
namespace {

// A /proc tree of a few users' processes, some half gone.
class ProcessList : public ::testing::Test {
protected:
    void SetUp() override {
        process("1", "systemd", 0);
        process("100", "blender", 1000);
        process("101", "blender", 1001);                     // another user's
        process("102", "python3", 1000, "/usr/bin/blender"); // known by its executable
        process("103", "blend", 1000);                       // a name that merely starts alike
        std::filesystem::create_directories(root / "104");   // ended before its status was read
        std::ofstream(root / "104" / "comm") << "blender\n";
        std::filesystem::create_directories(root / "1200"); // ended before its name was read
        process("1300", "", 1000);
        process("self", "notaprocess", 1000);
    }
    void process(const std::string& pid, const std::string& comm, unsigned uid, const std::string& exe = {}) {
        std::filesystem::create_directories(root / pid);
        std::ofstream(root / pid / "comm") << comm << (comm.empty() ? "" : "\n");
        std::ofstream(root / pid / "status") << "Name:\t" << comm << "\nUid:\t" << uid << '\t' << uid << "\n";
        if (!exe.empty()) {
            std::filesystem::create_symlink(exe, root / pid / "exe");
        }
    }

    QTemporaryDir dir;
    std::filesystem::path root = dir.path().toStdString();
};

TEST_F(ProcessList, RunningProgramsAreProcessNamesEachCountedOnce) {
    EXPECT_EQ(runningProgramIdentifiers(root),
              (std::set<std::string>{"blend", "blender", "python3", "systemd"}));
    EXPECT_TRUE(runningProgramIdentifiers(root / "absent").empty());
    // The real process table lists at least this test.
    EXPECT_FALSE(runningProgramIdentifiers().empty());
}

TEST_F(ProcessList, QuitFindsOnlyTheUsersOwnProcessesOfTheApplication) {
    EXPECT_EQ(ownProcessesNamed("blender", 1000, root), (std::vector<int>{100, 102}));
    EXPECT_EQ(ownProcessesNamed("blender", 1001, root), (std::vector<int>{101}));
    EXPECT_TRUE(ownProcessesNamed("", 1000, root).empty());
    EXPECT_TRUE(ownProcessesNamed("blender", 1000, root / "absent").empty());
    EXPECT_EQ(askApplicationToQuit("no-such-program-here"), 0);
}

} // namespace
} // namespace halvoren
