#include "automation_fixture.h"

namespace halvoren {
namespace {

using CooldownDustTest = AutomationTest;

TEST_F(CooldownDustTest, ACooldownEndsTurboAtItsTimeAndOnlyItsOwnTimerCounts) {
    after("quiet cooldown");
    const auto end = engine->cooldownEndDate().value();
    timers.advance(30.0);
    after("cooldown"); // neither a second cooldown nor an extension
    EXPECT_EQ(engine->cooldownEndDate().value(), end);
    timers.advance(30.0);
    EXPECT_EQ(state(), "quiet/Silent Stealth");

    // The first timer is cancelled with its cooldown; its wake-up must not end the second.
    after("cooldown");
    engine->cancelCooldown();
    EXPECT_EQ(state(), "quiet/Silent Stealth");
    timers.advance(30.0);
    after("cooldown");
    timers.advance(30.0);
    EXPECT_EQ(state(), "turbo cooling -/Turbo");
    timers.advance(30.0);
    EXPECT_EQ(state(), "quiet/Silent Stealth");
}

TEST_F(CooldownDustTest, ACooldownJoinsTheUsersTurboAndEndsItToo) {
    after("turbo cooldown");
    timers.advance(60.0);
    EXPECT_EQ(state(), "-/Halvoren Standard");

    // Ending Turbo by hand ends the cooldown with it; its timer then finds nothing to do.
    EXPECT_EQ(after("cooldown unturbo"), "-/Halvoren Standard");
    after("max turbo");
    timers.advance(60.0);
    EXPECT_EQ(state(), "turbo -/Turbo");
}

TEST_F(CooldownDustTest, ADustCyclePulsesEveryFanThenRestoresAndShowsTheResult) {
    engine->startDustCycle();
    EXPECT_EQ(engine->dustCycleState().value(), DustCycleUIState::running(25));
    engine->setSpoolRate(9000.0); // no ramp: the targets are the pattern's own
    struct Step {
        double at;
        double fan0, fan1; // fan 1's range is 1200 ... 6000
        int shown;
    };
    const Step steps[] = {{0.0, 5040.0, 5040.0, 25}, {3.0, 2640.0, 2640.0, 22}, {24.5, 2640.0, 2640.0, 1}};
    double now = 0.0;
    for (const Step& step : steps) {
        SCOPED_TRACE(step.at);
        timers.advance(step.at - now);
        now = step.at;
        driver.writes.clear();
        run(engine->applyDustStep());
        EXPECT_EQ(driver.writes, (std::vector<FakeFanDriver::Write>{{0, step.fan0}, {1, step.fan1}}));
        EXPECT_EQ(engine->dustCycleState().value(), DustCycleUIState::running(step.shown));
    }
    engine->selectPreset(FanPreset::max); // overwritten by the restore
    timers.advance(0.5);
    driver.writes.clear();
    run(engine->applyDustStep());
    EXPECT_TRUE(driver.writes.empty());
    EXPECT_EQ(engine->dustCycleState().value(), DustCycleUIState::completed());
    EXPECT_EQ(state(), "-/Halvoren Standard");
    timers.advance(1.5);
    EXPECT_EQ(engine->dustCycleState().value(), DustCycleUIState::idle());
}

TEST_F(CooldownDustTest, HeatOrALostHelperAbortsTheCycle) {
    engine->selectPreset(FanPreset::auto_);
    engine->startDustCycle();
    engine->apply(sweep({temperatureSensor("TC0P", 85.0)}, fans));
    run(engine->applyDustStep());
    EXPECT_EQ(engine->dustCycleState().value(), DustCycleUIState::aborted());
    EXPECT_EQ(state(), "auto/Halvoren Standard");

    // Without the helper no cycle starts at all.
    helperBecomes(HelperState::notRegistered());
    timers.advance(1.5);
    engine->startDustCycle();
    EXPECT_EQ(engine->dustCycleState().value(), DustCycleUIState::idle());
    EXPECT_FALSE(engine->isDustCycleRunning());
}

} // namespace
} // namespace halvoren
