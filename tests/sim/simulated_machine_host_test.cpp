// The simulated Mac hosted by the application, served to the daemon over its socket.

#include "../smc/smc_test_support.h"
#include "../smc/temp_directory.h"
#include "fakes/helper_process.h"
#include "sim/load_scenario.h"
#include "sim/simulated_machine_host.h"
#include "sim_test_support.h"
#include "smc/smc_kernel_bridge.h"
#include "smc/socket_smc_transport.h"

#include <QCoreApplication>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/stat.h>

namespace halvoren {
namespace {

using namespace std::chrono_literals;
using testing::after;
using testing::waitUntil;

using test::forcedFans;

std::unique_ptr<SMCKernelBridge> socketClient(const std::string& path) {
    return std::make_unique<SMCKernelBridge>(std::make_unique<SocketSMCTransport>(path));
}

class SimulatedMachineHostTest : public ::testing::Test {
protected:
    int argc = 0;
    QCoreApplication app{argc, nullptr};
    testing::TempDirectory directory;
    // In a directory that does not exist yet: the host makes it.
    std::string smcSocket = (directory / "run" / "smc.sock").string();
};

TEST_F(SimulatedMachineHostTest, EveryFanGoesBackEachTimeTheLastSocketClientLeaves) {
    ManualClock clock;
    SimulatedMachineHost host("apple-silicon-laptop-2fan", clock, 3, idleLoad(), smcSocket);
    struct stat info {};
    ASSERT_EQ(::stat((directory / "run").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u) << "the host makes the socket's directory, private";
    auto first = socketClient(smcSocket);
    auto second = socketClient(smcSocket);
    first->write("F0Md", 1.0);
    first->write("F1Md", 1.0);
    ASSERT_EQ(forcedFans(host.mac()), (std::vector<bool>{true, true}));

    // One client leaving while another stays changes nothing. The second round trip is served
    // only after the server has finished with the first client's departure.
    first.reset();
    EXPECT_EQ(second->read("F0Md"), 1.0);
    EXPECT_EQ(second->read("F1Md"), 1.0);
    EXPECT_EQ(forcedFans(host.mac()), (std::vector<bool>{true, true}));

    // A fan whose mode cannot be written does not keep the others forced.
    FaultPlan stuck;
    stuck.resultOverrides[{"F0Md", SMCCommand::writeValue}] = 132;
    host.mac().setFaults(stuck);
    second.reset();
    EXPECT_TRUE(waitUntil(after(5000ms), [&] { return !host.mac().fans()[1].forced; }));
    EXPECT_TRUE(host.mac().fans()[0].forced);

    // The next client to come and go brings the hand-back again.
    host.mac().setFaults({});
    socketClient(smcSocket)->read("F0Md");
    EXPECT_TRUE(waitUntil(after(5000ms), [&] { return !host.mac().fans()[0].forced; }));

    // In-process bridges are not socket clients: a write through one holds until the next
    // socket client leaves.
    host.openBridge()->write("F1Md", 1.0);
    EXPECT_EQ(socketClient(smcSocket)->read("F1Md"), 1.0);
    EXPECT_TRUE(waitUntil(after(5000ms), [&] { return !host.mac().fans()[1].forced; }));
}

TEST_F(SimulatedMachineHostTest, HandsBackInTheMachinesOwnProtocol) {
    struct Case {
        const char* profile;
        std::vector<std::pair<const char*, double>> forcing; // writes in order, with a wait after Ftst
        const char* handedBackKey;
        double handedBack;
    };
    const Case cases[] = {
        {"intel-laptop", {{"FS! ", 3.0}}, "FS! ", 0.0},
        {"apple-silicon-desktop-1fan", {{"Ftst", 1.0}, {"F0Md", 1.0}}, "F0Md", 3.0},
    };
    for (const auto& [profile, forcing, key, handedBack] : cases) {
        SCOPED_TRACE(profile);
        ManualClock clock;
        SimulatedMachineHost host(profile, clock, 3, idleLoad(), smcSocket);
        {
            auto client = socketClient(smcSocket);
            for (const auto& [written, value] : forcing) {
                client->write(written, value);
                clock.advance(5.0);
            }
            ASSERT_TRUE(host.mac().fans()[0].forced);
        }
        EXPECT_TRUE(waitUntil(after(5000ms), [&] { return !host.mac().fans()[0].forced; }));
        EXPECT_EQ(host.openBridge()->read(key), handedBack);
    }
}

TEST_F(SimulatedMachineHostTest, RefusesASocketItCannotServeWithAClearMessage) {
    const auto failure = [](const std::string& path) {
        return thrownMessage<std::runtime_error>(
            [&] { SimulatedMachineHost("intel-laptop", SystemClock::shared(), 1, idleLoad(), path); });
    };
    SimulatedMachineHost host("apple-silicon-laptop-fanless", SystemClock::shared(), 1, idleLoad(),
                              smcSocket);
    const std::string taken = failure(smcSocket);
    EXPECT_TRUE(taken.starts_with("cannot serve the simulated controller on " + smcSocket + ": ")) << taken;
    EXPECT_NE(taken.find("another server listens"), std::string::npos) << taken;
    EXPECT_NO_THROW(host.openBridge()->read("#KEY")) << "the host in place keeps serving";

    testing::writeFile(directory / "plain", "not a directory");
    const std::string blocked = (directory / "plain" / "sub" / "smc.sock").string();
    EXPECT_EQ(failure(blocked), "cannot serve the simulated controller on " + blocked + ": cannot create " +
                                    (directory / "plain" / "sub").string() + ": Not a directory");
}

} // namespace
} // namespace halvoren
