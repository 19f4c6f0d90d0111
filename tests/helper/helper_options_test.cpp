#include "helper/helper_options.h"

#include <QCoreApplication>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace halvoren {
namespace {

// The help text names the program after the running application's first argument.
class HelperCommandLine : public ::testing::Test {
protected:
    int argc = 1;
    char name[16] = "halvoren-helper";
    char* argv[2] = {name, nullptr};
    QCoreApplication app{argc, argv};
};

HelperOptions parse(QStringList arguments) {
    arguments.prepend("halvoren-helper");
    return parseHelperCommandLine(arguments).options;
}

TEST_F(HelperCommandLine, ReadsEveryFlag) {
    const auto plain = parse({"--socket", "/tmp/h/helper.sock"});
    EXPECT_EQ(plain.socketPath, "/tmp/h/helper.sock");
    EXPECT_FALSE(plain.ownSocketDirectory) << "a directory someone named keeps its mode";
    EXPECT_EQ(plain.simulateProfile, std::nullopt);
    EXPECT_EQ(plain.smcSocketPath, "") << "without --simulate: the hardware";

    const auto simulated = parse({"--socket", "/tmp/h/helper.sock", "--simulate"});
    EXPECT_EQ(simulated.simulateProfile, "apple-silicon-laptop-2fan");
    EXPECT_EQ(simulated.smcSocketPath, "/tmp/h/smc.sock");

    const auto chosen =
        parse({"--simulate=intel-laptop", "--smc-socket", "/x/smc", "--allow-uid", "1000", "--allow-uid=1001",
               "--allow-group", "halvoren", "--sysfs-root", "/fake", "--socket=/s"});
    EXPECT_EQ(chosen.simulateProfile, "intel-laptop");
    EXPECT_EQ(chosen.smcSocketPath, "/x/smc");
    EXPECT_EQ(chosen.extraUids, (std::set<uid_t>{1000, 1001}));
    EXPECT_EQ(chosen.allowedGroups, (std::set<std::string>{"halvoren"}));
    EXPECT_EQ(chosen.sysfsRoot, "/fake");
    EXPECT_EQ(chosen.socketPath, "/s");

    // The default place depends on who runs the daemon; it is always a helper.sock.
    EXPECT_TRUE(parse({}).socketPath.ends_with("/halvoren/helper.sock"));
    EXPECT_TRUE(parse({}).ownSocketDirectory);

    EXPECT_TRUE(parseHelperCommandLine({"halvoren-helper", "--help"}).helpRequested);

    for (const QStringList& bad :
         {QStringList{"--allow-uid", "bob"}, QStringList{"--allow-uid", "-1"},
          QStringList{"--allow-uid", "4294967295"}, QStringList{"--simulate="}, QStringList{"--allow-group="},
          QStringList{"--fast"}, QStringList{"stray"}, QStringList{"--socket"}}) {
        EXPECT_THROW(parse(bad), CommandLineError) << bad.join(' ').toStdString();
    }
}

TEST_F(HelperCommandLine, OpensTheSocketToOthersOnlyWhenOthersAreAllowed) {
    EXPECT_EQ(socketModeFor({}, 1000), 0600U);
    EXPECT_EQ(socketModeFor({0, 1000}, 1000), 0600U);
    EXPECT_EQ(socketModeFor({1001}, 1000), 0666U);
    EXPECT_EQ(socketModeFor({1000}, 0), 0666U);
    EXPECT_EQ(socketModeFor({}, 0, true), 0666U) << "a group's members are other users";
}

} // namespace
} // namespace halvoren
