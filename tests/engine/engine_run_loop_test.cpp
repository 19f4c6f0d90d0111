#include "core/fan_key.h"
#include "engine_fixture.h"
#include "fakes/counting_transport.h"

namespace halvoren {
namespace {

using Flt = SMCDataType::Kind;

// A controller with TC0P at 50 °C and `fans` fans of 1200 ... 5800 RPM in `mode`, each targeting
// `rpm` and measuring it (the second one more).
FakeBridge fanMachine(int fans, double rpm, int mode) {
    FakeBridge machine = makeFakeBridge();
    machine.fake->setValue("TC0P", Flt::sp78, 50.0);
    machine.fake->setValue("FNum", Flt::ui8, fans);
    for (int fan = 0; fan < fans; ++fan) {
        machine.fake->setValue(FanKey::current(fan), Flt::flt, rpm + fan);
        machine.fake->setValue(FanKey::minimum(fan), Flt::flt, 1200);
        machine.fake->setValue(FanKey::maximum(fan), Flt::flt, 5800);
        machine.fake->setValue(FanKey::target(fan), Flt::flt, rpm);
        machine.fake->setValue(FanKey::mode(fan), Flt::ui8, mode);
    }
    return machine;
}
// One fan, forced by another program.
FakeBridge forcedFanMachine() {
    return fanMachine(1, 2400, 1);
}

// The run loop on a manual clock. Polls complete on the poller's worker thread, so each
// pass is awaited by pumping the event loop; sleeps end only when the test moves time.
class EngineRunLoopTest : public EngineTest {
protected:
    // Starts the loop and waits for its first pass.
    void startLoop() {
        engine->start();
        ASSERT_TRUE(pumpUntil([&] { return engine->passCount() >= 1; }));
    }

    // Moves time on and lets any pass that falls due run; returns the passes made so far.
    std::uint64_t advance(double seconds) {
        const std::uint64_t before = engine->passCount();
        timers.advance(seconds);
        pumpUntil([&] { return engine->passCount() > before; }, 100);
        pumpFor(5);
        return engine->passCount();
    }

