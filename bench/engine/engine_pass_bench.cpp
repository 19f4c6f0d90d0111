// One pass of the engine's control loop while a curve drives the fans: the snapshot taken
// apart, then the control tick writing both fans of a two-fan laptop. The sensors are those
// of the simulated laptop; the scripted driver answers every write at once, so the helper
// link costs nothing here and the numbers are the engine's own work.

#include "alloc_counter.h"
#include "core/helper_constants.h"
#include "engine/engine_test_support.h"
#include "engine/halvoren_engine.h"
#include "engine/sensor_poller.h"
#include "fakes/fake_fan_driver.h"
#include "fakes/fake_power_state_observer.h"
#include "fakes/fake_process_cpu_times.h"
#include "platform/clock.h"
#include "platform/power_state.h"
#include "platform/timer_source.h"
#include "sim/load_scenario.h"
#include "sim/machine_profile.h"
#include "sim/simulated_mac.h"
#include "sim/simulated_smc_transport.h"
#include "smc/hid_sensor_source.h"
#include "smc/smc_kernel_bridge.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>
#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace halvoren {
namespace {

constexpr const char* machineName = "apple-silicon-laptop-2fan";
constexpr std::size_t machineFans = 2;
// Seconds of a long compile before recording starts, so the control temperature sits on the
// sloped part of the curve rather than below its foot.
constexpr double warmUpSeconds = 90.0;
constexpr std::size_t recordedSweeps = 20;

// What the poller handed the run loop over `recordedSweeps` seconds of the simulated laptop
// under load, one poll every control tick.
struct Recording {
    std::vector<SensorPoller::Snapshot> sweeps; // polls that made a sensor sweep, a second apart
    std::vector<SensorPoller::Snapshot> steady; // the polls between them: fans only
    DeviceSensorMap::CoreCounts cores;
};

Recording record() {
    const std::optional<MachineProfile> profile = MachineProfile::builtIn(machineName);
    if (!profile) {
        std::fprintf(stderr, "no built-in machine profile %s\n", machineName);
        std::abort();
    }
    ManualClock clock;
    auto mac = std::make_shared<SimulatedMac>(*profile, clock, 1, sustainedLoad());
    auto bridge = std::make_shared<SMCKernelBridge>(std::make_unique<SimulatedSMCTransport>(mac));
    // No readings from outside the controller: the host's own sensors would make the numbers
    // depend on the machine running the benchmark.
    SensorPoller poller(bridge, clock,
                        [] { return std::make_unique<HIDSensorSource>(HIDSensorSource::Backend{}); });
    poller.warmUpNow();
    clock.advance(warmUpSeconds);

    Recording recording;
    recording.cores = profile->coreCounts;
    while (recording.sweeps.size() < recordedSweeps) {
        SensorPoller::Snapshot snapshot = poller.pollNow();
        (snapshot.sensorsRefreshed ? recording.sweeps : recording.steady).push_back(std::move(snapshot));
        clock.advance(HalvorenEngine::controlTickInterval);
    }
    return recording;
}

const Recording& recording() {
    static const Recording recorded = record();
    return recorded;
}

// An engine with the helper connected and the standard curve active, on a manual clock and a
// settings file of its own.
class Rig {
public:
    explicit Rig(DeviceSensorMap::CoreCounts cores)
        : settings_(dir_.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat)
        , engine_(FanProfile::halvorenStandard(),
                  HalvorenEngine::Environment{.driver = driver_,
                                              .timers = timers_,
                                              .settings = settings_,
                                              .coreCounts = [cores] { return cores; },
                                              .hidFactory = {},
                                              // The almanac and heat files stay in the rig's folder.
                                              .dataDirectory = dir_.path(),
                                              .processCPUTimes = std::make_shared<FakeProcessCPUTimes>()}) {
        driver_.state = HelperState::connected();
        driver_.version = std::string(helperBuildVersion); // an older helper would be relaunched
        engine_.refreshHelperState();
        connected_ = pumpUntil([&] { return engine_.helperState().value() == HelperState::connected(); });
    }

    // Why the rig cannot measure, or empty.
    std::optional<std::string> fault() const {
        if (!connected_) {
            return "the helper state never became connected";
        }
        return fault_;
    }

    // The run loop's work between its poll and its sleep. The tick must finish before it
    // returns: nothing here waits on the event loop.
    void pass(const SensorPoller::Snapshot& snapshot) {
        engine_.apply(snapshot);
        tick(snapshot);
    }

