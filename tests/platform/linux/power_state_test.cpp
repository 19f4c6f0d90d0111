#include "../../smc/temp_directory.h"
#include "platform/linux/power_supplies.h"

#include <gtest/gtest.h>
#include <sstream>
#include <vector>

namespace halvoren::LinuxPower {
namespace {

namespace fs = std::filesystem;

// Supplies as "NAME: file=value, file=value".
class PowerSupplyTree : public ::testing::Test {
protected:
    fs::path root() const { return dir.path(); }
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
    testing::TempDirectory dir;
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
        {"ThinkPad", {PowerSource::battery, 9.87, false, false, 50.0}, {adapterOff, thinkPadBattery, mouse}},
        // A weak USB-C charger under load: the battery helps out, and the input still decides.
        {"UsbCAdapterOnline",
         {PowerSource::ac, 30.0, false, false, 0.0},
         {adapterOff, "ucsi-source-psy-USBC000:001: type=USB, online=1",
          "ucsi-source-psy-USBC000:002: type=USB, online=0",
          "BAT0: type=Battery, status=Discharging, power_now=-30000000"}},
        {"DesktopOnMains", {PowerSource::ac, 0.0, false, false, 0.0}, {"ACAD: type=Mains, online=1"}},
        {"DesktopWithOnlyAMouse", {PowerSource::unknown, 0.0, false, false, 0.0}, {mouse}},
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

} // namespace
} // namespace halvoren::LinuxPower
