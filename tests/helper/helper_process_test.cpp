// The real daemon as a child process, killed and signalled the ways it will be in use.

#include "helper_test_support.h"
#include "smc/smc_socket_server.h"

#include <QProcess>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <tuple>

namespace halvoren {
namespace {

using namespace std::chrono_literals;
using testing::after;
using testing::callHelper;
using testing::connectTo;
using testing::HelperProcess;
using testing::setTargetRequest;
using testing::waitUntil;

using HelperProcessTest = test::WithQtApplication;

TEST_F(HelperProcessTest, HandsFansBackWhenItsClientIsKilledAndWhenItIsTerminated) {
    // A real helper process writing the fans of a simulated Mac that this process serves on a socket.
    testing::TempDirectory directory;
    const std::string socket = (directory / "helper.sock").string();
    const std::string smc = (directory / "smc.sock").string();
    const auto mac = std::make_shared<SimulatedMac>(*MachineProfile::builtIn("apple-silicon-laptop-2fan"),
                                                    SystemClock::shared(), 1, idleLoad());
    SimulatedSMCTransport transport{mac};
    SMCSocketServer simulator{transport, smc};
    simulator.start();
    HelperProcess helper(HALVOREN_HELPER_BINARY, {"--smc-socket", QString::fromStdString(smc), "--socket",
                                                  QString::fromStdString(socket)});
    ASSERT_TRUE(helper.waitForSocket(socket)) << helper.process.readAllStandardError().toStdString();
    const auto forced = [&] { return std::pair{mac->fans()[0].forced, mac->fans()[1].forced}; };
    // A client process that forces both fans and then waits to be killed.
    const pid_t child = testing::forkForcingClient(
        socket, {frameBytes(setTargetRequest(1, 0, 4000)), frameBytes(setTargetRequest(2, 1, 4000))}, -1);
    ASSERT_GT(child, 0);
    EXPECT_TRUE(waitUntil(after(10000ms), [&] { return forced() == std::pair(true, true); }));

    // Another client stays connected and keeps talking: the dead one's fans go back all the same.
    auto bystander = connectTo(socket);
    EXPECT_EQ(callHelper(bystander.get(), R"({"id":1,"method":"heartbeat"})")["id"], 1);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_TRUE(waitUntil(after(1000ms), [&] { return forced() == std::pair(false, false); }))
        << "the fans stayed forced for a second after their client died";
    EXPECT_EQ(callHelper(bystander.get(), R"({"id":2,"method":"heartbeat"})")["id"], 2);

    // Terminated while a fan is forced: it hands it back, says so, and removes its socket file.
    ASSERT_EQ(callHelper(bystander.get(), setTargetRequest(3, 1, 5000))["applied"], 5000.0);
    helper.process.terminate();
    ASSERT_TRUE(helper.process.waitForFinished(10000));
    EXPECT_EQ(helper.process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(helper.process.exitCode(), 0);
    EXPECT_EQ(forced(), std::pair(false, false));
    const auto log = helper.process.readAllStandardError().toStdString();
    EXPECT_NE(log.find("Handed every fan back to the firmware: received SIGTERM"), std::string::npos) << log;
    EXPECT_FALSE(std::filesystem::exists(socket)) << "the socket file is removed on the way out";

    // Without --simulate and without any fan hardware the helper refuses to run.
    HelperProcess nothing(HALVOREN_HELPER_BINARY,
                          {"--socket", QString::fromStdString(socket), "--sysfs-root",
                           QString::fromStdString((directory / "no-hwmon").string())});
    ASSERT_TRUE(nothing.process.waitForFinished(10000));
    EXPECT_EQ(nothing.process.exitCode(), 1);
    EXPECT_NE(nothing.process.readAllStandardError().indexOf("no fan this helper can drive"), -1);
}

TEST_F(HelperProcessTest, AnAllowedUserReachesTheSocketAndNoOtherUserGetsMore) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root, to connect as other users";
    }
    testing::TempDirectory base;
    ::chmod(base.path().c_str(), 0711); // as /run is; the helper makes the directory below
    const auto directory = base / "halvoren";
    const std::string socket = (directory / "helper.sock").string();
    const std::string smc = (directory / "smc.sock").string();
    HelperProcess helper(HALVOREN_HELPER_BINARY,
                         {"--simulate", "--socket", QString::fromStdString(socket), "--allow-uid", "65534"});
    ASSERT_TRUE(helper.waitForSocket(socket)) << helper.process.readAllStandardError().toStdString();

    const std::pair<std::filesystem::path, unsigned> modes[] = {
        {directory, 0711}, {socket, 0666}, {smc, 0600}};
    for (const auto& [path, mode] : modes) {
        struct stat info {};
        ASSERT_EQ(::stat(path.c_str(), &info), 0) << path;
        EXPECT_EQ(info.st_mode & 07777, mode) << path;
    }
    const std::tuple<uid_t, std::string, test::Reach> exchanges[] = {
        {65534, socket, test::Reach::answered},
        {65533, socket, test::Reach::noAnswer},   // let in by the mode, refused by its user
        {65534, smc, test::Reach::cannotConnect}, // the simulated controller stays private
    };
    for (const auto& [uid, path, expected] : exchanges) {
        EXPECT_EQ(test::exchangeAs(uid, path), expected) << uid << " at " << path;
    }
}

} // namespace
} // namespace halvoren
