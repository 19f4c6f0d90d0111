// Machine facts read from sysfs and procfs trees: core kinds, power supplies, the lid and the
// microphone's capture streams.

#include "../../smc/temp_directory.h"
#include "platform/core_counts.h"
#include "platform/linux/mic_activity_linux.h"
#include "platform/linux/power_supplies.h"

#include <gtest/gtest.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace halvoren {
namespace {

using namespace LinuxPower;
namespace fs = std::filesystem;
using CoreCounts = DeviceSensorMap::CoreCounts;

// A sysfs tree of its own for each test.
class SysfsTree : public ::testing::Test {
protected:
    fs::path root() const { return dir.path(); }
    testing::TempDirectory dir;
};

class CoreCountsTest : public SysfsTree {
protected:
    static void write(const fs::path& path, const std::string& text) { testing::writeFile(path, text); }
    void cpus(int from, int to, const std::string& file, const std::string& text) const {
        for (int n = from; n <= to; ++n) {
            write(root() / "devices/system/cpu" / ("cpu" + std::to_string(n)) / file, text);
        }
    }
    // Compatible strings are lists of NUL-terminated strings.
    static std::string compatible(const std::string& kind) { return kind + '\0' + "arm,armv8" + '\0'; }
};

TEST_F(CoreCountsTest, CapacitiesSplitLargeFromSmallCores) {
    // An M1: four efficiency cores boot first, then four performance cores.
    write(root() / "devices/system/cpu/present", "0-7");
    cpus(0, 3, "cpu_capacity", "427");
    cpus(4, 7, "cpu_capacity", "1024");
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{4, 4}));

    // Clusters of one kind may differ a little; a CPU not present is not counted.
    cpus(6, 7, "cpu_capacity", "1006");
    cpus(8, 9, "cpu_capacity", "1024");
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{4, 4}));
    write(root() / "devices/system/cpu/present", "0-3,5,8-9");
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{3, 4}));
}

TEST_F(CoreCountsTest, WithoutACapacitySplitTheCoreKindsDecide) {
    // An M2 Pro whose kernel gives every core the same capacity: 4 efficiency, 8 performance.
    write(root() / "devices/system/cpu/present", "0-11");
    cpus(0, 11, "cpu_capacity", "1024");
    cpus(0, 3, "of_node/compatible", compatible("apple,blizzard"));
    cpus(4, 11, "of_node/compatible", compatible("apple,avalanche"));
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{8, 4}));

    // The higher top frequency names the performance kind, whichever kind boots.
    cpus(0, 3, "cpufreq/cpuinfo_max_freq", "3504000");
    cpus(4, 11, "cpufreq/cpuinfo_max_freq", "2424000");
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{4, 8}));

    // A third kind is no two-level split.
    cpus(11, 11, "of_node/compatible", compatible("apple,everest"));
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{0, 0}));
}

TEST_F(CoreCountsTest, TheDeviceTreeAloneIsEnough) {
    const fs::path cpusNode = root() / "firmware/devicetree/base/cpus";
    for (const char* node : {"cpu@0", "cpu@1"}) {
        write(cpusNode / node / "compatible", compatible("apple,sawtooth"));
    }
    for (const char* node : {"cpu@10100", "cpu@10101", "cpu@10102", "cpu@10103"}) {
        write(cpusNode / node / "compatible", compatible("apple,everest"));
    }
    write(cpusNode / "cpu@10103" / "status", std::string("disabled") + '\0'); // fused off
    write(cpusNode / "cpu@10102" / "status", std::string("okay") + '\0');
    write(cpusNode / "cpu-map" / "cluster0" / "core0" / "cpu", "x"); // not a core
    write(cpusNode / "l2-cache0" / "compatible", std::string("cache") + '\0');
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{3, 2}));
}

