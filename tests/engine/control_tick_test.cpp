#include "engine_fixture.h"

namespace halvoren {
namespace {

// A fan whose range is 6400 RPM wide, under a curve that rises by 1/128 per degree: every
// degree is exactly 50 RPM, so the deadband's edges can be hit without rounding.
FanProfile linearCurve() {
    return FanProfile{Uuid::random(),
                      "Linear",
                      ControlMode::adaptiveCurve,
                      0,
                      "max",
                      {CurvePoint::make(0.0, 0.0), CurvePoint::make(128.0, 1.0)}};
}

class ControlTickTest : public EngineTest {
protected:
    void SetUp() override {
        makeEngine();
        connect();
    }

    std::vector<FanStatus> twoFans() const {
        return {fan(0, 2000.0, wideMin, wideMax), fan(1, 2000.0, wideMin, wideMax)};
    }

    // Makes the fans known, then locks them at `rpm`.
    void lockAt(std::int64_t rpm, const std::vector<FanStatus>& known) {
        engine->apply(sweep({temperatureSensor("TC0P", 50.0)}, known));
        engine->setConstantRPM(rpm);
    }
};

TEST_F(ControlTickTest, TheRampClimbsAtTheSpoolRateFromTheMeasuredSpeed) {
    lockAt(4000, wideFan());
    for (int i = 0; i < 25; ++i) {
        tick(wideFan());
    }
    const std::vector<double> written = driver.writesTo(0);
    ASSERT_EQ(written.size(), 25U);
    EXPECT_EQ(written[0], 2090.0);
    EXPECT_EQ(written[21], 3980.0);
    EXPECT_EQ(written[22], 4000.0); // 2000 RPM at 90 per tick: the 23rd write reaches it
    EXPECT_EQ(written[24], 4000.0);
    EXPECT_EQ(engine->rampedTargets().at(0), 4000.0);

    // A new spool rate applies from the next write, downwards as well.
    engine->setSpoolRate(1200.0);
    engine->setConstantRPM(3000);
    tick(wideFan());
    EXPECT_EQ(driver.writes.back().rpm, 3880.0);
}

TEST_F(ControlTickTest, AnInstantSpoolRateWritesTheTargetAndKeepsWhatTheHelperApplied) {
    driver.limits[0] = {wideMin, 3500.0};
    engine->setSpoolRate(9000.0);
    lockAt(4000, wideFan());
    tick(wideFan());
    tick(wideFan());
    EXPECT_EQ(driver.writesTo(0), (std::vector<double>{4000.0, 4000.0}));
    EXPECT_EQ(engine->rampedTargets().at(0), 3500.0);

    // Just under the instant rate the ramp still limits, from the applied value.
    engine->setSpoolRate(8999.0);
    engine->setConstantRPM(1000);
    tick(wideFan());
    EXPECT_DOUBLE_EQ(driver.writes.back().rpm, 3500.0 - 899.9);
}

TEST_F(ControlTickTest, MaxCoolingClimbsUntilTheHelperReportsItsMaximum) {
    driver.limits[0] = {wideMin, 2150.0};
    engine->apply(sweep({temperatureSensor("TC0P", 50.0)}, wideFan()));
    engine->selectPreset(FanPreset::max);
    for (int i = 0; i < 4; ++i) {
        tick(wideFan());
    }
    // The target is Int.max; each write is one step above what the helper last applied.
    EXPECT_EQ(driver.writesTo(0), (std::vector<double>{2090.0, 2180.0, 2240.0, 2240.0}));
    EXPECT_EQ(engine->rampedTargets().at(0), 2150.0);
}

TEST_F(ControlTickTest, AHelperThatComesBackResumesFromTheOldRamp) {
    lockAt(4000, wideFan());
    tick(wideFan());
    tick(wideFan());
    ASSERT_EQ(engine->rampedTargets().at(0), 2180.0);

    helperBecomes(HelperState::notRegistered());
    tick(wideFan());
    EXPECT_EQ(driver.writes.size(), 2U);

    connect();
    tick(wideFan()); // the fan still measures 2000 RPM
    EXPECT_EQ(driver.writes.back().rpm, 2270.0);
}

TEST_F(ControlTickTest, TheDeadbandRisesBy50AndFallsBy150ThroughThePipeline) {
    engine->setSpoolRate(9000.0);
    engine->selectProfile(linearCurve());
    engine->setAcousticAlpha(1.0); // unsmoothed, so each tick's target is the curve's
    // desired:          3000   3025  3050   2925  2912.5  2900  2950
    for (const double celsius : {40.0, 40.5, 41.0, 38.5, 38.25, 38.0, 39.0}) {
        tickAt(celsius, wideFan());
    }
    EXPECT_EQ(driver.writesTo(0),
              (std::vector<double>{3000.0, 3000.0, 3050.0, 3050.0, 3050.0, 2900.0, 2950.0}));
}

TEST_F(ControlTickTest, ANewProfileOrSmoothingStartsUnsmoothedFromThePresentTemperature) {
    engine->setSpoolRate(9000.0);
    engine->selectProfile(linearCurve());
    tickAt(40.0, wideFan());                // seeds the filter: 3000
    EXPECT_NEAR(rpmAt(80.0), 3700.0, 1e-6); // 0.35 of the way from 40 to 80 degrees: 54 of 128

    // The same alpha again still restarts the filter and clears the deadband.
    engine->setAcousticAlpha(0.35);
    EXPECT_NEAR(rpmAt(80.0), 5000.0, 1e-6);

    // After selectPreset the first tick takes the new curve as it stands.
    engine->selectPreset(FanPreset::quiet);
    EXPECT_NEAR(rpmAt(75.0), wideMin + 0.5 * 6400.0, 1e-6);
}

TEST_F(ControlTickTest, AnEmptyCurveRunsOnTheCurveOfLastResortAndNoReadingAtAllOn0Degrees) {
    engine->setSpoolRate(9000.0);
    FanProfile empty = linearCurve();
    empty.curvePoints = {CurvePoint::make(50.0, 0.9)};
    engine->selectProfile(empty);
    EXPECT_NEAR(rpmAt(40.0), wideMin + 0.2 * 6400.0, 1e-6);

    engine->selectPreset(FanPreset::auto_);
    engine->setAcousticAlpha(1.0);
    EXPECT_EQ(rpmAt(85.0), wideMax);
    engine->apply(sweep({}, wideFan())); // every sensor gone
    EXPECT_TRUE(engine->controlSourceUnavailable().value());
    EXPECT_EQ(engine->controlTemperature().value(), 0.0);
    tick(wideFan());
    EXPECT_EQ(driver.writes.back().rpm, wideMin);
}

TEST_F(ControlTickTest, AFanWhoseLimitsCouldNotBeReadKeepsItsTargetAndTheOthersAreWritten) {
    engine->setSpoolRate(9000.0);
    engine->selectProfile(linearCurve());
    engine->setAcousticAlpha(1.0);
    // The reader gives 0 for a limit it could not read: the maximum alone, or both.
    tickAt(40.0, {fan(0, 2000.0, wideMin, 0.0), fan(1, 2000.0, 0.0, 0.0), fan(2, 2000.0, wideMin, wideMax)});
    EXPECT_EQ(driver.writes, (std::vector<FakeFanDriver::Write>{{2, 3000.0}}));

    // Once the limits read again, the fan is driven as before.
    tickAt(40.0, {fan(0, 2000.0, wideMin, wideMax)});
    EXPECT_EQ(driver.writesTo(0), (std::vector<double>{3000.0}));
}

TEST_F(ControlTickTest, ATimeoutSkipsTheRestOfTheTickAndRefreshesTheHelperState) {
    engine->setSpoolRate(9000.0);
    lockAt(3000, twoFans());
    const int queriesBefore = driver.stateCalls;

    driver.writeOutcomes = {DriverFailure::of(DriverError::timedOut)};
    tick(twoFans());
    EXPECT_EQ(driver.writes, (std::vector<FakeFanDriver::Write>{{0, 3000.0}}));
    EXPECT_EQ(engine->lastError().value(), "write failed: fan-control helper timed out");
    EXPECT_FALSE(engine->isControlling());
    EXPECT_EQ(driver.stateCalls, queriesBefore + 1);

    tick(twoFans());
    EXPECT_TRUE(engine->isControlling());
    EXPECT_FALSE(engine->lastError().value().has_value());

    // A timeout keeps isControlling as it was; the refresh waits out its 2 s debounce.
    driver.writes.clear();
    driver.writeOutcomes = {DriverFailure::of(DriverError::timedOut)};
    tick(twoFans());
    EXPECT_EQ(driver.writes.size(), 1U);
    EXPECT_TRUE(engine->isControlling());
    EXPECT_EQ(driver.stateCalls, queriesBefore + 1);

    timers.advance(2.0);
    driver.writeOutcomes = {DriverFailure::of(DriverError::timedOut)};
    tick(twoFans());
    EXPECT_EQ(driver.stateCalls, queriesBefore + 2);
}

TEST_F(ControlTickTest, APlainFailureIsReportedAndTheOtherFansAreStillWritten) {
    lockAt(4000, twoFans());
    const int queriesBefore = driver.stateCalls;
    const auto errorChanges = countChanges(engine->lastError());

    driver.writeOutcomes = {DriverFailure::helperRefused("fan 0 is busy"), std::nullopt};
    tick(twoFans());
    EXPECT_EQ(driver.writes, (std::vector<FakeFanDriver::Write>{{0, 2090.0}, {1, 2090.0}}));
    EXPECT_EQ(engine->lastError().value(), "write failed: fan 0 is busy");
    EXPECT_EQ(engine->drivingStatusSubtitle(), "Speed locked (fan writes failing)");
    // The helper answered, so the link is sound: its state is not asked for again.
    EXPECT_EQ(driver.stateCalls, queriesBefore);
    // The failed fan keeps the ramp value that was attempted.
    EXPECT_EQ(engine->rampedTargets().at(0), 2090.0);

    // The same text again tells no observer.
    timers.advance(2.0);
    driver.writeOutcomes = {DriverFailure::helperRefused("fan 0 is busy"), std::nullopt};
    tick(twoFans());
    EXPECT_EQ(driver.writesTo(0), (std::vector<double>{2090.0, 2180.0}));
    EXPECT_EQ(*errorChanges, 1);
    EXPECT_EQ(driver.stateCalls, queriesBefore);

    // A link that failed is another matter.
    driver.writeOutcomes = {std::nullopt, DriverFailure::linkFailed("the helper went away")};
    tick(twoFans());
    EXPECT_EQ(engine->lastError().value(), "write failed: the helper went away");
    EXPECT_EQ(driver.stateCalls, queriesBefore + 1);

    // A fully successful push clears it.
    tick(twoFans());
    EXPECT_FALSE(engine->lastError().value().has_value());
    EXPECT_EQ(engine->drivingStatusSubtitle(), "Speed locked");
    EXPECT_EQ(*errorChanges, 3);
    EXPECT_EQ(driver.stateCalls, queriesBefore + 1);
}

TEST_F(ControlTickTest, ReleasingToTheFirmwareAndRetryingAFailedRelease) {
    // Nothing forced: appleAuto writes and releases nothing.
    engine->apply(sweep({temperatureSensor("TC0P", 50.0)}, wideFan()));
    tick(wideFan());
    EXPECT_EQ(driver.restoreCalls, 0);

    // A fan forced by someone else is released on every tick while it stays forced.
    std::vector<FanStatus> forced = wideFan();
    forced[0].isManaged = true;
    tick(forced);
    tick(forced);
    EXPECT_EQ(driver.restoreCalls, 2);
    EXPECT_TRUE(driver.writes.empty());

    // Our own control: a failed release keeps the ramp and the flag, and the next tick retries.
    engine->setConstantRPM(3000);
    tick(wideFan());
    ASSERT_TRUE(engine->isControlling());
    driver.restoreFailures = {DriverFailure::linkFailed("helper went away")};
    engine->selectProfile(FanProfile::appleAuto());
    ASSERT_TRUE(pumpUntil([&] { return driver.restoreCalls == 3; }));
    EXPECT_EQ(engine->lastError().value(), "restore failed: helper went away");
    EXPECT_TRUE(engine->isControlling());
    EXPECT_FALSE(engine->rampedTargets().empty());

    tick(wideFan());
    EXPECT_EQ(driver.restoreCalls, 4);
    EXPECT_FALSE(engine->isControlling());
    EXPECT_TRUE(engine->rampedTargets().empty());
    // A successful release leaves the text for the next successful push to clear.
    EXPECT_EQ(engine->lastError().value(), "restore failed: helper went away");
    tick(wideFan());
    EXPECT_EQ(driver.restoreCalls, 4);

    engine->setConstantRPM(3000);
    run(engine->applyControlTick(*engine->activeProfile().value(), {})); // an empty push succeeds too
    EXPECT_FALSE(engine->lastError().value().has_value());
    EXPECT_EQ(driver.writes.size(), 1U);
}

TEST_F(ControlTickTest, UninstallingHandsOurFansBackBeforeTheHelperIsLetGo) {
    std::vector<int> restoresAtUnregister;
    driver.onUnregister = [&] { restoresAtUnregister.push_back(driver.restoreCalls); };
    lockAt(3000, wideFan());
    tick(wideFan());
    ASSERT_TRUE(engine->isControlling());
    engine->uninstallHelper();
    ASSERT_TRUE(pumpUntil([&] { return restoresAtUnregister.size() == 1; }));
    EXPECT_FALSE(engine->isControlling());
    // Controlling nothing, the engine leaves the hand-back to the driver's own unregister.
    engine->uninstallHelper();
    ASSERT_TRUE(pumpUntil([&] { return restoresAtUnregister.size() == 2; }));
    EXPECT_EQ(restoresAtUnregister, (std::vector<int>{1, 1}));
    EXPECT_EQ(engine->helperState().value(), HelperState::notRegistered());
}

TEST_F(ControlTickTest, WithoutAConnectedHelperNothingIsWrittenAndTheStateIsAskedForAtMostEvery2s) {
    lockAt(3000, wideFan());
    helperBecomes(HelperState::requiresApproval());
    const int queriesBefore = driver.stateCalls;

    // The supervisor's debounce spans both kinds of tick.
    tick(wideFan());
    run(engine->applyManualTick());
    EXPECT_EQ(driver.stateCalls, queriesBefore + 1);
    timers.advance(2.0);
    tick(wideFan());
    EXPECT_EQ(driver.stateCalls, queriesBefore + 2);

    // A curve neither writes nor advances its filter.
    engine->setSpoolRate(9000.0);
    engine->selectProfile(linearCurve());
    tickAt(40.0, wideFan());
    tickAt(80.0, wideFan());
    EXPECT_TRUE(driver.writes.empty());
    EXPECT_EQ(driver.restoreCalls, 0);
    connect();
    EXPECT_NEAR(rpmAt(80.0), 5000.0, 1e-6);
}

} // namespace
} // namespace halvoren