    // Moves time on a tenth at a time until pass `last`; false when a step makes no pass or more than one.
    bool tenthsUntilPass(std::uint64_t last) {
        while (engine->passCount() < last) {
            if (const std::uint64_t before = engine->passCount(); advance(0.1) != before + 1) {
                return false;
            }
        }
        return true;
    }
};

TEST_F(EngineRunLoopTest, TheLoopSleepsASecondWhileTheFirmwareHasTheFansAndATenthOtherwise) {
    makeEngine();
    startLoop();
    // No controller: empty snapshots, and the loop keeps running.
    EXPECT_FALSE(engine->smcAvailable().value());
    EXPECT_TRUE(engine->fans().value().empty());
    EXPECT_EQ(engine->helperState().value(), HelperState::connected());
    EXPECT_EQ(advance(0.875), 1U);
    EXPECT_EQ(advance(0.125), 2U);

    // A curve chosen during the long sleep takes effect at its end, then the loop is fast.
    engine->selectPreset(FanPreset::quiet);
    EXPECT_EQ(advance(0.875), 2U);
    EXPECT_EQ(advance(0.125), 3U);
    EXPECT_EQ(advance(0.0625), 3U);
    EXPECT_EQ(advance(0.0625), 4U);

    engine->selectProfile(FanProfile::appleAuto());
    EXPECT_EQ(advance(0.125), 5U);
    EXPECT_EQ(advance(0.5), 5U);
    EXPECT_EQ(advance(0.5), 6U);
    EXPECT_TRUE(driver.writes.empty());
}

TEST_F(EngineRunLoopTest, AFanForcedByAnotherProgramKeepsTheFastRhythmAndIsReleasedEachPass) {
    const FakeBridge machine = forcedFanMachine();
    driver.bridge = machine.bridge;
    makeEngine();
    startLoop();
    const int releases = driver.restoreCalls;
    EXPECT_GE(releases, 1);

    EXPECT_EQ(advance(0.125), 2U);
    EXPECT_EQ(advance(0.125), 3U);
    EXPECT_EQ(driver.restoreCalls, releases + 2);
    EXPECT_EQ(driver.reopenCalls, 0);
    EXPECT_TRUE(driver.writes.empty());
}

TEST_F(EngineRunLoopTest, StartTwiceRunsOneLoopAndStopEndsASleepingLoopAtOnce) {
    makeEngine();
    engine->start();
    engine->start();
    ASSERT_TRUE(pumpUntil([&] { return engine->passCount() >= 1; }));
    pumpFor(20);
    EXPECT_EQ(engine->passCount(), 1U);
    EXPECT_EQ(advance(1.0), 2U);
    pumpFor(20);
    EXPECT_EQ(engine->passCount(), 2U);

    engine->stop();
    EXPECT_FALSE(engine->isRunning());
    EXPECT_EQ(timers.pendingCount(), 0U);
    EXPECT_EQ(advance(5.0), 2U);

    // A new start runs everything again.
    engine->start();
    ASSERT_TRUE(pumpUntil([&] { return engine->passCount() == 3; }));
    EXPECT_EQ(advance(1.0), 4U);
}

TEST_F(EngineRunLoopTest, EveryStartRebuildsThePipelinesBeforeTheFirstPass) {
    const FakeBridge machine = fanMachine(1, 2400, 0);
    machine.fake->setValue("TC0P", Flt::sp78, 85.0);
    driver.bridge = machine.bridge;
    makeEngine();
    engine->setSpoolRate(9000.0); // writes are the committed targets
    engine->selectPreset(FanPreset::auto_);
    startLoop();
    advance(0.1);
    EXPECT_EQ(driver.writes.back().rpm, 5800.0);

    // Restarted at 35 degrees, the first pass starts with a fresh filter and deadband: the curve's
    // lowest speed at once, not a step smoothed from the old state.
    engine->stop();
    machine.fake->setValue("TC0P", Flt::sp78, 35.0);
    timers.advance(1.0); // the next poll sweeps again
    const std::uint64_t passes = engine->passCount();
    engine->start();
    ASSERT_TRUE(pumpUntil([&] { return engine->passCount() > passes; }));
    EXPECT_EQ(driver.writes.back().rpm, 1200.0);
}

TEST_F(EngineRunLoopTest, TheControllerIsReopenedAtMostEvery5sUntilItComesBack) {
    makeEngine();
    engine->selectPreset(FanPreset::auto_); // the fast rhythm: 50 passes in 5 s
    startLoop();
    EXPECT_EQ(driver.reopenCalls, 1);
    ASSERT_TRUE(tenthsUntilPass(45));
    EXPECT_EQ(driver.reopenCalls, 1);
    ASSERT_TRUE(tenthsUntilPass(55));
    EXPECT_EQ(driver.reopenCalls, 2);

    // The next attempt finds the controller: the new poller serves the following pass.
    const FakeBridge machine = forcedFanMachine();
    driver.reopenedBridge = machine.bridge;
    ASSERT_TRUE(tenthsUntilPass(105));
    EXPECT_EQ(driver.reopenCalls, 3);
    EXPECT_TRUE(engine->smcAvailable().value());
    EXPECT_EQ(engine->fans().value().size(), 1U);
    ASSERT_TRUE(tenthsUntilPass(170));
    EXPECT_EQ(driver.reopenCalls, 3);
}

TEST_F(EngineRunLoopTest, ThePowerAndMicrophoneSlicesKeepTheirOwnRhythm) {
    power->set(
        PowerReading{.telemetry = {.source = PowerSource::battery, .systemWatts = 9.0}, .clamshell = true});
    makeEngine();
    engine->selectPreset(FanPreset::auto_); // the fast rhythm
    startLoop();
    // Both slices ran before the first control tick; the microphone is not asked while off.
    EXPECT_EQ(engine->powerTelemetry().value(),
              (PowerTelemetry{.source = PowerSource::battery, .systemWatts = 9.0, .isClamshell = true}));
    EXPECT_EQ(power->calls(), 1);
    EXPECT_TRUE(tenthsUntilPass(10));
    EXPECT_EQ(power->calls(), 1);
    EXPECT_TRUE(tenthsUntilPass(11));
    EXPECT_EQ(power->calls(), 2);

    engine->setMeetingQuietEnabled(true);
    microphone->inUse = true;
    EXPECT_TRUE(tenthsUntilPass(100));
    EXPECT_EQ(microphone->calls, 0);
    EXPECT_TRUE(tenthsUntilPass(101));
    EXPECT_EQ(microphone->calls, 1);
    EXPECT_TRUE(engine->meetingQuietActive().value());

    // After a long sleep each slice runs once, not once per missed period.
    clock.sleepMachine(3600.0);
    advance(0.1);
    EXPECT_EQ(power->calls(), 12);
    EXPECT_EQ(microphone->calls, 2);
}

// Two fans, a GPU sensor and a power key, and HID sources that count how often they are made. Asynchronous
// polls come back through the event loop.
class SensorPollerTest : public ::testing::Test {
protected:
    SensorPoller::HIDSourceFactory factory() {
        return [this] {
            ++hidMade;
            return std::make_unique<HIDSensorSource>([] {
                return std::vector<std::pair<std::string, double>>{{"PMU tdie3", 48.0}, {"PMU tdie3", 52.0}};
            });
        };
    }

