#include "app/simulated_system.h"
#include "engine/engine_test_support.h"
#include "engine/halvoren_engine.h"
#include "engine/simulated_helper_service_manager.h"
#include "engine/smc_driver_actor.h"
#include "fakes/fake_power_state_observer.h"
#include "platform/timer_source.h"
#include "sim/machine_profile.h"
#include "sim/simulated_machine_host.h"
#include "smc/fan_control_protocol.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/types.h>

namespace halvoren {
namespace {

// The whole system on real time: the engine, the real helper daemon as a child process and
// the simulated two-fan laptop at idle.
class EndToEndTest : public ::testing::Test {
protected:
    int argc = 0;
    QCoreApplication app{argc, nullptr};
    // Destroyed after the system: cancelled timers are deleted later, which processEvents alone
    // never does, and left over they would be leaks to the next test in this process.
    struct DeferredDeletes {
        ~DeferredDeletes() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }
    } deferredDeletes;
    QTemporaryDir dir;
    QSettings settings{dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat};
    QtTimerSource timers;
    SimulatedSystem system{"apple-silicon-laptop-2fan", "idle", timers,
                           QStringLiteral(HALVOREN_HELPER_BINARY)};
    std::shared_ptr<FakePowerStateObserver> power = std::make_shared<FakePowerStateObserver>();
    HalvorenEngine engine{FanProfile::appleAuto(),
                          HalvorenEngine::Environment{.driver = system.driver(),
                                                      .timers = timers,
                                                      .settings = settings,
                                                      .coreCounts = [this] { return system.coreCounts(); },
                                                      .hidFactory = {},
                                                      .power = power}};

    void startConnected() {
        engine.setSpoolRate(9000.0); // no ramp: the tests are about the path, not the slew
        engine.start();
        engine.installHelper();
        ASSERT_TRUE(pumpUntil([&] { return connected(); }, 15000)) << engine.helperState()->description();
        ASSERT_TRUE(pumpUntil([&] { return !engine.fans()->empty(); }, 5000));
    }

    // Every fan forced at this fraction of its range.
    bool allFansAt(double fraction) const {
        return allFans([fraction](const FanStatus& f) {
            return f.isManaged && std::abs(f.targetRPM - (f.minRPM + fraction * (f.maxRPM - f.minRPM))) < 1.0;
        });
    }

    void stop() {
        engine.stop();
        // A poll still on the poller's worker finishes only through the event loop; let it, so the
        // loop's last pass ends before the engine goes.
        pumpFor(500);
    }

    bool connected() const { return engine.helperState().value() == HelperState::connected(); }

    // Every fan known, and each passes `test`.
    bool allFans(const std::function<bool(const FanStatus&)>& test) const {
        const auto& fans = engine.fans().value();
        if (fans.size() != 2) {
            return false;
        }
        return std::ranges::all_of(fans, [&](const auto& entry) { return test(entry.second); });
    }
};

TEST_F(EndToEndTest, PresetsDriveTheFansAndAKilledHelperIsReplacedAndResumed) {
    startConnected();

    engine.selectPreset(FanPreset::max);
    EXPECT_TRUE(pumpUntil(
        [&] {
            return allFans([](const FanStatus& f) {
                return f.isManaged && f.targetRPM == f.maxRPM && f.currentRPM > f.maxRPM - 100.0;
            });
        },
        20000))
        << "fans did not reach their maximum";

    // Idle under the quiet curve: the lowest quarter of the range at most.
    engine.selectPreset(FanPreset::quiet);
    EXPECT_TRUE(pumpUntil(
        [&] {
            return allFans([](const FanStatus& f) {
                return f.isManaged && f.targetRPM <= f.minRPM + 0.25 * (f.maxRPM - f.minRPM);
            });
        },
        20000))
        << "fans did not settle low";
    EXPECT_LT(engine.controlTemperature().value(), 60.0);

    engine.selectProfile(FanProfile::appleAuto());
    EXPECT_TRUE(pumpUntil([&] { return allFans([](const FanStatus& f) { return !f.isManaged; }); }, 10000))
        << "fans were not handed back";
    EXPECT_FALSE(engine.isControlling());

    engine.selectPreset(FanPreset::max);
    ASSERT_TRUE(pumpUntil([&] { return allFans([](const FanStatus& f) { return f.isManaged; }); }, 10000));
    const qint64 first = system.services().processId();
    ASSERT_GT(first, 0);
    ::kill(static_cast<pid_t>(first), SIGKILL);

    // The engine sees the link drop, the service starts a new helper, and control resumes.
    EXPECT_TRUE(pumpUntil(
        [&] {
            return connected() && system.services().processId() != first &&
                   allFans([](const FanStatus& f) { return f.isManaged && f.targetRPM == f.maxRPM; });
        },
        30000))
        << "control did not resume: " << engine.helperState()->description();
    stop();
}

TEST_F(EndToEndTest, UnpluggingSwitchesACustomModeToSilentStealthAndADustCyclePulsesAndRestores) {
    startConnected();
    const CustomMode mode = CustomMode::renderingTemplate();
    engine.addCustomMode(mode);
    engine.selectCustomMode(mode.id);
    power->set(PowerReading{.telemetry = {.source = PowerSource::battery}});
    EXPECT_TRUE(
        pumpUntil([&] { return engine.activeProfile().value() == FanProfile::silentStealth(); }, 3000));
    power->set(PowerReading{.telemetry = {.source = PowerSource::ac}});
    EXPECT_TRUE(
        pumpUntil([&] { return engine.activeProfile().value() == FanProfile::halvorenStandard(); }, 3000));
    EXPECT_FALSE(engine.activeCustomModeID().value());

    engine.startDustCycle();
    EXPECT_TRUE(pumpUntil([&] { return allFansAt(0.8); }, 3000)) << "no spin-up";
    EXPECT_TRUE(pumpUntil([&] { return allFansAt(0.3); }, 5000)) << "no spin-down";
    EXPECT_TRUE(
        pumpUntil([&] { return engine.dustCycleState().value() == DustCycleUIState::completed(); }, 30000));
    EXPECT_EQ(engine.activeProfile().value(), FanProfile::halvorenStandard());
    EXPECT_TRUE(pumpUntil([&] { return !allFansAt(0.3) && !allFansAt(0.8); }, 3000))
        << "the curve did not resume";
    stop();
}

TEST_F(EndToEndTest, ACooldownRunsTheFansAtMaximumThenHandsThemBack) {
    startConnected();
    engine.startCooldown(60.0);
    EXPECT_TRUE(pumpUntil([&] { return allFansAt(1.0); }, 5000)) << "fans did not reach their maximum";
    pumpFor(50000);
    EXPECT_TRUE(engine.isCoolingDown());
    EXPECT_TRUE(pumpUntil([&] { return allFans([](const FanStatus& f) { return !f.isManaged; }); }, 15000))
        << "fans were not handed back";
    EXPECT_FALSE(engine.isTurboEngaged().value());
    EXPECT_EQ(engine.activeProfile().value(), FanProfile::appleAuto());
    stop();
}

// Max and back to the firmware on a simulated Mac of each generation, through the real helper,
// and nothing left forced in the controller afterwards: no mode, no bit of "FS! ", no Ftst.
class GenerationsTest : public ::testing::Test {
protected:
    int argc = 0;
    QCoreApplication app{argc, nullptr};

