#include "core/sensor_selection.h"
#include "engine/engine_fixture.h"
#include "sim/machine_profile.h"
#include "sim/simulated_mac.h"
#include "sim/simulated_smc_transport.h"
#include "smc/smc_kernel_bridge.h"

#include <QFileInfo>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace halvoren {
namespace {

// Key tables of real machines, kept beside the checkout rather than in it.
std::filesystem::path realMacs() {
    return std::filesystem::path(HALVOREN_REAL_MACS_DIR);
}

// The engine on "Balanced" over an in-process simulated Mac, on the fixture's manual clock. Fan
// targets go to the scripted driver; the machine's own fans stay with its firmware.
class RealMachineProfileTest : public EngineTest {
protected:
    void TearDown() override {
        if (engine) {
            engine->stop();
            pumpFor(200); // a poll still on the poller's worker ends through the event loop
        }
    }

    // A built-in profile, or one of the shared folder; none when that folder is absent.
    static std::optional<MachineProfile> profile(const std::string& name) {
        if (auto builtIn = MachineProfile::builtIn(name);
            builtIn || !std::filesystem::is_directory(realMacs())) {
            return builtIn;
        }
        return MachineProfile::load(realMacs() / (name + ".json"));
    }

    void runBalanced(const MachineProfile& machine, std::unique_ptr<LoadScenario> load, double seconds) {
        mac = std::make_shared<SimulatedMac>(machine, clock, 7, std::move(load));
        driver.bridge = std::make_shared<SMCKernelBridge>(std::make_unique<SimulatedSMCTransport>(mac));
        driver.version = std::string(helperBuildVersion);
        engine = std::make_unique<HalvorenEngine>(
            FanProfile::appleAuto(),
            HalvorenEngine::Environment{.driver = driver,
                                        .timers = timers,
                                        .settings = settings,
                                        .coreCounts = [counts = machine.coreCounts] { return counts; },
                                        .hidFactory = noHIDSensors,
                                        .dataDirectory = QFileInfo(settings.fileName()).absolutePath(),
                                        .processCPUTimes = std::make_shared<FakeProcessCPUTimes>()});
        engine->start();
        ASSERT_TRUE(pumpUntil([&] { return engine->passCount() >= 1; }, 20000));
        // The preset takes over at the end of the first pass's long sleep.
        engine->selectPreset(FanPreset::auto_);
        runFor(HalvorenEngine::idleLoopInterval, HalvorenEngine::idleLoopInterval);
        runFor(seconds, HalvorenEngine::controlTickInterval);
    }

    // Moves the clock on in `step`s, letting the pass that falls due at each run to its end.
    void runFor(double seconds, double step) {
        const auto steps = static_cast<int>(std::ceil(seconds / step));
        for (int i = 0; i < steps; ++i) {
            const std::uint64_t before = engine->passCount();
            timers.advance(step);
            ASSERT_TRUE(pumpUntil([&] { return engine->passCount() > before; }, 5000))
                << "no pass at step " << i;
        }
    }

    // The last target written to each fan, as a share of its range.
    std::vector<double> fanFractions() const {
        std::vector<double> fractions;
        for (const SimulatedFan& fan : mac->fans()) {
            const std::vector<double> writes = driver.writesTo(static_cast<int>(fractions.size()));
            fractions.push_back(((writes.empty() ? fan.minimum : writes.back()) - fan.minimum) /
                                (fan.maximum - fan.minimum));
        }
        return fractions;
    }

    // The hottest live reading among the named sensors that `keep`.
    double hottestLive(const std::function<bool(const SMCSensor&)>& keep) const {
        double hottest = 0.0;
        for (const SMCSensor& sensor : engine->availableSensors().value()) {
            if (SensorSelection::isNamed(sensor) && SensorSelection::isLive(sensor.currentTemp) &&
                keep(sensor)) {
                hottest = std::max(hottest, sensor.currentTemp);
            }
        }
        return hottest;
    }
    double cpuDieMax() const {
        return hottestLive([](const SMCSensor& s) { return s.category == SensorCategory::cpu; });
    }
    // Everything but the GPU-fabric family `Tf?6`, which these machines report far above their dies.
    double hottestRealComponent() const {
        return hottestLive(
            [](const SMCSensor& s) { return !(s.key.starts_with("Tf") && s.key.ends_with("6")); });
    }

    std::shared_ptr<SimulatedMac> mac;
};

constexpr const char* skipText =
    "the real machines' key tables (../shared/real-macs beside the checkout) are absent";

TEST_F(RealMachineProfileTest, AnIdleM2MaxStaysQuietAndFollowsItsDies) {
    const auto machine = profile("m2max-mbp16-j416c");
    if (!machine) {
        GTEST_SKIP() << skipText;
    }
    runBalanced(*machine, idleLoad(), 30.0);
    const double control = engine->controlTemperature().value();
    EXPECT_NEAR(control, cpuDieMax(), 5.0);
    EXPECT_DOUBLE_EQ(control, hottestRealComponent());
    for (const double fraction : fanFractions()) {
        EXPECT_LE(fraction, 0.35);
    }
    ASSERT_TRUE(engine->cachedMenuBarHottestSensor().value().has_value());
    EXPECT_DOUBLE_EQ(engine->cachedMenuBarHottestSensor().value()->currentTemp, control);
}

TEST_F(RealMachineProfileTest, AnM2MaxWithLiveCoresTracksThemIdleAndUnderLoad) {
    const auto machine = profile("m2max-mbp16-j416c-active");
    if (!machine) {
        GTEST_SKIP() << skipText;
    }
    runBalanced(*machine, idleLoad(), 20.0);
    const double idle = engine->controlTemperature().value();
    EXPECT_DOUBLE_EQ(idle, hottestRealComponent());
    EXPECT_NEAR(idle, cpuDieMax(), 5.0);

    mac->setLoad(Load{1.0, 0.5});
    runFor(60.0, 0.5);
    const double loaded = engine->controlTemperature().value();
    EXPECT_GT(loaded, idle + 10.0);
    EXPECT_DOUBLE_EQ(loaded, hottestRealComponent());
}

// Machines whose keys hold no offset family: the hottest source is the plain named maximum.
class UnchangedProfileTest : public RealMachineProfileTest,
                             public ::testing::WithParamInterface<const char*> {};

TEST_P(UnchangedProfileTest, TheHottestSourceIsThePlainNamedMaximum) {
    const auto machine = profile(GetParam());
    if (!machine) {
        GTEST_SKIP() << skipText;
    }
    runBalanced(*machine, idleLoad(), 10.0);
    const double control = engine->controlTemperature().value();
    EXPECT_GT(control, 20.0);
    EXPECT_DOUBLE_EQ(control, hottestLive([](const SMCSensor&) { return true; }));
}

INSTANTIATE_TEST_SUITE_P(RealMachineProfileTest, UnchangedProfileTest,
                         ::testing::Values("apple-silicon-laptop-2fan", "apple-silicon-desktop-1fan",
                                           "apple-silicon-laptop-fanless", "intel-laptop",
                                           "intel-mbp15-2016"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             std::string name = info.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

} // namespace
} // namespace halvoren