    void tick(const SensorPoller::Snapshot& snapshot) {
        QCoro::Task<void> task = engine_.applyControlTick(*engine_.activeProfile().value(), snapshot.fans);
        if (!task.isReady()) {
            fault_ = "the control tick did not complete at once";
        } else if (driver_.writes.size() != snapshot.fans.size()) {
            fault_ = "the control tick wrote " + std::to_string(driver_.writes.size()) + " targets for " +
                     std::to_string(snapshot.fans.size()) + " fans";
        }
        driver_.writes.clear(); // keeps its capacity, so the record costs no allocation
        clock_.advance(HalvorenEngine::controlTickInterval);
    }

    const HalvorenEngine& engine() const { return engine_; }
    HalvorenEngine& mutableEngine() { return engine_; }

private:
    QTemporaryDir dir_;
    QSettings settings_;
    ManualClock clock_;
    ManualTimerSource timers_{clock_};
    FakeFanDriver driver_;
    HalvorenEngine engine_;
    bool connected_ = false;
    std::optional<std::string> fault_;
};

// Fails the benchmark when the rig could not run the path it claims to measure.
bool checked(benchmark::State& state, const Rig& rig) {
    if (const std::optional<std::string> fault = rig.fault()) {
        state.SkipWithError(fault->c_str());
        return false;
    }
    return true;
}

void reportContext(benchmark::State& state, const Rig& rig, std::uint64_t allocations) {
    state.counters["allocs_per_call"] =
        benchmark::Counter(static_cast<double>(allocations), benchmark::Counter::kAvgIterations);
    state.counters["sensors"] = static_cast<double>(rig.engine().allSensors()->size());
    state.counters["control_C"] = rig.engine().controlTemperature().value();
}

// A rig that has run a minute of passes, so the sensor history is full and every fan has its
// deadband, ramp and pipeline: the state of a loop that has been running for a while.
std::unique_ptr<Rig> warmedRig() {
    const Recording& rec = recording();
    auto rig = std::make_unique<Rig>(rec.cores);
    for (std::size_t i = 0; i < HalvorenEngine::sensorHistoryLength + 1; ++i) {
        rig->pass(rec.sweeps[i % rec.sweeps.size()]);
        for (std::size_t j = 0; j < 9; ++j) {
            rig->pass(rec.steady[(i * 9 + j) % rec.steady.size()]);
        }
    }
    return rig;
}

// Nine passes in ten: only the fans were read.
void BM_SteadyPass(benchmark::State& state) {
    const Recording& rec = recording();
    const auto rig = warmedRig();
    std::size_t i = 0;
    const std::uint64_t before = bench::allocationCount();
    for (auto _ : state) {
        rig->pass(rec.steady[i]);
        i = (i + 1) % rec.steady.size();
    }
    const std::uint64_t made = bench::allocationCount() - before;
    if (checked(state, *rig)) {
        reportContext(state, *rig, made);
    }
}
BENCHMARK(BM_SteadyPass)->Unit(benchmark::kMicrosecond);

// The pass once a second: a fresh sweep runs the device sensor map and the history.
void BM_SweepPass(benchmark::State& state) {
    const Recording& rec = recording();
    const auto rig = warmedRig();
    std::size_t i = 0;
    const std::uint64_t before = bench::allocationCount();
    for (auto _ : state) {
        rig->pass(rec.sweeps[i]);
        i = (i + 1) % rec.sweeps.size();
    }
    const std::uint64_t made = bench::allocationCount() - before;
    if (checked(state, *rig)) {
        reportContext(state, *rig, made);
    }
}
BENCHMARK(BM_SweepPass)->Unit(benchmark::kMicrosecond);

// The control tick alone, without the snapshot's fan map: what the curve, the deadbands, the
// ramp and the two writes cost by themselves.
void BM_ControlTick(benchmark::State& state) {
    const Recording& rec = recording();
    const auto rig = warmedRig();
    std::size_t i = 0;
    const std::uint64_t before = bench::allocationCount();
    for (auto _ : state) {
        rig->tick(rec.steady[i]);
        i = (i + 1) % rec.steady.size();
    }
    const std::uint64_t made = bench::allocationCount() - before;
    if (checked(state, *rig)) {
        reportContext(state, *rig, made);
    }
}
BENCHMARK(BM_ControlTick)->Unit(benchmark::kMicrosecond);

// The menu-bar label as the end of every pass builds it. Arg 0: nothing changed, so the
// new state only meets the published one; arg 1: the fastest fan moved 100 RPM, which the
// label publishes (the snapshot's fans are applied first, as the pass does); arg 2: that
// apply alone, to subtract from arg 1.
void BM_MenuBarLabel(benchmark::State& state) {
    const Recording& rec = recording();
    const auto rig = warmedRig();
    HalvorenEngine& engine = rig->mutableEngine();
    std::array<SensorPoller::Snapshot, 2> moving{rec.steady[0], rec.steady[0]};
    std::ranges::max_element(moving[1].fans, {}, &FanStatus::currentRPM)->currentRPM += 100.0;
    engine.apply(moving[0]);
    engine.publishMenuBarLabelState();
    std::int64_t published = 0;
    engine.menuBarLabelModel().observe([&published](const MenuBarLabelState&) { ++published; });
    std::size_t i = 0;
    const std::uint64_t before = bench::allocationCount();
    for (auto _ : state) {
        if (state.range(0) > 0) {
            i ^= 1U;
            engine.apply(moving[i]);
        }
        if (state.range(0) < 2) {
            engine.publishMenuBarLabelState();
        }
    }
    const std::uint64_t made = bench::allocationCount() - before;
    if (published != (state.range(0) == 1 ? static_cast<std::int64_t>(state.iterations()) : 0)) {
        state.SkipWithError("the label was not published exactly when the fan moved");
    } else if (checked(state, *rig)) {
        reportContext(state, *rig, made);
    }
}
BENCHMARK(BM_MenuBarLabel)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

// The one-second slice as the run loop makes it: the power reading on a pooled worker thread,
// awaited, then the lid, the power telemetry and the quiet-hours evaluation on this thread.
// Arg 0: a fixed reading, so only the hop and the engine's work count; arg 1: this machine's
// own power state (sysfs, logind).
void BM_OneSecondSlice(benchmark::State& state) {
    const auto rig = warmedRig();
    HalvorenEngine& engine = rig->mutableEngine();
    std::shared_ptr<PowerStateObserver> observer =
        state.range(0) == 0 ? std::make_shared<FakePowerStateObserver>() : systemPowerStateObserver();
    for (auto _ : state) {
        QFuture<PowerReading> reading =
            QtConcurrent::run(QThreadPool::globalInstance(), [observer] { return observer->reading(); });
        reading.waitForFinished();
        const PowerReading result = reading.result();
        engine.setClamshell(result.clamshell);
        engine.updatePowerTelemetry(result.telemetry);
        engine.evaluateQuietHours(SystemClock::shared().wallNow());
    }
    checked(state, *rig);
}
BENCHMARK(BM_OneSecondSlice)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond)->UseRealTime();