    void maxThenHandBack(const std::string& profile) {
        SCOPED_TRACE(profile);
        run(profile);
        // As in EndToEndTest: what the system cancelled on its way out is deleted now.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void run(const std::string& profile) {
        QTemporaryDir dir;
        QSettings settings{dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat};
        QtTimerSource timers;
        SimulatedSystem system{profile, "idle", timers, QStringLiteral(HALVOREN_HELPER_BINARY)};
        HalvorenEngine engine{FanProfile::appleAuto(),
                              HalvorenEngine::Environment{.driver = system.driver(),
                                                          .timers = timers,
                                                          .settings = settings,
                                                          .coreCounts = [&] { return system.coreCounts(); },
                                                          .hidFactory = {}}};
        const auto fanCount = system.host().mac().fans().size();
        const auto allFans = [&](const std::function<bool(const FanStatus&)>& test) {
            const auto& fans = engine.fans().value();
            return fans.size() == fanCount &&
                   std::ranges::all_of(fans, [&](const auto& entry) { return test(entry.second); });
        };
        engine.setSpoolRate(9000.0);
        engine.start();
        engine.installHelper();
        ASSERT_TRUE(
            pumpUntil([&] { return engine.helperState().value() == HelperState::connected(); }, 15000));

        engine.selectPreset(FanPreset::max);
        EXPECT_TRUE(pumpUntil(
            [&] {
                return !engine.lastError().value() &&
                       allFans([](const FanStatus& f) { return f.isManaged && f.targetRPM == f.maxRPM; });
            },
            20000))
            << engine.lastError().value().value_or("fans not at their maximum");
        EXPECT_EQ(engine.drivingStatusSubtitle(), "Max cooling");

        engine.selectProfile(FanProfile::appleAuto());
        EXPECT_TRUE(
            pumpUntil([&] { return allFans([](const FanStatus& f) { return !f.isManaged; }); }, 10000));
        SimulatedMac& mac = system.host().mac();
        const auto bridge = system.host().openBridge();
        for (std::size_t fan = 0; fan < fanCount; ++fan) {
            EXPECT_FALSE(mac.fans()[fan].forced) << "fan " << fan;
        }
        if (mac.fanControl().kind == FanControl::forceBits) {
            EXPECT_EQ(bridge->read(FanControlKeys::forceBits), 0.0);
        }
        if (mac.fanControl().kind == FanControl::unlockModeKey) {
            EXPECT_EQ(bridge->read("Ftst"), 0.0);
        }
        engine.stop();
        pumpFor(500);
    }
};

TEST_F(GenerationsTest, MaxAndTheHandBackWorkOnEveryBuiltInMachineWithFans) {
    for (const auto& name : MachineProfile::builtInNames()) {
        if (!MachineProfile::named(name).thermal.fans.empty()) {
            maxThenHandBack(name);
        }
    }
}

TEST_F(GenerationsTest, MaxAndTheHandBackWorkOnARealIntelMacBookProOf2016) {
    const std::string profile = HALVOREN_REAL_MACS_DIR "/intel-mbp15-2016.json";
    if (!std::filesystem::exists(profile)) {
        GTEST_SKIP() << "no real-macs key tables at " << profile << " (they live beside the checkout)";
    }
    maxThenHandBack(profile);
}

} // namespace
} // namespace halvoren