    int argc = 0;
    QCoreApplication app{argc, nullptr};
    int hidMade = 0;
    ManualClock clock;
    FakeBridge machine = [] {
        FakeBridge twoFans = fanMachine(2, 1800, 0);
        twoFans.fake->setValue("PSTR", Flt::flt, 12.5); // a power key
        twoFans.fake->setValue("Tg0f", Flt::flt, 44.0);
        return twoFans;
    }();
    SensorPoller poller{machine.bridge, clock, factory()};
};

TEST_F(SensorPollerTest, SweepsAtMostOncePerSecondWhileFansAreReadEveryPoll) {
    const auto first = poller.pollNow();
    EXPECT_TRUE(first.smcAvailable);
    EXPECT_TRUE(first.sensorsRefreshed);
    ASSERT_EQ(first.temperatures.size(), 2U);
    EXPECT_EQ(first.temperatures[0].key, "TC0P");
    EXPECT_EQ(first.temperatures[1].key, "Tg0f");
    // Controller sensors of every class in index order (fan speeds included), then the HID
    // ones (the median of the two readings).
    ASSERT_EQ(first.allSensors.size(), 6U);
    EXPECT_EQ(first.allSensors[1].key, "F0Ac");
    EXPECT_EQ(first.allSensors[3].key, "PSTR");
    EXPECT_EQ(first.allSensors[5].key, "hid:PMU tdie3");
    EXPECT_EQ(first.allSensors[5].name, "Die Sensor 3");
    EXPECT_DOUBLE_EQ(first.allSensors[5].currentTemp, 50.0);
    ASSERT_EQ(first.fans.size(), 2U);
    EXPECT_DOUBLE_EQ(first.fans[1].currentRPM, 1801.0);

    // Half a second later: no sweep and no sensors, but the fans read anew.
    machine.fake->setValue("TC0P", Flt::sp78, 60.0);
    machine.fake->setValue(FanKey::current(0), Flt::flt, 2500);
    clock.advance(0.5);
    machine.fake->resetCounts();
    const auto second = poller.pollNow();
    EXPECT_FALSE(second.sensorsRefreshed);
    EXPECT_TRUE(second.temperatures.empty());
    EXPECT_TRUE(second.allSensors.empty());
    EXPECT_DOUBLE_EQ(second.fans[0].currentRPM, 2500.0);
    // Between sweeps a poll costs the fan count plus five reads per fan, all with cached key information.
    EXPECT_EQ(machine.fake->totalCalls(), 1 + 5 * 2);
    EXPECT_EQ(machine.fake->calls(SMCCommand::keyInformation), 0);

    // Exactly one second after the last sweep is due again.
    clock.advance(0.5);
    const auto third = poller.pollNow();
    EXPECT_TRUE(third.sensorsRefreshed);
    EXPECT_DOUBLE_EQ(third.temperatures[0].currentTemp, 60.0);
    EXPECT_EQ(hidMade, 1); // made once, on first use
}

TEST_F(SensorPollerTest, DiscoveryRepeatsUntilItYieldsSomething) {
    machine.fake->failEveryCall(-536870212);
    const auto failed = poller.pollNow();
    EXPECT_TRUE(failed.smcAvailable);
    EXPECT_TRUE(failed.temperatures.empty());
    EXPECT_TRUE(failed.fans.empty());

    // The controller answers again before the next sweep is due: discovery runs on this
    // poll anyway, and its values wait for the next sweep.
    machine.fake->clearFailures();
    clock.advance(0.2);
    const auto recovered = poller.pollNow();
    EXPECT_FALSE(recovered.sensorsRefreshed);
    EXPECT_EQ(recovered.fans.size(), 2U);
    clock.advance(0.8);
    EXPECT_EQ(poller.pollNow().temperatures.size(), 2U);

    // Once something was discovered, the walk is never repeated.
    machine.fake->resetCounts();
    clock.advance(1.0);
    poller.pollNow();
    EXPECT_EQ(machine.fake->calls(SMCCommand::keyByIndex), 0);
}

TEST_F(SensorPollerTest, WarmUpDiscoversOnTheWorkerAheadOfTheFirstSnapshot) {
    SensorPoller::Snapshot result;
    int walksAfterWarmUp = -1;
    auto run = [&]() -> QCoro::Task<> {
        co_await poller.warmUp();
        machine.fake->resetCounts();
        result = co_await poller.snapshot();
        walksAfterWarmUp = machine.fake->calls(SMCCommand::keyByIndex);
    };
    const auto done = begin(run());
    ASSERT_TRUE(pumpUntil([&] { return done->done(); }));
    EXPECT_EQ(walksAfterWarmUp, 0);
    EXPECT_TRUE(result.sensorsRefreshed);
    EXPECT_EQ(result.temperatures.size(), 2U);
    EXPECT_EQ(result.fans.size(), 2U);
}

TEST_F(SensorPollerTest, CheapPollsStayOnTheCallingThreadAndSlowOnesGoBackToTheWorker) {
    // Limits far from the fake's real cost, so that a loaded machine cannot change the verdicts.
    SensorPoller poller(machine.bridge, clock, factory(), std::chrono::milliseconds(50));
    const std::thread::id here = std::this_thread::get_id();
    std::vector<bool> onCaller;
    auto run = [&]() -> QCoro::Task<> {
        // Fan polls within the second, then a sweep, then fan polls of a slow controller.
        for (int poll = 0; poll < 7; ++poll) {
            if (poll == 3) {
                clock.advance(SensorPoller::sweepInterval);
            }
            if (poll == 5) {
                machine.fake->setDelay(std::chrono::milliseconds(10));
            }
            co_await poller.snapshot();
            onCaller.push_back(machine.fake->lastThread() == here);
        }
    };
    const auto done = begin(run());
    ASSERT_TRUE(pumpUntil([&] { return done->done(); }));
    // Nothing is known before the first poll with a sweep and the first without; the second sweep
    // follows a cheap first; the slow poll still runs in place, the one after it hops.
    EXPECT_EQ(onCaller, (std::vector<bool>{false, false, true, true, true, true, false}));
}

} // namespace
} // namespace halvoren
