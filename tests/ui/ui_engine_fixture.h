#pragma once

#include "core/helper_constants.h"
#include "engine/engine_test_support.h"
#include "engine/halvoren_engine.h"
#include "fakes/fake_application_watcher.h"
#include "fakes/fake_fan_driver.h"
#include "fakes/fake_mic_activity_monitor.h"
#include "fakes/fake_notification_center.h"
#include "fakes/fake_power_state_observer.h"
#include "fakes/fake_process_cpu_times.h"
#include "smc/hid_sensor_source.h"
#include "ui_test_support.h"

#include <QSettings>
#include <QTemporaryDir>
#include <memory>

namespace halvoren {

// Views on a real engine over a scripted driver, a manual clock and a settings file of their
// own. Sweeps are handed to `apply`.
class UiEngineTest : public UiTest {
protected:
    UiEngineTest()
        : settings(dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat) {
        makeEngine();
    }

    // A new engine over the same driver, clock and settings file, as after a relaunch.
    void makeEngine() {
        engine.reset();
        engine = std::make_unique<HalvorenEngine>(
            FanProfile::appleAuto(),
            HalvorenEngine::Environment{.driver = driver,
                                        .timers = timers,
                                        .settings = settings,
                                        .coreCounts = [] { return DeviceSensorMap::CoreCounts{}; },
                                        .hidFactory =
                                            [] {
                                                return std::make_unique<HIDSensorSource>([] {
                                                    return std::vector<std::pair<std::string, double>>{};
                                                });
                                            },
                                        .power = std::make_shared<FakePowerStateObserver>(),
                                        .microphone = std::make_shared<FakeMicActivityMonitor>(),
                                        .applications = std::make_shared<FakeApplicationWatcher>(),
                                        .notifications = notifications,
                                        .timeZone = QTimeZone(QByteArrayLiteral("Europe/Berlin")),
                                        .dataDirectory = dir.path(),
                                        .processCPUTimes = std::make_shared<FakeProcessCPUTimes>()});
    }

    static SMCSensor temperature(std::string key, std::string name, double celsius,
                                 SensorCategory category = SensorCategory::cpu) {
        return SMCSensor{.id = key,
                         .key = key,
                         .name = std::move(name),
                         .category = category,
                         .currentTemp = celsius,
                         .sensorClass = SensorClass::temperature,
                         .unit = "°C"};
    }

    // One sweep that reads these sensors and fans; nothing runs the control loop.
    void sweep(std::vector<SMCSensor> sensors, std::vector<FanStatus> fans = {}) {
        SensorPoller::Snapshot snapshot;
        for (const SMCSensor& sensor : sensors) {
            if (sensor.sensorClass == SensorClass::temperature) {
                snapshot.temperatures.push_back(sensor);
            }
        }
        snapshot.allSensors = std::move(sensors);
        snapshot.fans = std::move(fans);
        snapshot.smcAvailable = true;
        snapshot.sensorsRefreshed = true;
        engine->apply(snapshot);
    }
    // One sweep where a named CPU sensor reads `celsius`, with these fans.
    void sweep(double celsius, std::vector<FanStatus> fans) {
        sweep({temperature("TC0P", "CPU Proximity", celsius)}, std::move(fans));
    }

    void connect() {
        driver.version = std::string(helperBuildVersion);
        driver.state = HelperState::connected();
        engine->refreshHelperState();
        ASSERT_TRUE(pumpUntil([&] { return engine->helperState().value() == HelperState::connected(); }));
    }

    QTemporaryDir dir;
    QSettings settings;
    ManualClock clock;
    ManualTimerSource timers{clock};
    FakeFanDriver driver;
    std::shared_ptr<FakeNotificationCenter> notifications = std::make_shared<FakeNotificationCenter>();
    std::unique_ptr<HalvorenEngine> engine;
};

} // namespace halvoren