TEST_F(CoreCountsTest, UniformOrUnreadableProcessorsHaveNoSplit) {
    EXPECT_EQ(hostCoreCounts(root() / "absent"), (CoreCounts{0, 0}));

    // x86: CPUs with nothing to tell them apart, and no device tree.
    write(root() / "devices/system/cpu/present", "0-7");
    write(root() / "devices/system/cpu/online", "0-7");
    cpus(0, 7, "topology/core_id", "0");
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{0, 0}));

    // Uniform ARM: one capacity, one kind.
    cpus(0, 7, "cpu_capacity", "1024");
    cpus(0, 7, "of_node/compatible", compatible("arm,cortex-a72"));
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{0, 0}));

    // A garbled capacity falls back to the kinds, and a garbled CPU list to every cpuN directory.
    cpus(0, 3, "of_node/compatible", compatible("arm,cortex-a53"));
    cpus(2, 2, "cpu_capacity", "many");
    write(root() / "devices/system/cpu/present", "3-1");
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{4, 4}));
}

// Supplies as "NAME: file=value, file=value".
class PowerSupplyTree : public SysfsTree {
protected:
    void supply(const std::string& description, const fs::path& under) const {
        const std::size_t colon = description.find(": ");
        std::istringstream files(description.substr(colon + 2));
        for (std::string item; std::getline(files, item, ',');) {
            const std::size_t start = item.find_first_not_of(' ');
            const std::size_t equals = item.find('=');
            testing::writeFile(under / "class/power_supply" / description.substr(0, colon) /
                                   item.substr(start, equals - start),
                               item.substr(equals + 1));
        }
    }
    void supply(const std::string& description) const { supply(description, root()); }
};

constexpr const char* adapterOff = "AC: type=Mains, online=0";
constexpr const char* thinkPadBattery =
    "BAT0: type=Battery, status=Discharging, power_now=9870000, voltage_now=11500000, energy_full=50000000";
constexpr const char* mouse =
    "hidpp_battery_0: type=Battery, scope=Device, status=Discharging, power_now=500000, energy_full=2000000";

