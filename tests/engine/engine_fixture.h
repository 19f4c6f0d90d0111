#pragma once

#include "core/helper_constants.h"
#include "engine/halvoren_engine.h"
#include "engine_test_support.h"
#include "fakes/fake_application_watcher.h"
#include "fakes/fake_fan_driver.h"
#include "fakes/fake_mic_activity_monitor.h"
#include "fakes/fake_notification_center.h"
#include "fakes/fake_power_state_observer.h"
#include "fakes/fake_process_cpu_times.h"
#include "platform/clock.h"
#include "platform/timer_source.h"
#include "smc/hid_sensor_source.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QSettings>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

namespace halvoren {

// An engine on a scripted driver, a manual clock and a settings file of its own. No
// controller: snapshots are handed to `apply` and ticks are called directly, or the run
// loop polls an empty poller.
class EngineTest : public ::testing::Test {
protected:
    // The helper reports the app's own version, so no relaunch adds state queries of its own.
    EngineTest()
        : settings(dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat) {
        driver.version = std::string(helperBuildVersion);
    }

    // An engine over `from` and this fixture's fakes; the run loop, if started, ends with it.
    std::unique_ptr<HalvorenEngine> engineOver(QSettings& from,
                                               std::optional<FanProfile> initial = FanProfile::appleAuto()) {
        return std::make_unique<HalvorenEngine>(
            std::move(initial),
            HalvorenEngine::Environment{.driver = driver,
                                        .timers = timers,
                                        .settings = from,
                                        .coreCounts = [] { return DeviceSensorMap::CoreCounts{}; },
                                        .hidFactory = noHIDSensors,
                                        .power = power,
                                        .microphone = microphone,
                                        .applications = applications,
                                        .notifications = notifications,
                                        .timeZone = QTimeZone(QByteArrayLiteral("Europe/Berlin")),
                                        .dataDirectory = dir.path(),
                                        .processCPUTimes = processes});
    }
    void makeEngine(std::optional<FanProfile> initial = FanProfile::appleAuto()) {
        engine = engineOver(settings, std::move(initial));
    }

    // The helper's state as the driver answers it from now on, once the supervisor has committed it.
    void helperBecomes(const HelperState& state) {
        driver.state = state;
        engine->refreshHelperState();
        ASSERT_TRUE(pumpUntil([&] { return engine->helperState().value() == state; }));
    }
    void connect() { helperBecomes(HelperState::connected()); }

    static FanStatus fan(int id, double current, double min = 1200.0, double max = 6000.0) {
        return FanStatus{.id = id, .currentRPM = current, .minRPM = min, .maxRPM = max};
    }

    // One fan 6400 RPM wide: every fraction of its range used here is an exact speed.
    static constexpr double wideMin = 1000.0;
    static constexpr double wideMax = 7400.0;
    static std::vector<FanStatus> wideFan() { return {fan(0, 2000.0, wideMin, wideMax)}; }

    // A named sensor (its name differs from its key), so it counts as trusted.
    static SMCSensor temperatureSensor(std::string key, double celsius,
                                       SensorCategory category = SensorCategory::cpu) {
        return SMCSensor{.id = key,
                         .key = key,
                         .name = "Sensor " + key,
                         .category = category,
                         .currentTemp = celsius,
                         .sensorClass = SensorClass::temperature,
                         .unit = "°C"};
    }

    // A sweep with these temperatures and fans.
    static SensorPoller::Snapshot sweep(std::vector<SMCSensor> temperatures, std::vector<FanStatus> fans) {
        return {.temperatures = temperatures,
                .allSensors = temperatures,
                .fans = std::move(fans),
                .smcAvailable = true,
                .sensorsRefreshed = true};
    }

    // Runs a tick coroutine to its end; the fake driver completes at once.
    void run(QCoro::Task<void>&& task) {
        const auto outcome = begin(std::move(task));
        ASSERT_TRUE(pumpUntil([&] { return outcome->done(); }, 1000));
    }

    // One control tick of the active profile over these fans.
    void tick(const std::vector<FanStatus>& fans) {
        ASSERT_TRUE(engine->activeProfile().value().has_value());
        run(engine->applyControlTick(*engine->activeProfile().value(), fans));
    }

    // A sweep where the one trusted sensor reads `celsius`, then a control tick.
    void tickAt(double celsius, const std::vector<FanStatus>& fans) {
        engine->apply(sweep({temperatureSensor("TC0P", celsius)}, fans));
        tick(fans);
    }
    // A tick at `celsius` on the wide fan, and the speed written, or the fraction of its range.
    double rpmAt(double celsius) {
        tickAt(celsius, wideFan());
        return driver.writes.back().rpm;
    }
    double fractionAt(double celsius) { return (rpmAt(celsius) - wideMin) / (wideMax - wideMin); }

    // A wall time in the engine's time zone, on the test clock's day.
    Clock::WallTime localTime(int hour, int minute, int dayOffset = 0) const {
        const QTimeZone zone(QByteArrayLiteral("Europe/Berlin"));
        const auto start =
            std::chrono::duration_cast<std::chrono::milliseconds>(clock.wallNow().time_since_epoch()).count();
        const QDate day = QDateTime::fromMSecsSinceEpoch(start, zone).date().addDays(dayOffset);
        const QDateTime local(day, QTime(hour, minute), zone);
        return Clock::WallTime{std::chrono::milliseconds{local.toMSecsSinceEpoch()}};
    }

    // Counts the change signals of one observed field.
    template <class T>
    std::shared_ptr<int> countChanges(const Observable<T>& field) {
        auto count = std::make_shared<int>(0);
        field.observe([count](const T&) { ++*count; });
        return count;
    }

    // No HID temperatures: only what the scripted controller holds.
    static std::unique_ptr<HIDSensorSource> noHIDSensors() {
        return std::make_unique<HIDSensorSource>(
            [] { return std::vector<std::pair<std::string, double>>{}; });
    }

    int argc = 0;
    QCoreApplication app{argc, nullptr}; // the poller's results come back through the event loop
    QTemporaryDir dir;
    QSettings settings;
    ManualClock clock;
    ManualTimerSource timers{clock};
    FakeFanDriver driver;
    std::shared_ptr<FakePowerStateObserver> power = std::make_shared<FakePowerStateObserver>();
    std::shared_ptr<FakeMicActivityMonitor> microphone = std::make_shared<FakeMicActivityMonitor>();
    std::shared_ptr<FakeApplicationWatcher> applications = std::make_shared<FakeApplicationWatcher>();
    std::shared_ptr<FakeNotificationCenter> notifications = std::make_shared<FakeNotificationCenter>();
    std::shared_ptr<FakeProcessCPUTimes> processes = std::make_shared<FakeProcessCPUTimes>();
    std::unique_ptr<HalvorenEngine> engine;
};

} // namespace halvoren
