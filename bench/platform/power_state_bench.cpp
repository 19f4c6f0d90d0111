#include "platform/linux/power_supplies.h"
#include "platform/power_state.h"

#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace halvoren {
namespace {

namespace fs = std::filesystem;

// A laptop's supplies as a ThinkPad lists them: an adapter, two USB-C inputs, the battery and a
// wireless mouse. The observer reads it once a second.
class LaptopTree {
public:
    LaptopTree() {
        supply("AC", {{"type", "Mains"}, {"online", "0"}});
        supply("ucsi-source-psy-USBC000:001", {{"type", "USB"}, {"online", "0"}});
        supply("ucsi-source-psy-USBC000:002", {{"type", "USB"}, {"online", "0"}});
        supply("BAT0", {{"type", "Battery"},
                        {"status", "Discharging"},
                        {"present", "1"},
                        {"power_now", "9870000"},
                        {"voltage_now", "11500000"},
                        {"energy_full", "50000000"}});
        supply("hidpp_battery_0", {{"type", "Battery"}, {"scope", "Device"}, {"status", "Discharging"}});
    }
    fs::path root() const { return dir_.path().toStdString(); }

private:
    void supply(const std::string& name, const std::map<std::string, std::string>& files) const {
        const fs::path directory = root() / "class/power_supply" / name;
        fs::create_directories(directory);
        for (const auto& [file, text] : files) {
            std::ofstream(directory / file) << text << '\n';
        }
    }
    QTemporaryDir dir_;
};

// Listing the supplies and reading them, every call.
void BM_ListAndReadFakeLaptop(benchmark::State& state) {
    const LaptopTree tree;
    for (auto _ : state) {
        (void)_;
        benchmark::DoNotOptimize(LinuxPower::readPowerSupplies(tree.root()));
    }
}
BENCHMARK(BM_ListAndReadFakeLaptop)->Unit(benchmark::kMicrosecond);

// What a reading costs with the list kept between calls.
void BM_MonitorFakeLaptop(benchmark::State& state) {
    const LaptopTree tree;
    LinuxPower::SupplyMonitor monitor(tree.root(), SystemClock::shared());
    for (auto _ : state) {
        (void)_;
        benchmark::DoNotOptimize(monitor.read());
    }
}
BENCHMARK(BM_MonitorFakeLaptop)->Unit(benchmark::kMicrosecond);

void BM_ListAndReadThisMachine(benchmark::State& state) {
    for (auto _ : state) {
        (void)_;
        benchmark::DoNotOptimize(LinuxPower::readPowerSupplies("/sys"));
    }
    state.SetLabel(std::to_string(LinuxPower::systemSupplies("/sys").size()) + " supplies");
}
BENCHMARK(BM_ListAndReadThisMachine)->Unit(benchmark::kMicrosecond);

// The whole reading of this machine: /sys, then logind (asked again once a minute after a
// failure) or the ACPI lid.
void BM_SystemObserverThisMachine(benchmark::State& state) {
    const std::shared_ptr<PowerStateObserver> observer = systemPowerStateObserver();
    for (auto _ : state) {
        (void)_;
        benchmark::DoNotOptimize(observer->reading());
    }
}
BENCHMARK(BM_SystemObserverThisMachine)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace halvoren
