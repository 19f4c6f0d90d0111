#include "../smc/temp_directory.h"
#include "helper/helper_options.h"
#include "smc/unix_socket.h"

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
    EXPECT_EQ(plain.sysfsRoot, "/sys/class/hwmon");

    const auto simulated = parse({"--socket", "/tmp/h/helper.sock", "--simulate"});
    EXPECT_EQ(simulated.simulateProfile, "apple-silicon-laptop-2fan");
    EXPECT_EQ(simulated.smcSocketPath, "/tmp/h/smc.sock");

    const auto chosen = parse({"--simulate=intel-laptop", "--smc-socket", "/x/smc", "--allow-uid", "1000",
                               "--allow-uid=1001", "--sysfs-root", "/fake", "--socket=/s"});
    EXPECT_EQ(chosen.simulateProfile, "intel-laptop");
    EXPECT_EQ(chosen.smcSocketPath, "/x/smc");
    EXPECT_EQ(chosen.extraUids, (std::set<uid_t>{1000, 1001}));
    EXPECT_EQ(chosen.sysfsRoot, "/fake");
    EXPECT_EQ(chosen.socketPath, "/s");

    // The default place depends on who runs the daemon; it is always a helper.sock.
    EXPECT_TRUE(parse({}).socketPath.ends_with("/halvoren/helper.sock"));
    EXPECT_TRUE(parse({}).ownSocketDirectory);

    const auto help = parseHelperCommandLine({"halvoren-helper", "--help"});
    EXPECT_TRUE(help.helpRequested);
    for (const char* flag : {"--socket", "--simulate", "--smc-socket", "--allow-uid", "--sysfs-root"}) {
        EXPECT_TRUE(help.helpText.contains(flag)) << flag;
    }

    for (const QStringList& bad : {QStringList{"--allow-uid", "bob"}, QStringList{"--allow-uid", "-1"},
                                   QStringList{"--allow-uid", "4294967295"}, QStringList{"--simulate="},
                                   QStringList{"--fast"}, QStringList{"stray"}, QStringList{"--socket"}}) {
        EXPECT_THROW(parse(bad), CommandLineError) << bad.join(' ').toStdString();
    }
}

TEST_F(HelperCommandLine, OpensTheSocketAndItsDirectoryToOthersOnlyWhenOthersAreAllowed) {
    EXPECT_EQ(socketModeFor({}, 1000), 0600U);
    EXPECT_EQ(socketModeFor({0, 1000}, 1000), 0600U);
    EXPECT_EQ(socketModeFor({1001}, 1000), 0666U);
    EXPECT_EQ(socketModeFor({1000}, 0), 0666U);

    using UnixSocket::ExistingDirectory;
    struct Case {
        std::optional<mode_t> before; // none: the directory is made
        mode_t socketMode;
        ExistingDirectory existing;
        mode_t after;
    };
    const Case cases[] = {
        {std::nullopt, 0600, ExistingDirectory::keep, 0700},
        {std::nullopt, 0666, ExistingDirectory::keep, 0711},
        {0700, 0666, ExistingDirectory::keep, 0700},
        {0700, 0666, ExistingDirectory::letPass, 0711},
        {0755, 0600, ExistingDirectory::letPass, 0755}, // never narrowed: another server may need it
    };
    for (const auto& [before, socketMode, existing, after] : cases) {
        testing::TempDirectory base;
        const auto directory = base / "halvoren";
        if (before) {
            ASSERT_EQ(::mkdir(directory.c_str(), *before), 0);
            ASSERT_EQ(::chmod(directory.c_str(), *before), 0);
        }
        UnixSocket::makeSocketDirectory((directory / "helper.sock").string(), socketMode, existing);
        struct stat info {};
        ASSERT_EQ(::stat(directory.c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, after) << std::oct << before.value_or(0) << " " << socketMode;

        // mkdtemp made the base private: the first directory that shuts others out.
        const auto socket = (directory / "helper.sock").string();
        EXPECT_EQ(UnixSocket::directoryClosedToOthers(socket), base.path().string());
        ::chmod(base.path().c_str(), 0711);
        EXPECT_EQ(UnixSocket::directoryClosedToOthers(socket),
                  (after & S_IXOTH) != 0 ? std::nullopt : std::optional(directory.string()));
    }
}

} // namespace
} // namespace halvoren
