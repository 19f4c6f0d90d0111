#include "app/simulated_system.h"
#include "core/thermal_almanac.h"
#include "engine/engine_test_support.h"
#include "engine/halvoren_engine.h"
#include "engine/simulated_helper_service_manager.h"
#include "engine/smc_driver_actor.h"
#include "fakes/fake_notification_center.h"
#include "fakes/fake_process_cpu_times.h"
#include "fakes/fast_timer_source.h"
#include "platform/timer_source.h"
#include "sim/machine_profile.h"
#include "sim/simulated_machine_host.h"
#include "smc/fan_control_protocol.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/types.h>

namespace halvoren {
namespace {

// The whole system on real time: the engine, the real helper daemon as a child process and a
// simulated Mac at idle.
class Rig {
public:
    // `rate`: how many times faster than the wall the engine's and the machine's time runs.
    explicit Rig(const std::string& profile, double rate = 1.0)
        : timers(rate)
        , system(profile, "idle", timers, QStringLiteral(HALVOREN_HELPER_BINARY))
        , fanCount(system.host().mac().fans().size()) {}
    ~Rig() {
        engine.stop();
        // A poll still on the poller's worker finishes only through the event loop; let it, so the
        // loop's last pass ends before the engine goes.
        pumpFor(500);
    }
    Rig(const Rig&) = delete;
    Rig& operator=(const Rig&) = delete;

    bool startConnected() {
        engine.setSpoolRate(9000.0); // no ramp: the tests are about the path, not the slew
        engine.start();
        engine.installHelper();
        return pumpUntil([&] { return connected(); }, 15000) &&
               pumpUntil([&] { return !engine.fans()->empty(); }, 5000);
    }
    bool connected() const { return engine.helperState().value() == HelperState::connected(); }

    // Every fan known, and each passes `test`.
    bool allFans(const std::function<bool(const FanStatus&)>& test) const {
        const auto& fans = engine.fans().value();
        return fans.size() == fanCount &&
               std::ranges::all_of(fans, [&](const auto& entry) { return test(entry.second); });
    }
    // Every fan forced at this fraction of its range.
    bool allFansAt(double fraction) const {
        return allFans([fraction](const FanStatus& f) {
            return f.isManaged && std::abs(f.targetRPM - (f.minRPM + fraction * (f.maxRPM - f.minRPM))) < 1.0;
        });
    }
    bool allReleased() const {
        return allFans([](const FanStatus& f) { return !f.isManaged; });
    }

private:
    // Destroyed after the system: cancelled timers are deleted later, which processEvents alone
    // never does, and left over they would be leaks to the next test in this process.
    struct DeferredDeletes {
        ~DeferredDeletes() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }
    } deferredDeletes;
    QTemporaryDir dir;
    QSettings settings{dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat};
    FastTimerSource timers;

public:
    SimulatedSystem system;
    std::size_t fanCount;
    std::shared_ptr<FakeNotificationCenter> notifications = [] {
        auto none = std::make_shared<FakeNotificationCenter>();
        none->usable = false;
        return none;
    }();
    QString dataDirectory() const { return dir.path(); }
    HalvorenEngine engine{FanProfile::appleAuto(),
                          {.driver = system.driver(),
                           .timers = timers,
                           .settings = settings,
                           .coreCounts = [this] { return system.coreCounts(); },
                           .notifications = notifications,
                           .dataDirectory = dataDirectory(),
                           .processCPUTimes = std::make_shared<FakeProcessCPUTimes>()}};
};

class EndToEndTest : public ::testing::Test {
protected:
    int argc = 0;
    QCoreApplication app{argc, nullptr};

