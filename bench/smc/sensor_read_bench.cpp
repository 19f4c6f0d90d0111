// Cost of reading the machine: a full discovery and a sensor sweep on each simulated
// profile, with the number of controller exchanges each makes. With HALVOREN_BENCH_SYSFS naming
// an applesmc hwmon tree (bench/lib/fake_applesmc.sh makes one), the sweep and the fan poll also
// run through the applesmc transport on it, beside the bare reads of the same attribute files.
#include "platform/clock.h"
#include "sim/load_scenario.h"
#include "sim/machine_profile.h"
#include "sim/simulated_mac.h"
#include "sim/simulated_smc_transport.h"
#include "smc/sensor_discovery.h"
#include "smc/smc_fan_reader.h"
#if defined(__linux__)
#include "smc/linux/applesmc_transport.h"
#endif
#include "smc/smc_kernel_bridge.h"

#include <atomic>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <unistd.h>
#include <vector>

namespace halvoren {
namespace {

// Counts the exchanges that reach the controller.
class CountingDecorator final : public SMCTransport {
public:
    CountingDecorator(std::unique_ptr<SMCTransport> inner, std::atomic<long>& count)
        : inner_(std::move(inner))
        , count_(count) {}
    SMCParamStruct call(const SMCParamStruct& input) override {
        ++count_;
        return inner_->call(input);
    }

private:
    std::unique_ptr<SMCTransport> inner_;
    std::atomic<long>& count_;
};

struct Machine {
    ManualClock clock;
    std::atomic<long> exchanges{0};
    std::shared_ptr<SimulatedMac> mac;
    std::shared_ptr<SMCKernelBridge> bridge;

    explicit Machine(const std::string& profile) {
        std::unique_ptr<SMCTransport> transport;
#if defined(__linux__)
        if (profile == "applesmc") {
            transport = std::make_unique<AppleSMCTransport>(std::getenv("HALVOREN_BENCH_SYSFS"));
        }
#endif
        if (!transport) {
            mac = std::make_shared<SimulatedMac>(*MachineProfile::builtIn(profile), clock, 1, idleLoad());
            transport = std::make_unique<SimulatedSMCTransport>(mac);
        }
        bridge = std::make_shared<SMCKernelBridge>(
            std::make_unique<CountingDecorator>(std::move(transport), exchanges));
    }
};

void discovery(benchmark::State& state, const std::string& profile) {
    Machine machine(profile);
    SensorDiscovery discovery(machine.bridge);
    discovery.discoverAll(); // warm the key-information cache: later discoveries reuse it
    machine.exchanges = 0;
    std::size_t kept = 0;
    for (auto _ : state) {
        kept = discovery.discoverAll().size();
        benchmark::DoNotOptimize(kept);
    }
    state.counters["sensors"] = static_cast<double>(kept);
    state.counters["exchanges"] =
        static_cast<double>(machine.exchanges) / static_cast<double>(state.iterations());
}

void coldDiscovery(benchmark::State& state, const std::string& profile) {
    long exchanges = 0;
    for (auto _ : state) {
        state.PauseTiming();
        Machine machine(profile);
        SensorDiscovery discovery(machine.bridge);
        state.ResumeTiming();
        benchmark::DoNotOptimize(discovery.discoverAll());
        exchanges = machine.exchanges;
    }
    state.counters["exchanges"] = static_cast<double>(exchanges);
}

void sweep(benchmark::State& state, const std::string& profile) {
    Machine machine(profile);
    SensorDiscovery discovery(machine.bridge);
    auto sensors = discovery.discoverAll();
    machine.exchanges = 0;
    for (auto _ : state) {
        sensors = discovery.refresh(sensors);
        benchmark::DoNotOptimize(sensors.data());
    }
    state.counters["exchanges"] =
        static_cast<double>(machine.exchanges) / static_cast<double>(state.iterations());
}

void fanPoll(benchmark::State& state, const std::string& profile) {
    Machine machine(profile);
    SMCFanReader reader(machine.bridge);
    reader.allFans();
    machine.exchanges = 0;
    std::size_t fans = 0;
    for (auto _ : state) {
        fans = reader.allFans().size();
        benchmark::DoNotOptimize(fans);
    }
    state.counters["fans"] = static_cast<double>(fans);
    state.counters["exchanges"] =
        static_cast<double>(machine.exchanges) / static_cast<double>(state.iterations());
}

// The floor under the applesmc cases: one read from the start of each of the tree's fan and
// temperature attributes, on descriptors kept open, as the lightest daemons read them.
void bareReads(benchmark::State& state) {
    std::vector<int> files;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(std::getenv("HALVOREN_BENCH_SYSFS"))) {
        const std::string name = entry.path().filename().string();
        if (name.ends_with("_input") && (name.starts_with("fan") || name.starts_with("temp"))) {
            files.push_back(::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC));
        }
    }
    char buffer[32];
    for (auto _ : state) {
        for (const int fd : files) {
            benchmark::DoNotOptimize(::pread(fd, buffer, sizeof buffer, 0));
        }
    }
    state.counters["files"] = static_cast<double>(files.size());
    for (const int fd : files) {
        ::close(fd);
    }
}

const char* const profiles[] = {"apple-silicon-laptop-2fan", "apple-silicon-desktop-1fan",
                                "apple-silicon-laptop-fanless", "intel-laptop"};

const bool registered = [] {
    std::vector<std::string> names(std::begin(profiles), std::end(profiles));
#if defined(__linux__)
    if (std::getenv("HALVOREN_BENCH_SYSFS") != nullptr) {
        names.emplace_back("applesmc");
        benchmark::RegisterBenchmark("bareReads/applesmc", bareReads)->Unit(benchmark::kMicrosecond);
    }
#endif
    for (const std::string& name : names) {
        benchmark::RegisterBenchmark(("coldDiscovery/" + name).c_str(), coldDiscovery, name)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark(("discovery/" + name).c_str(), discovery, name)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark(("sweep/" + name).c_str(), sweep, name)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark(("fanPoll/" + name).c_str(), fanPoll, name)
            ->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

} // namespace
} // namespace halvoren

BENCHMARK_MAIN();