// The analytics of one second together: the sweep into the history with the alerts and fan
// health, the trend's fit and the weather (smoother, almanac, forecast, hourly strip).
void BM_AnalyticsSecond(benchmark::State& state) {
    const Recording& rec = recording();
    const auto rig = warmedRig();
    HalvorenEngine& engine = rig->mutableEngine();
    std::size_t i = 0;
    const std::uint64_t before = bench::allocationCount();
    for (auto _ : state) {
        const SensorPoller::Snapshot& sweep = rec.sweeps[i];
        rig->pass(sweep); // moves the clock on, so the trend sees a new instant
        engine.recordTelemetry(sweep);
        engine.updateThermalTrend();
        engine.updateWeather();
        i = (i + 1) % rec.sweeps.size();
    }
    const std::uint64_t made = bench::allocationCount() - before;
    if (checked(state, *rig)) {
        reportContext(state, *rig, made);
    }
}
BENCHMARK(BM_AnalyticsSecond)->Unit(benchmark::kMicrosecond);

// Each step of that second alone, on a warmed engine: one sweep into the history (with the
// alerts and fan health), one weather update.
void BM_TelemetryRecord(benchmark::State& state) {
    const Recording& rec = recording();
    const auto rig = warmedRig();
    HalvorenEngine& engine = rig->mutableEngine();
    std::size_t i = 0;
    for (auto _ : state) {
        engine.recordTelemetry(rec.sweeps[i]);
        i = (i + 1) % rec.sweeps.size();
    }
}
BENCHMARK(BM_TelemetryRecord)->Unit(benchmark::kMicrosecond);

void BM_WeatherUpdate(benchmark::State& state) {
    const auto rig = warmedRig();
    HalvorenEngine& engine = rig->mutableEngine();
    for (auto _ : state) {
        engine.updateWeather();
    }
}
BENCHMARK(BM_WeatherUpdate)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace halvoren