TEST_F(PowerSupplyTree, ReadsSourceFlowAndCapacityOfEachMachine) {
    struct Case {
        const char* name;
        PowerTelemetry expected;
        std::vector<std::string> supplies;
    };
    const std::vector<Case> cases{
        // A MacBook's smart battery gives charge and a signed current.
        {"MacBookOnBattery",
         {PowerSource::battery, 18.0, false, false, 60.0},
         {"ADP1: type=Mains, online=0",
          "BAT0: type=Battery, status=Discharging, present=1, current_now=-1500000, "
          "voltage_now=12000000, charge_full=5000000"}},
        {"MacBookCharging",
         {PowerSource::ac, 25.0, true, false, 0.0},
         {"ADP1: type=Mains, online=1",
          "BAT0: type=Battery, status=Charging, current_now=2000000, voltage_now=12500000"}},
        // The mouse's battery (scope Device) adds neither flow nor capacity.
        {"ThinkPad", {PowerSource::battery, 9.87, false, false, 50.0}, {adapterOff, thinkPadBattery, mouse}},
        // A weak USB-C charger under load: the battery helps out, and the input still decides.
        {"UsbCAdapterOnline",
         {PowerSource::ac, 30.0, false, false, 0.0},
         {adapterOff, "ucsi-source-psy-USBC000:001: type=USB, online=1",
          "ucsi-source-psy-USBC000:002: type=USB, online=0",
          "BAT0: type=Battery, status=Discharging, power_now=-30000000"}},
        {"DesktopOnMains", {PowerSource::ac, 0.0, false, false, 0.0}, {"ACAD: type=Mains, online=1"}},
        {"NoSupplies", {PowerSource::unknown, 0.0, false, false, 0.0}, {}},
        // A discharging battery decides over an idle second one; capacities add up; an empty bay
        // counts for nothing.
        {"SecondBatteryIdle",
         {PowerSource::battery, 9.87, false, false, 116.0},
         {adapterOff, thinkPadBattery, "BAT1: type=Battery, status=Not charging, energy_full=66000000",
          "BAT2: type=Battery, status=Unknown, present=0, power_now=5000000, energy_full=9000000"}},
        // A held battery is fed from outside even with no adapter listed; an undecided one runs
        // the machine only when a listed adapter is offline.
        {"HeldNoAdapter", {PowerSource::ac, 0, false, false, 0}, {"BAT0: type=Battery, status=Not charging"}},
        {"Undecided", {PowerSource::unknown, 0, false, false, 0}, {"BAT0: type=Battery, status=Unknown"}},
        {"UndecidedBatteryAdapterOffline",
         {PowerSource::battery, 0, false, false, 0},
         {adapterOff, "BAT0: type=Battery, status=Unknown"}},
        {"GarbageNumbers",
         {PowerSource::battery, 0.0, false, false, 0.0},
         {"AC: type=Mains, online=yes",
          "BAT0: type=Battery, status=Discharging, power_now=NaN, current_now=1e400, "
          "voltage_now=99999999999999999999999, energy_full=-5, charge_full="}},
        {"PowerFallsBackToCurrentTimesVoltage",
         {PowerSource::ac, 12.0, false, false, 0.0},
         {"BAT0: type=Battery, status=Full, power_now=inf, current_now=-1000000, voltage_now=-12000000, "
          "energy_full=0, charge_full=4000000"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const fs::path tree = root() / c.name;
        fs::create_directories(tree);
        for (const std::string& description : c.supplies) {
            supply(description, tree);
        }
        EXPECT_EQ(readPowerSupplies(tree), c.expected);
    }
}

TEST_F(PowerSupplyTree, MonitorReadsValuesEachTimeAndListsSuppliesAgainWhenNeeded) {
    ManualClock clock;
    SupplyMonitor monitor(root(), clock, 10.0);
    supply(adapterOff);
    supply(thinkPadBattery);
    EXPECT_EQ(monitor.read().source, PowerSource::battery);

    // A new supply waits for the next listing.
    supply("ucsi-source-psy-USBC000:001: type=USB, online=1");
    EXPECT_EQ(monitor.read().source, PowerSource::battery);
    clock.advance(10.0);
    EXPECT_EQ(monitor.read().source, PowerSource::ac);

    // One that vanishes is noticed at once, and values are never kept.
    fs::remove_all(root() / "class/power_supply/ucsi-source-psy-USBC000:001");
    EXPECT_EQ(monitor.read().source, PowerSource::battery);
    supply("AC: online=1");
    EXPECT_EQ(monitor.read().source, PowerSource::ac);
}

TEST_F(PowerSupplyTree, AcpiLidStates) {
    const fs::path lids = root() / "acpi/button/lid";
    EXPECT_EQ(acpiLidClosed(root()), std::nullopt);
    testing::writeFile(lids / "LID0/state", "state:      open");
    EXPECT_EQ(acpiLidClosed(root()), false);
    testing::writeFile(lids / "LID1/state", "state: ajar");
    EXPECT_EQ(acpiLidClosed(root()), false);
    testing::writeFile(lids / "LID0/state", "state:      closed");
    EXPECT_EQ(acpiLidClosed(root()), true);
    testing::writeFile(lids / "LID0/state", "closed");
    EXPECT_EQ(acpiLidClosed(root()), std::nullopt);
}

TEST_F(PowerSupplyTree, LogindDecidesWhileItAnswersAndIsAskedAgainOnlyAfterAMinute) {
    ManualClock clock;
    std::optional<bool> logindAnswer = false;
    int asked = 0;
    LidMonitor lid(
        [&] {
            ++asked;
            return logindAnswer;
        },
        root(), clock);
    testing::writeFile(root() / "acpi/button/lid/LID0/state", "state:      closed");
    EXPECT_FALSE(lid.closed());
    EXPECT_FALSE(lid.closed());
    EXPECT_EQ(asked, 2);

    logindAnswer.reset();
    EXPECT_TRUE(lid.closed());
    clock.advance(59.0);
    EXPECT_TRUE(lid.closed());
    EXPECT_EQ(asked, 3);
    logindAnswer = false;
    clock.advance(1.0);
    EXPECT_FALSE(lid.closed());
    EXPECT_EQ(asked, 4);

    // With neither source the lid reads open, and the missing button is looked for again only a
    // minute later.
    LidMonitor nothing(nullptr, root() / "later", clock);
    EXPECT_FALSE(nothing.closed());
    testing::writeFile(root() / "later/acpi/button/lid/LID0/state", "state:      closed");
    clock.advance(59.0);
    EXPECT_FALSE(nothing.closed());
    clock.advance(1.0);
    EXPECT_TRUE(nothing.closed());
}

TEST(MicActivity, OnlyALiveStreamOnTheDefaultMicrophoneCounts) {
    const std::vector<SoundSource> sources{
        {4, "alsa_input.usb-mic", false},
        {0, "alsa_input.pci-analog", false},
        {1, "speakers.monitor", true},
        {7, "virtual.monitor", false}, // a monitor by its name alone
    };
    struct Case {
        const char* defaultSource;
        std::vector<RecordingStream> streams;
        bool expected;
    } const cases[] = {
        {"alsa_input.usb-mic", {{4, false}}, true},
        {"alsa_input.usb-mic", {{4, true}, {4, false}}, true},
        {"alsa_input.usb-mic", {{4, true}}, false},                // paused
        {"alsa_input.usb-mic", {{0, false}, {1, false}}, false},   // recording other sources
        {"alsa_input.pci-analog", {{4, false}, {0, false}}, true}, // matched by index, not position
        {"speakers.monitor", {{1, false}}, false},
        {"virtual.monitor", {{7, false}}, false},
        {"", {{4, false}}, false},              // no default source
        {"unplugged-mic", {{4, false}}, false}, // a default the server does not list
    };
    for (const Case& c : cases) {
        EXPECT_EQ(recordsFromDefaultSource(c.defaultSource, sources, c.streams), c.expected)
            << c.defaultSource;
    }
}

TEST(MicActivity, AlsaStatusRunsOnlyWhileRunningOrDraining) {
    EXPECT_TRUE(alsaStatusRunning("state: RUNNING\nowner_pid   : 812\ntrigger_time: 51.2\n"));
    EXPECT_TRUE(alsaStatusRunning("state:\tDRAINING\r\n"));
    for (const char* text :
         {"closed\n", "state: PREPARED\nowner_pid   : 812\n", "state: XRUN\n", "state: RUNNINGX\n",
          "owner_pid: 1\nstates: RUNNING\n", "", "\xff\xfe\n\n state: RUNNING"}) {
        EXPECT_FALSE(alsaStatusRunning(text)) << text;
    }
}

class MicActivityMonitorTest : public SysfsTree {
protected:
    void status(const fs::path& sub, const std::string& text) const {
        testing::writeFile(root() / "asound" / sub / "status", text);
    }

    std::string noServer = "unix:" + (root() / "no-server").string();
};

TEST_F(MicActivityMonitorTest, WithoutAServerAnyRunningAlsaCaptureCounts) {
    const auto monitor = makeLinuxMicActivityMonitor(root(), kSoundServerTimeout, noServer);
    EXPECT_FALSE(monitor->isMicrophoneInUse()); // no asound at all
    status("card0/pcm0c/sub0", "closed");
    status("card0/pcm0p/sub0", "state: RUNNING"); // playback
    status("card1/pcm3c/sub1", "state: PREPARED");
    status("cards/pcm0c/sub0", "state: RUNNING"); // not a card
    status("card1/pcm4c/subX", "state: RUNNING");
    status("card1/pcmc/sub0", "state: RUNNING");
    EXPECT_FALSE(monitor->isMicrophoneInUse());
    status("card1/pcm3c/sub2", "state: RUNNING");
    EXPECT_TRUE(monitor->isMicrophoneInUse());
    EXPECT_TRUE(alsaCaptureRunning(root()));
    EXPECT_FALSE(alsaCaptureRunning(root() / "absent"));
}

TEST_F(MicActivityMonitorTest, ASilentServerFallsBackToAlsaAfterTheTimeout) {
    const fs::path socketPath = root() / "silent";
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.string().copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(listener, 4), 0); // accepted by the kernel, never answered
    status("card0/pcm0c/sub0", "state: RUNNING");

    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(
        makeLinuxMicActivityMonitor(root(), std::chrono::milliseconds(100), "unix:" + socketPath.string())
            ->isMicrophoneInUse());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2)); // not hung
    close(listener);
}

} // namespace
} // namespace halvoren
