#include "core/fan_key.h"
#include "engine_fixture.h"
#include "fakes/counting_transport.h"

namespace halvoren {
namespace {

using Flt = SMCDataType::Kind;

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

    // A one-fan controller whose fan another program has forced.
    static FakeBridge forcedFanMachine() {
        FakeBridge machine = makeFakeBridge();
        machine.fake->setValue("TC0P", Flt::sp78, 50.0);
        machine.fake->setValue("FNum", Flt::ui8, 1);
        machine.fake->setValue(FanKey::current(0), Flt::flt, 2400);
        machine.fake->setValue(FanKey::minimum(0), Flt::flt, 1200);
        machine.fake->setValue(FanKey::maximum(0), Flt::flt, 5800);
        machine.fake->setValue(FanKey::target(0), Flt::flt, 2400);
        machine.fake->setValue(FanKey::mode(0), Flt::ui8, 1);
        return machine;
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
    EXPECT_TRUE(engine->smcAvailable().value());
    ASSERT_EQ(engine->fans().value().size(), 1U);
    EXPECT_TRUE(engine->fans().value().at(0).isManaged);
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
    const FakeBridge machine = forcedFanMachine();
    machine.fake->setValue(FanKey::mode(0), Flt::ui8, 0);
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

} // namespace
} // namespace halvoren
