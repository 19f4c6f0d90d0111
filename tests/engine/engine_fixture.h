#pragma once

#include "engine/halvoren_engine.h"
#include "engine_test_support.h"
#include "fakes/fake_fan_driver.h"
#include "platform/clock.h"
#include "platform/timer_source.h"

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
    EngineTest()
        : settings(dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat) {}

    HalvorenEngine& makeEngine(std::optional<FanProfile> initial = FanProfile::appleAuto()) {
        engine = std::make_unique<HalvorenEngine>(
            initial, HalvorenEngine::Environment{.driver = driver,
                                                 .timers = timers,
                                                 .settings = settings,
                                                 .coreCounts = [] { return DeviceSensorMap::CoreCounts{}; },
                                                 .hidFactory = {}});
        return *engine;
    }

    // Lets the supervisor commit a connected state, as the first refresh of a run does.
    void connect() {
        driver.state = HelperState::connected();
        engine->refreshHelperState();
        ASSERT_TRUE(pumpUntil([&] { return engine->helperState().value() == HelperState::connected(); }));
    }

    static FanStatus fan(int id, double current, double min = 1200.0, double max = 6000.0) {
        return FanStatus{.id = id, .currentRPM = current, .minRPM = min, .maxRPM = max};
    }

    static SMCSensor temperatureSensor(std::string key, double celsius,
                                       SensorCategory category = SensorCategory::cpu) {
        return SMCSensor{.id = key,
                         .key = key,
                         .name = key,
                         .category = category,
                         .currentTemp = celsius,
                         .sensorClass = SensorClass::temperature,
                         .unit = "°C"};
    }

    // A sweep with these temperatures and fans.
    static SensorPoller::Snapshot sweep(std::vector<SMCSensor> temperatures, std::vector<FanStatus> fans) {
        SensorPoller::Snapshot snapshot;
        snapshot.allSensors = temperatures;
        snapshot.temperatures = std::move(temperatures);
        snapshot.fans = std::move(fans);
        snapshot.smcAvailable = true;
        snapshot.sensorsRefreshed = true;
        return snapshot;
    }

    // Runs a tick coroutine to its end; the fake driver completes at once.
    void run(QCoro::Task<void>&& task) {
        ASSERT_TRUE(pumpUntil([&] { return begin(std::move(task))->done(); }, 1000));
    }

    QTemporaryDir dir;
    QSettings settings;
    ManualClock clock;
    ManualTimerSource timers{clock};
    FakeFanDriver driver;
    std::unique_ptr<HalvorenEngine> engine;
};

} // namespace halvoren
