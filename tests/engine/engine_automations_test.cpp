#include "automation_fixture.h"

#include <array>
#include <string_view>

namespace halvoren {
namespace {

// The states that come up most, as `state()` tells them.
constexpr std::string_view HS = "-/Halvoren Standard", SS = "-/Silent Stealth", Q = "quiet/Silent Stealth",
                           MQ = "meeting quiet/Silent Stealth", MAX = "max/Max Thermal Blast",
                           BLAST = "-/Max Thermal Blast", T = "turbo -/Turbo", TC = "turbo cooling -/Turbo",
                           M = "manual -/none", AA = "-/Apple Auto";

// Stories on a fresh engine each: moves, then the state they leave, in turns.
TEST_F(AutomationTest, Stories) {
    const std::vector<std::string_view> stories[] = {
        // Quiet hours follow the user's calendar across daylight saving: January, then July.
        {"short 21:59", HS, "22:00", Q, "23:00", HS, "21:59+180", HS, "22:00+180", Q, "23:00+180", HS},
        // Switched off there is no window; switched off inside it, it ends at the next evaluation.
        {"day hoursoff night", HS, "hourson night", Q, "hoursoff night", HS},
        {"quiet night day", Q},       // the user's own Quiet is left as it is at the end
        {"mode night", Q, "day", HS}, // a custom mode comes back as its profile only
        // A capture refused under Turbo happens once Turbo ends.
        {"max turbo night", T, "unturbo 23:01", Q, "day", MAX},
        // An override drops the memory at the next evaluation, leaves the window at the one after,
        // and outlives its window: the next night does not engage.
        {"night max 23:01 23:02 day", MAX, "auto 23:00+1", "auto/Halvoren Standard"},
        // Quiet is on already when the window starts: it keeps no memory. When the meeting ends
        // inside it, the window sees a fresh start, captures and ends as usual.
        {"max meeting night unmeeting", MAX, "23:01", Q, "day", MAX},
        // A meeting restores unless the user moved away; the memory is then dropped at the next
        // evaluation, and the next meeting is refused too.
        {"meeting", MQ, "unmeeting", HS, "meeting max meeting", MAX, "meeting unmeeting meeting", MAX},
        // Turbo comes back to what it replaced; manual control leaves the fans to the firmware.
        {"quiet turbo unturbo", Q, "blast turbo unturbo", BLAST, "manual turbo unturbo", AA,
         "mode turbo unturbo", HS},
        // Any other choice ends Turbo and forgets what it replaced; a profile of Turbo's exact shape
        // is taken for Turbo and ends nothing.
        {"quiet turbo max unturbo", MAX, "turbo shape", T, "unturbo", MAX},
        // A quiet memory consumed during Turbo: still the window's own Quiet at the window's end;
        // the window ends under Turbo: no restore, the memory is dropped.
        {"night turbo 23:01 unturbo", Q, "day", HS, "night turbo day", T, "unturbo", AA},
        // Both automations hold a memory: the user leaves Quiet between the window's evaluation and
        // the meeting's; the meeting ends under Turbo and its memory goes. The window's memory
        // stays, but the preset is no longer Quiet: an override, so the window's end restores
        // nothing and the next night's window does not engage.
        {"night auto meeting turbo unmeeting unturbo", AA, "23:30 23:31 day", AA, "23:00+1", AA},
        {"fresh auto turbo manual target cooldown", "auto/Halvoren Standard"}, // no fan known: nothing starts
        // The plain profile gives way on battery; the user's choice on battery stands; any reading
        // but battery brings the memory back.
        {"battery", SS, "blast battery", BLAST, "unknown", HS, "mains", HS},
        // A memory waits behind a closed gate: back to the profile Turbo replaced, then, when the
        // gate opens on mains, the profile below the custom mode. Turbo on battery: nothing, then
        // the switch fires at the first reading after it ends.
        {"mode battery", SS, "turbo mains", T, "noswitch unturbo mains", SS, "switch mains", HS,
         "turbo battery", T, "unturbo battery", SS},
        {"noprofile battery", SS, "mains", SS}, // no profile: nothing remembered
        // A cooldown ends Turbo at its time; a second neither starts nor extends one. A cancelled
        // cooldown's timer must not end the next one.
        {"quiet cooldown wait", TC, "cooldown wait", Q, "cooldown cancel", Q, "wait cooldown wait", TC,
         "wait", Q},
        // A cooldown joins the user's Turbo and ends it too; ending Turbo by hand ends the cooldown,
        // whose timer then finds nothing to do.
        {"turbo cooldown wait wait", HS, "cooldown unturbo", HS, "max turbo wait wait", T},
    };
    for (std::size_t story = 0; story < std::size(stories); ++story) {
        restart();
        ASSERT_EQ(stories[story].size() % 2, 0U) << "story " << story;
        for (std::size_t i = 0; i < stories[story].size(); i += 2) {
            SCOPED_TRACE("story " + std::to_string(story) + ": " + std::string(stories[story][i]));
            EXPECT_EQ(after(stories[story][i]), stories[story][i + 1]);
        }
    }
}

TEST_F(AutomationTest, EachStarterAgainstEachStateAlreadyOn) {
    // What is already on, each reached from a plain profile, and what starts against it, as moves.
    const std::array<std::string_view, 8> states{"",         "auto", "manual", "turbo",
                                                 "cooldown", "dust", "night",  "meeting"};
    const std::array<std::string_view, 8> starters{"turbo", "manual",  "dust",    "cooldown",
                                                   "night", "meeting", "battery", "max"};
    // expected[starter][state], in the order of the two lists above.
    const std::array<std::array<std::string_view, 8>, 8> expected{{
        // engageTurbo: refused only by Turbo; leaves manual; dust and meeting memory stay.
        {T, T, T, T, TC, "turbo dust -/Turbo", T, "turbo meeting -/Turbo"},
        // enterManualControl: cancels Turbo and cooldown, drops preset and profile; dust goes on.
        {M, M, M, M, M, "manual dust -/none", M, "manual meeting -/none"},
        // startDustCycle: refused under manual control and Turbo; changes nothing else.
        {"dust -/Halvoren Standard", "dust auto/Halvoren Standard", M, T, TC, "dust -/Halvoren Standard",
         "dust quiet/Silent Stealth", "dust meeting quiet/Silent Stealth"},
        // startCooldown: engages Turbo or joins it.
        {TC, TC, TC, TC, TC, "turbo cooling dust -/Turbo", TC, "turbo cooling meeting -/Turbo"},
        // Quiet hours: refused under manual control and Turbo, and when Quiet is on already.
        {Q, Q, M, T, TC, "dust quiet/Silent Stealth", Q, MQ},
        // Meeting quiet: the same refusals.
        {MQ, MQ, M, T, TC, "dust meeting quiet/Silent Stealth", Q, MQ},
        // Battery switch: only a plain profile gives way; a preset takes its battery cap.
        {SS, "auto/Halvoren Standard", M, T, TC, "dust -/Silent Stealth", Q, MQ},
        // A user's choice ends manual control, Turbo and the cooldown, never the dust cycle.
        {MAX, MAX, MAX, MAX, MAX, "dust max/Max Thermal Blast", MAX, "meeting max/Max Thermal Blast"},
    }};
    for (std::size_t s = 0; s < states.size(); ++s) {
        for (std::size_t a = 0; a < starters.size(); ++a) {
            SCOPED_TRACE(std::string(starters[a]) + " while '" + std::string(states[s]) + "' is on");
            restart();
            EXPECT_EQ(after(std::string(states[s]) + " " + std::string(starters[a])), expected[a][s]);
        }
    }
}

TEST_F(AutomationTest, ManualControlSeedsFromMeasuredSpeedsAndIgnoresUnknownFans) {
    engine->setFanTarget(7, 3000.0);
    // The stopped fan's target is its minimum, while its ramp starts from the 0 it reads.
    EXPECT_EQ(engine->manualFanTargets().value(), (std::map<int, double>{{0, 2000.0}, {1, 1200.0}}));
    EXPECT_EQ(engine->rampedTargets(), (std::map<int, double>{{0, 2000.0}, {1, 0.0}}));
    EXPECT_EQ(engine->manualTarget(7), 0.0);

    engine->setFanTarget(1, 9000.0); // clamped at the write, not here
    engine->enterManualControl();    // a second entry does not reseed
    EXPECT_EQ(engine->manualTarget(1), 9000.0);

    run(engine->applyManualTick());
    ASSERT_EQ(driver.writes.size(), 2u);
    EXPECT_EQ(driver.writes[0].fan, 0);
    EXPECT_GT(driver.writes[1].rpm, 0.0);

    // Without the helper the targets wait for its return; nothing is written.
    helperBecomes(HelperState::notRegistered());
    run(engine->applyManualTick());
    EXPECT_EQ(driver.writes.size(), 2u);
    EXPECT_TRUE(engine->isManualControl());
}

TEST_F(AutomationTest, TheFloorIsTheStrongestReasonNotTheSum) {
    EXPECT_EQ(engine->effectiveFloor(), 0.0);
    engine->setClamshell(true);
    EXPECT_EQ(engine->effectiveFloor(), 0.1);
    EXPECT_TRUE(engine->isClamshell().value());
    engine->updatePowerTelemetry(PowerTelemetry{.source = PowerSource::ac, .systemWatts = 12.5});
    EXPECT_TRUE(engine->powerTelemetry()->isClamshell); // the lid is the engine's, not the reading's

    applications->launch("org.blenderfoundation.blender");
    // The loop's power slice may read the lid before the test goes on; it reads it closed too.
    power->set(PowerReading{.telemetry = {}, .clamshell = true});
    engine->start(); // seeds from the running applications, then follows them
    applications->launch("com.example.editor");
    EXPECT_EQ(engine->effectiveFloor(), 0.55);
    EXPECT_EQ(engine->processWorkloadImpact().value(), 0.55);
    applications->terminate("org.blenderfoundation.blender");
    EXPECT_EQ(engine->effectiveFloor(), 0.1);
    engine->setClamshell(false);
    EXPECT_EQ(engine->effectiveFloor(), 0.0);
}

TEST_F(AutomationTest, ADustCyclePulsesEveryFanThenRestoresAndShowsTheResult) {
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

TEST_F(AutomationTest, HeatOrALostHelperAbortsTheDustCycle) {
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

class EngineAlertsTest : public AutomationTest {
protected:
    void SetUp() override {
        AutomationTest::SetUp();
        notifications->usable = false; // every alert is a banner
        engine->setOverheatThreshold(150.0);
    }

    // Fresh sweeps a second apart, each with a CPU and a GPU sensor at these readings, then the state.
    std::string afterSweeps(std::initializer_list<std::pair<double, double>> readings) {
        for (const auto& [cpu, gpu] : readings) {
            clock.advance(1.0);
            engine->recordTelemetry(sweep({temperatureSensor("TC0P", cpu, SensorCategory::cpu),
                                           temperatureSensor("TG0P", gpu, SensorCategory::gpu)},
                                          fans));
        }
        return state();
    }
    void boostOn(SensorCategory category) { engine->setAlertRule(category, true, 95.0, true); }
};

TEST_F(EngineAlertsTest, AutoBoostHoldsTurboUntilTheLastRuleFalls) {
    boostOn(SensorCategory::cpu);
    boostOn(SensorCategory::gpu);
    EXPECT_EQ(afterSweeps({{94.9, 60.0}}), "-/Halvoren Standard");
    EXPECT_EQ(afterSweeps({{95.0, 60.0}}), "turbo -/Turbo"); // the threshold itself triggers
    EXPECT_EQ(engine->alerts().inAppAlert().value(), "Sensor TC0P is running hot at 95\u00B0C");
    EXPECT_EQ(afterSweeps({{99.0, 97.0}, {90.0, 97.0}}), "turbo -/Turbo"); // the GPU still holds
    EXPECT_EQ(afterSweeps({{90.0, 94.0}}), "-/Halvoren Standard");

    // An empty sweep evaluates nothing; a disabled rule is not evaluated at all.
    afterSweeps({{96.0, 60.0}});
    engine->recordTelemetry(sweep({}, fans));
    engine->setAlertRule(SensorCategory::cpu, false, std::nullopt, std::nullopt);
    EXPECT_EQ(afterSweeps({{80.0, 60.0}}), "turbo -/Turbo");
    engine->resetAlertRules();
    EXPECT_EQ(engine->alertRules().value(), defaultAlertRules());
}

TEST_F(EngineAlertsTest, ARuleNeverEndsTheUsersTurbo) {
    boostOn(SensorCategory::cpu);
    after("turbo");
    EXPECT_EQ(afterSweeps({{97.0, 60.0}, {80.0, 60.0}}), "turbo -/Turbo");

    // The user ends Turbo while the rule holds: the hold goes too, and the rule, still
    // triggered, does not engage again until it has fallen and risen.
    afterSweeps({{97.0, 60.0}});
    after("unturbo");
    EXPECT_EQ(afterSweeps({{98.0, 60.0}}), "-/Halvoren Standard");
    EXPECT_EQ(afterSweeps({{80.0, 60.0}, {97.0, 60.0}}), "turbo -/Turbo");

    // A rule that joins a cooldown leaves its Turbo to the user: the holder keeps Turbo past the
    // cooldown's end, and the rule, which did not engage it, does not end it.
    EXPECT_EQ(afterSweeps({{80.0, 60.0}}), "-/Halvoren Standard");
    after("cooldown");
    afterSweeps({{97.0, 60.0}});
    timers.advance(60.0);
    EXPECT_EQ(state(), "turbo -/Turbo");
    EXPECT_EQ(afterSweeps({{80.0, 60.0}}), "turbo -/Turbo");
}

class AlertsManagerTest : public ::testing::Test {
protected:
    std::optional<std::string> banner() const { return alerts.inAppAlert().value(); }
    void overheat(double temp) {
        alerts.update(false, "CPU Die", temp);
        alerts.update(true, "CPU Die", temp);
    }

    ManualClock clock;
    std::shared_ptr<FakeNotificationCenter> center = std::make_shared<FakeNotificationCenter>();
    AlertsManager alerts{center, clock};
};

TEST_F(AlertsManagerTest, WithoutTheServiceEveryAlertIsABannerThrottledPerKey) {
    center->usable = false;
    overheat(96.2);
    EXPECT_EQ(banner(), "CPU Die is running hot at 96\u00B0C");
    alerts.update(true, "CPU Die", 99.0); // no edge
    alerts.dismissInAppAlert();
    EXPECT_EQ(banner(), std::nullopt);

    // A rule in the same second has its own throttle.
    alerts.updateRule("group.gpu", true, "Halvoren: GPU Hot", "GPU is running hot at 97\u00B0C");
    EXPECT_EQ(banner(), "GPU is running hot at 97\u00B0C");
    alerts.dismissInAppAlert();

    // A second edge within the minute is lost, and the state still follows.
    clock.advance(30.0);
    overheat(97.0);
    alerts.updateRule("group.gpu", false, "", "");
    alerts.updateRule("group.gpu", true, "Halvoren: GPU Hot", "again");
    EXPECT_EQ(banner(), std::nullopt);
    EXPECT_TRUE(alerts.ruleWasTriggered("group.gpu"));

    clock.advance(30.0);
    overheat(98.0);
    EXPECT_EQ(banner(), "CPU Die is running hot at 98\u00B0C");
    EXPECT_TRUE(center->pendingAuthorizations.empty());
    EXPECT_TRUE(center->posts.empty());
}

TEST_F(AlertsManagerTest, AsksOnceThenPostsAndFallsBackToTheBanner) {
    overheat(96.0);
    ASSERT_EQ(center->pendingAuthorizations.size(), 1U);
    EXPECT_EQ(banner(), std::nullopt); // waits for the answer

    // An edge during the question goes out at once, unauthorized.
    alerts.updateRule("group.cpu", true, "Halvoren: CPU Hot", "CPU hot");
    EXPECT_EQ(banner(), "CPU hot");
    alerts.dismissInAppAlert();

    center->answer(true);
    ASSERT_EQ(center->posts.size(), 1U);
    EXPECT_EQ(center->posts[0].title, "Halvoren: Overheating");
    EXPECT_EQ(center->posts[0].body, "CPU Die is running hot at 96\u00B0C");
    center->posts[0].done(std::nullopt);
    EXPECT_EQ(banner(), std::nullopt);

    // A failed post shows the banner.
    alerts.updateRule("fanhealth.0", true, "Halvoren: Fan May Have Failed", "Fan 1 stopped");
    ASSERT_EQ(center->posts.size(), 2U);
    center->posts[1].done("server gone");
    EXPECT_EQ(banner(), "Fan 1 stopped");
}

TEST_F(AlertsManagerTest, ARefusalAFailedQuestionOrALateAnswerLeadToNoPost) {
    for (const std::optional<std::string>& error :
         {std::optional<std::string>{}, std::optional<std::string>{"no"}}) {
        AlertsManager fresh{center, clock};
        fresh.update(true, "Battery", 46.0);
        center->answer(error.has_value(), error); // a failure even with a yes
        EXPECT_EQ(fresh.inAppAlert().value(), "Battery is running hot at 46\u00B0C");
    }
    std::make_unique<AlertsManager>(center, clock)->update(true, "CPU", 100.0);
    center->answer(true); // to a manager that is gone
    EXPECT_TRUE(center->posts.empty());
}

} // namespace
} // namespace halvoren
