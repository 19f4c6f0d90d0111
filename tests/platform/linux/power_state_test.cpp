#include "platform/linux/power_supplies.h"

#include <QTemporaryDir>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

namespace halvoren::LinuxPower {
namespace {

namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>;
using Supplies = std::vector<std::pair<std::string, Files>>;

class PowerSupplyTree : public ::testing::Test {
protected:
    fs::path root() const { return dir.path().toStdString(); }
    void write(const fs::path& path, const std::string& text) const {
        fs::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }
    void supply(const std::string& name, const Files& files) const {
        fs::create_directories(root() / "class/power_supply" / name);
        for (const auto& [file, text] : files) {
            write(root() / "class/power_supply" / name / file, text + "\n");
        }
    }
    QTemporaryDir dir;
};

struct SupplyCase {
    const char* name;
    Supplies supplies;
    PowerSource source;
    double watts;
    bool charging;
    double wattHours;
};
void PrintTo(const SupplyCase& c, std::ostream* out) {
    *out << c.name;
}

const Files adapterOff{{"type", "Mains"}, {"online", "0"}};
const Files adapterOn{{"type", "Mains"}, {"online", "1"}};
// A MacBook's smart battery reports charge and a signed current.
const Files macBatteryDischarging{
    {"type", "Battery"},         {"status", "Discharging"},   {"present", "1"},
    {"current_now", "-1500000"}, {"voltage_now", "12000000"}, {"charge_full", "5000000"}};
const Files thinkPadBattery{{"type", "Battery"},
                            {"status", "Discharging"},
                            {"power_now", "9870000"},
                            {"voltage_now", "11500000"},
                            {"energy_full", "50000000"}};
const Files mouse{{"type", "Battery"},
                  {"scope", "Device"},
                  {"status", "Discharging"},
                  {"power_now", "500000"},
                  {"energy_full", "2000000"}};
const Files heldBattery{{"type", "Battery"}, {"status", "Not charging"}, {"energy_full", "66000000"}};
const Files unknownBattery{{"type", "Battery"}, {"status", "Unknown"}, {"energy_full", "66000000"}};

const std::vector<SupplyCase> supplyCases{
    {"MacBookOnBattery",
     {{"ADP1", adapterOff}, {"BAT0", macBatteryDischarging}},
     PowerSource::battery,
     18.0,
     false,
     60.0},
    {"MacBookCharging",
     {{"ADP1", adapterOn},
      {"BAT0",
       {{"type", "Battery"},
        {"status", "Charging"},
        {"current_now", "2000000"},
        {"voltage_now", "12500000"}}}},
     PowerSource::ac,
     25.0,
     true,
     0.0},
    {"ThinkPadOnBatteryWithAMouse",
     {{"AC", adapterOff}, {"BAT0", thinkPadBattery}, {"hidpp_battery_0", mouse}},
     PowerSource::battery,
     9.87,
     false,
     50.0},
    {"UsbCAdapterOnline",
     {{"AC", adapterOff},
      {"ucsi-source-psy-USBC000:001", {{"type", "USB"}, {"online", "1"}}},
      {"ucsi-source-psy-USBC000:002", {{"type", "USB"}, {"online", "0"}}},
      {"BAT0", {{"type", "Battery"}, {"status", "Charging"}, {"power_now", "-30000000"}}}},
     PowerSource::ac,
     30.0,
     true,
     0.0},
    {"DesktopOnMains", {{"ACAD", adapterOn}}, PowerSource::ac, 0.0, false, 0.0},
    {"DesktopWithOnlyAMouse", {{"hidpp_battery_0", mouse}}, PowerSource::unknown, 0.0, false, 0.0},
    {"NoSupplies", {}, PowerSource::unknown, 0.0, false, 0.0},
    // A discharging battery decides over an idle second one; capacities add up, an empty bay
    // counts for nothing.
    {"SecondBatteryIdle",
     {{"AC", adapterOff},
      {"BAT0", thinkPadBattery},
      {"BAT1", heldBattery},
      {"BAT2", {{"type", "Battery"}, {"status", "Unknown"}, {"present", "0"}, {"energy_full", "9000000"}}}},
     PowerSource::battery,
     9.87,
     false,
     116.0},
    // A held battery with no adapter listed is fed from outside; an undecided one is on its own
    // only when an adapter is listed and offline.
    {"HeldBatteryWithoutAdapter", {{"BAT0", heldBattery}}, PowerSource::ac, 0.0, false, 66.0},
    {"UndecidedBatteryWithoutAdapter", {{"BAT0", unknownBattery}}, PowerSource::unknown, 0.0, false, 66.0},
    {"UndecidedBatteryAdapterOffline",
     {{"AC", adapterOff}, {"BAT0", unknownBattery}},
     PowerSource::battery,
     0.0,
     false,
     66.0},
    {"GarbageNumbers",
     {{"AC", {{"type", "Mains"}, {"online", "yes"}}},
      {"BAT0",
       {{"type", "Battery"},
        {"status", "Discharging"},
        {"power_now", "NaN"},
        {"current_now", "1e400"},
        {"voltage_now", "99999999999999999999999"},
        {"energy_full", "-5"},
        {"charge_full", ""}}}},
     PowerSource::battery,
     0.0,
     false,
     0.0},
    {"PowerFallsBackToCurrentTimesVoltage",
     {{"BAT0",
       {{"type", "Battery"},
        {"status", "Full"},
        {"power_now", "inf"},
        {"current_now", "-1000000"},
        {"voltage_now", "-12000000"},
        {"energy_full", "0"},
        {"charge_full", "4000000"}}}},
     PowerSource::ac,
     12.0,
     false,
     0.0},
};

class SupplyCases : public PowerSupplyTree, public ::testing::WithParamInterface<SupplyCase> {};

TEST_P(SupplyCases, ReadsSourceFlowAndCapacity) {
    for (const auto& [name, files] : GetParam().supplies) {
        supply(name, files);
    }
    const PowerTelemetry telemetry = readPowerSupplies(root());
    EXPECT_EQ(telemetry.source, GetParam().source);
    EXPECT_NEAR(telemetry.systemWatts, GetParam().watts, 1e-9);
    EXPECT_EQ(telemetry.isCharging, GetParam().charging);
    EXPECT_NEAR(telemetry.batteryWattHours, GetParam().wattHours, 1e-9);
    EXPECT_FALSE(telemetry.isClamshell);
}

INSTANTIATE_TEST_SUITE_P(Machines, SupplyCases, ::testing::ValuesIn(supplyCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(PowerSupplyTree, MonitorReadsValuesEachTimeAndListsSuppliesAgainWhenNeeded) {
    ManualClock clock;
    SupplyMonitor monitor(root(), clock, 10.0);
    supply("AC", adapterOff);
    supply("BAT0", thinkPadBattery);
    EXPECT_EQ(monitor.read().source, PowerSource::battery);

    // A new supply waits for the next listing.
    supply("ucsi-source-psy-USBC000:001", {{"type", "USB"}, {"online", "1"}});
    EXPECT_EQ(monitor.read().source, PowerSource::battery);
    clock.advance(10.0);
    EXPECT_EQ(monitor.read().source, PowerSource::ac);

    // One that vanishes is noticed at once, and values are never kept.
    fs::remove_all(root() / "class/power_supply/ucsi-source-psy-USBC000:001");
    EXPECT_EQ(monitor.read().source, PowerSource::battery);
    supply("AC", adapterOn);
    EXPECT_EQ(monitor.read().source, PowerSource::ac);
}

TEST_F(PowerSupplyTree, AcpiLidStates) {
    const fs::path lids = root() / "acpi/button/lid";
    EXPECT_EQ(acpiLidClosed(root()), std::nullopt);
    write(lids / "LID0/state", "state:      open\n");
    EXPECT_EQ(acpiLidClosed(root()), false);
    write(lids / "LID1/state", "state: ajar\n");
    EXPECT_EQ(acpiLidClosed(root()), false);
    write(lids / "LID0/state", "state:      closed\n");
    EXPECT_EQ(acpiLidClosed(root()), true);
    write(lids / "LID0/state", "closed\n");
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
    write(root() / "acpi/button/lid/LID0/state", "state:      closed\n");
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

    // With neither source the lid reads open.
    LidMonitor nothing(nullptr, root() / "absent", clock);
    EXPECT_FALSE(nothing.closed());
}

} // namespace
} // namespace halvoren::LinuxPower
