// The real daemon as a child process, killed and signalled the ways it will be in use.

#include "../smc/temp_directory.h"
#include "core/frame_codec.h"
#include "fakes/forcing_client.h"
#include "sim/load_scenario.h"
#include "sim/machine_profile.h"
#include "sim/simulated_mac.h"
#include "sim/simulated_smc_transport.h"
#include "smc/smc_kernel_bridge.h"
#include "smc/smc_socket_server.h"
#include "smc/socket_smc_transport.h"
#include "smc/unix_socket.h"

#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>
#include <array>
#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace halvoren {
namespace {

using namespace std::chrono_literals;
using Deadline = std::chrono::steady_clock::time_point;

Deadline after(std::chrono::milliseconds span) {
    return std::chrono::steady_clock::now() + span;
}

// Polls `done` every millisecond until it holds or `deadline` passes.
template <class Predicate>
bool waitUntil(Deadline deadline, Predicate done) {
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

UnixSocket::FileDescriptor connectTo(const std::string& path) {
    sockaddr_un address{};
    UnixSocket::makeAddress(path, address);
    auto fd = UnixSocket::streamSocket();
    if (::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        fd.reset();
    }
    return fd;
}

// One request over a connected socket and its reply, waiting at most a few seconds.
nlohmann::json call(int fd, const std::string& request) {
    const auto frame = frameBytes(request);
    const auto deadline = after(5000ms);
    if (UnixSocket::sendAll(fd, reinterpret_cast<const std::uint8_t*>(frame.data()), frame.size(),
                            deadline)) {
        return nullptr;
    }
    std::array<std::uint8_t, 4> header{};
    if (UnixSocket::receiveAll(fd, header.data(), header.size(), deadline)) {
        return nullptr;
    }
    std::string payload((header[0] << 24) | (header[1] << 16) | (header[2] << 8) | header[3], '\0');
    if (UnixSocket::receiveAll(fd, reinterpret_cast<std::uint8_t*>(payload.data()), payload.size(),
                               deadline)) {
        return nullptr;
    }
    return nlohmann::json::parse(payload);
}

std::string setTarget(int id, int fan, double rpm) {
    return nlohmann::json{{"id", id}, {"method", "setTargetRPM"}, {"fan", fan}, {"rpm", rpm}}.dump();
}

class HelperProcess {
public:
    explicit HelperProcess(QStringList arguments) {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_FORCE_STDERR_LOGGING", "1");
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::SeparateChannels);
        process.start(HALVOREN_HELPER_BINARY, arguments);
    }
    ~HelperProcess() {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished(5000);
        }
    }
    bool waitForSocket(const std::string& path) {
        // A sanitizer build takes a while to start.
        return waitUntil(after(20000ms), [&] { return connectTo(path).valid(); });
    }
    QProcess process;
};

// The fan modes as anyone reading the simulated controller's socket sees them.
std::array<double, 2> fanModes(const std::string& smcSocket) {
    SMCKernelBridge bridge(std::make_unique<SocketSMCTransport>(smcSocket));
    return {bridge.read("F0Md"), bridge.read("F1Md")};
}

class HelperProcessTest : public ::testing::Test {
protected:
    int argc = 0;
    QCoreApplication app{argc, nullptr};
};

TEST_F(HelperProcessTest, HandsFansBackWhenItsClientIsKilledAndWhenItIsTerminated) {
    testing::TempDirectory directory;
    const std::string socket = (directory / "helper.sock").string();
    const std::string smc = (directory / "smc.sock").string();
    HelperProcess helper({"--simulate", "--socket", QString::fromStdString(socket), "--smc-socket",
                          QString::fromStdString(smc)});
    ASSERT_TRUE(helper.waitForSocket(socket)) << helper.process.readAllStandardError().toStdString();
    ASSERT_EQ(fanModes(smc), (std::array<double, 2>{0, 0}));

    // A client process that forces both fans, says so on a pipe, and waits to be killed. After
    // fork() it makes only system calls, from buffers made before.
    const std::vector<std::string> frames{frameBytes(setTarget(1, 0, 4000)),
                                          frameBytes(setTarget(2, 1, 4000))};
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = testing::forkForcingClient(socket, frames, ready[1]);
    ASSERT_GE(child, 0);
    ::close(ready[1]);
    pollfd entry{ready[0], POLLIN, 0};
    char byte = 0;
    const bool forced = ::poll(&entry, 1, 10000) == 1 && ::read(ready[0], &byte, 1) == 1;
    ::close(ready[0]);
    EXPECT_TRUE(forced);
    EXPECT_EQ(fanModes(smc), (std::array<double, 2>{1, 1}));

    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_TRUE(waitUntil(after(5000ms), [&] {
        return fanModes(smc) == std::array<double, 2>{0, 0};
    })) << "the fans stayed forced after their client died";

    // Terminated while a fan is forced: the simulated Mac dies with the daemon, so its word
    // and its exit status are the evidence here (the test below looks at the fans).
    auto client = connectTo(socket);
    ASSERT_EQ(call(client.get(), setTarget(3, 1, 5000))["applied"], 5000.0);
    helper.process.terminate();
    ASSERT_TRUE(helper.process.waitForFinished(10000));
    EXPECT_EQ(helper.process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(helper.process.exitCode(), 0);
    const auto log = helper.process.readAllStandardError().toStdString();
    EXPECT_NE(log.find("Handed every fan back to the firmware: received SIGTERM"), std::string::npos) << log;
}

TEST_F(HelperProcessTest, TerminationHandsTheSimulatorsFansBack) {
    testing::TempDirectory directory;
    const std::string socket = (directory / "helper.sock").string();
    const std::string smc = (directory / "smc.sock").string();
    auto mac = std::make_shared<SimulatedMac>(*MachineProfile::builtIn("apple-silicon-laptop-2fan"),
                                              SystemClock::shared(), 1, idleLoad());
    SimulatedSMCTransport transport(mac);
    SMCSocketServer simulator(transport, smc);
    simulator.start();

    HelperProcess helper(
        {"--smc-socket", QString::fromStdString(smc), "--socket", QString::fromStdString(socket)});
    ASSERT_TRUE(helper.waitForSocket(socket)) << helper.process.readAllStandardError().toStdString();
    auto client = connectTo(socket);
    ASSERT_EQ(call(client.get(), setTarget(1, 0, 3000))["applied"], 3000.0);
    ASSERT_TRUE(mac->fans()[0].forced);

    helper.process.terminate();
    ASSERT_TRUE(helper.process.waitForFinished(10000));
    EXPECT_EQ(helper.process.exitCode(), 0);
    EXPECT_FALSE(mac->fans()[0].forced);
    EXPECT_FALSE(std::filesystem::exists(socket)) << "the socket file is removed on the way out";

    // Without --simulate and without any fan hardware the helper refuses to run.
    HelperProcess nothing({"--socket", QString::fromStdString(socket), "--sysfs-root",
                           QString::fromStdString((directory / "no-hwmon").string())});
    ASSERT_TRUE(nothing.process.waitForFinished(10000));
    EXPECT_EQ(nothing.process.exitCode(), 1);
    EXPECT_NE(nothing.process.readAllStandardError().indexOf("no fan this helper can drive"), -1);
}

} // namespace
} // namespace halvoren