    // Max and back to the firmware through the real helper, and nothing left forced in the
    // controller afterwards: no mode, no bit of "FS! ", no Ftst.
    static void maxThenHandBack(const std::string& profile) {
        SCOPED_TRACE(profile);
        Rig rig(profile);
        HalvorenEngine& engine = rig.engine;
        ASSERT_TRUE(rig.startConnected()) << engine.helperState()->description();
        engine.selectPreset(FanPreset::max);
        EXPECT_TRUE(pumpUntil([&] { return !engine.lastError().value() && rig.allFansAt(1.0); }, 20000))
            << engine.lastError().value().value_or("fans not at their maximum");
        EXPECT_EQ(engine.drivingStatusSubtitle(), "Max cooling");

        engine.selectProfile(FanProfile::appleAuto());
        EXPECT_TRUE(pumpUntil([&] { return rig.allReleased(); }, 10000));
        EXPECT_FALSE(engine.isControlling());
        SimulatedMac& mac = rig.system.host().mac();
        const auto bridge = rig.system.host().openBridge();
        for (std::size_t fan = 0; fan < rig.fanCount; ++fan) {
            EXPECT_FALSE(mac.fans()[fan].forced) << "fan " << fan;
        }
        if (mac.fanControl().kind == FanControl::forceBits) {
            EXPECT_EQ(bridge->read(FanControlKeys::forceBits), 0.0);
        }
        if (mac.fanControl().kind == FanControl::unlockModeKey) {
            EXPECT_EQ(bridge->read("Ftst"), 0.0);
        }
    }
};

TEST_F(EndToEndTest, MaxAndTheHandBackWorkOnEveryBuiltInMachineWithFans) {
    for (const auto& name : MachineProfile::builtInNames()) {
        if (!MachineProfile::named(name).thermal.fans.empty()) {
            maxThenHandBack(name);
        }
    }
}

TEST_F(EndToEndTest, MaxAndTheHandBackWorkOnARealIntelMacBookProOf2016) {
    const std::string profile = HALVOREN_REAL_MACS_DIR "/intel-mbp15-2016.json";
    if (!std::filesystem::exists(profile)) {
        GTEST_SKIP() << "no real-macs key tables at " << profile << " (they live beside the checkout)";
    }
    maxThenHandBack(profile);
}

TEST_F(EndToEndTest, FansSettleLowOnQuietAndReachTheirMaximumAndAKilledHelperIsReplacedAndResumed) {
    Rig rig("apple-silicon-laptop-2fan");
    HalvorenEngine& engine = rig.engine;
    ASSERT_TRUE(rig.startConnected()) << engine.helperState()->description();
    // Idle under the quiet curve: the lowest quarter of the range at most.
    engine.selectPreset(FanPreset::quiet);
    EXPECT_TRUE(pumpUntil(
        [&] {
            return rig.allFans([](const FanStatus& f) {
                return f.isManaged && f.targetRPM <= f.minRPM + 0.25 * (f.maxRPM - f.minRPM);
            });
        },
        20000))
        << "fans did not settle low";
    EXPECT_LT(engine.controlTemperature().value(), 60.0);

    engine.selectPreset(FanPreset::max);
    ASSERT_TRUE(pumpUntil(
        [&] {
            return rig.allFans([](const FanStatus& f) {
                return f.isManaged && f.targetRPM == f.maxRPM && f.currentRPM > f.maxRPM - 100.0;
            });
        },
        20000))
        << "fans did not reach their maximum";
    const qint64 first = rig.system.services().processId();
    ASSERT_GT(first, 0);
    ::kill(static_cast<pid_t>(first), SIGKILL);

    // The engine sees the link drop, the service starts a new helper, and control resumes.
    EXPECT_TRUE(pumpUntil(
        [&] { return rig.connected() && rig.system.services().processId() != first && rig.allFansAt(1.0); },
        30000))
        << "control did not resume: " << engine.helperState()->description();
}

// The running loop, not a test, steps the cycle here.
TEST_F(EndToEndTest, ADustCyclePulsesTheFansThroughTheHelperAndRestoresTheCurve) {
    Rig rig("apple-silicon-laptop-2fan");
    HalvorenEngine& engine = rig.engine;
    ASSERT_TRUE(rig.startConnected());
    engine.selectProfile(FanProfile::halvorenStandard());
    engine.startDustCycle();
    EXPECT_TRUE(pumpUntil([&] { return rig.allFansAt(0.8); }, 3000)) << "no spin-up";
    EXPECT_TRUE(pumpUntil([&] { return rig.allFansAt(0.3); }, 5000)) << "no spin-down";
    EXPECT_TRUE(
        pumpUntil([&] { return engine.dustCycleState().value() == DustCycleUIState::completed(); }, 30000));
    EXPECT_EQ(engine.activeProfile().value(), FanProfile::halvorenStandard());
    EXPECT_TRUE(pumpUntil([&] { return !rig.allFansAt(0.3) && !rig.allFansAt(0.8); }, 3000))
        << "the curve did not resume";
    // The result shows for a while, then the idle state: no timer is left pending at the end.
    EXPECT_TRUE(pumpUntil([&] { return engine.dustCycleState().value() == DustCycleUIState::idle(); }, 3000));
}

// Four times faster than the wall: what takes minutes of the machine's time.
TEST_F(EndToEndTest, ACooldownRunsTheFansAtMaximumThenHandsThemBack) {
    Rig rig("apple-silicon-laptop-2fan", 4.0);
    HalvorenEngine& engine = rig.engine;
    ASSERT_TRUE(rig.startConnected());
    engine.startCooldown(60.0);
    EXPECT_TRUE(pumpUntil([&] { return rig.allFansAt(1.0); }, 5000)) << "fans did not reach their maximum";
    pumpFor(12500); // 50 s of the engine's time
    EXPECT_TRUE(engine.isCoolingDown());
    EXPECT_TRUE(pumpUntil([&] { return rig.allReleased(); }, 5000)) << "fans were not handed back";
    EXPECT_FALSE(engine.isTurboEngaged().value());
    EXPECT_EQ(engine.activeProfile().value(), FanProfile::appleAuto());
}

// A sustained load on the Balanced curve with pre-spool on, one fan obstructed to half its
// maximum and a CPU rule with auto-boost; then idle again and a stop that saves the almanac.
TEST_F(EndToEndTest, ALoadAndAnObstructedFanShowInTheAlertsAndTheAlmanac) {
    Rig rig("apple-silicon-laptop-2fan", 4.0);
    HalvorenEngine& engine = rig.engine;
    SimulatedMac& mac = rig.system.host().mac();
    mac.setFaults(FaultPlan{.obstructedFans = {{1, 0.5}}});
    engine.setPreSpoolEnabled(true);
    engine.setAlertRule(SensorCategory::cpu, true, 55.0, true);
    ASSERT_TRUE(rig.startConnected());
    engine.selectPreset(FanPreset::auto_);

    mac.setLoad(Load{1.0, 0.5});
    EXPECT_TRUE(pumpUntil([&] { return engine.thermalTrend()->etaMinutes().has_value(); }, 15000))
        << "the trend did not rise with a time: " << engine.thermalTrend()->label();
    EXPECT_TRUE(pumpUntil([&] { return engine.effectiveFloor() > 0.0; }, 5000))
        << "pre-spool did not lift the floor";

    // The rule's threshold is crossed on the way up; the fans' maximum holds the CPU above it.
    EXPECT_TRUE(pumpUntil([&] { return engine.isTurboEngaged().value(); }, 15000))
        << "auto-boost did not engage";
    // With no notification service the alerts are banners, the latest one showing.
    EXPECT_THAT(engine.alerts().inAppAlert().value().value_or(""), ::testing::HasSubstr("running hot"));
    // Commanded its maximum, the obstructed fan reaches half of it: warned after 90 s of that.
    EXPECT_TRUE(pumpUntil(
        [&] {
            const auto& warnings = engine.fanHealthWarnings().value();
            return warnings.contains(1) && warnings.at(1) == FanHealthMonitor::Warning::underperforming;
        },
        40000))
        << "no obstruction warning";
    EXPECT_FALSE(engine.fanHealthWarnings()->contains(0));
    EXPECT_THAT(engine.alerts().inAppAlert().value().value_or(""),
                ::testing::HasSubstr("only reaches 3150 of 6300 RPM"));
    const double hottest = engine.controlTemperature().value();

    mac.setLoad(idleLevel);
    EXPECT_TRUE(pumpUntil([&] { return !engine.isTurboEngaged().value(); }, 30000)) << "auto-boost held on";
    EXPECT_EQ(engine.activePreset().value(), FanPreset::auto_);

    engine.stop();
    engine.prepareForTermination();
    QFile file(QDir(rig.dataDirectory()).filePath(QStringLiteral("ThermalAlmanac.json")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const auto saved = decodeThermalAlmanac(file.readAll().toStdString());
    ASSERT_TRUE(saved && !saved->days.empty());
    double peak = 0.0;
    for (const auto& day : saved->days) {
        for (const auto& [hour, temp] : day.hourPeaks) {
            peak = std::max(peak, temp);
        }
    }
    EXPECT_GE(peak, hottest - 0.5); // a restart reads it back: the engine's weather test
}

} // namespace
} // namespace halvoren
