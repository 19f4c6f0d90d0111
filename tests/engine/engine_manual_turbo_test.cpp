#include "automation_fixture.h"

namespace halvoren {
namespace {

using ManualTurboTest = AutomationTest;

TEST_F(ManualTurboTest, WithNoFansKnownNothingStarts) {
    makeEngine();
    engine->selectPreset(FanPreset::auto_);
    engine->engageTurbo();
    engine->enterManualControl();
    engine->setFanTarget(0, 3000.0);
    engine->startCooldown(60.0);
    EXPECT_EQ(state(), "auto/Halvoren Standard");
}

TEST_F(ManualTurboTest, ManualControlSeedsFromMeasuredSpeedsAndIgnoresUnknownFans) {
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

TEST_F(ManualTurboTest, TurboComesBackToWhatItReplaced) {
    struct Case {
        const char* name;
        void (*before)(HalvorenEngine&);
        const char* restored;
    };
    const Case cases[] = {
        {"a preset", [](HalvorenEngine& e) { e.selectPreset(FanPreset::quiet); }, "quiet/Silent Stealth"},
        {"a profile", [](HalvorenEngine& e) { e.selectProfile(FanProfile::maxThermalBlast()); },
         "-/Max Thermal Blast"},
        // Manual control leaves no profile to return to: the firmware gets the fans.
        {"manual control", [](HalvorenEngine& e) { e.enterManualControl(); }, "-/Apple Auto"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        c.before(*engine);
        engine->engageTurbo();
        engine->disengageTurbo();
        EXPECT_EQ(state(), c.restored);
    }

    // A custom mode comes back only as the profile below it.
    const CustomMode mode = CustomMode::renderingTemplate();
    engine->addCustomMode(mode);
    engine->selectCustomMode(mode.id);
    engine->engageTurbo();
    engine->disengageTurbo();
    EXPECT_EQ(state(), "-/Halvoren Standard");
    EXPECT_FALSE(engine->activeCustomModeID().value());
}

TEST_F(ManualTurboTest, AnyOtherChoiceEndsTurboAndForgetsWhatItReplaced) {
    engine->selectPreset(FanPreset::quiet);
    engine->engageTurbo();
    engine->selectPreset(FanPreset::max);
    EXPECT_FALSE(engine->isTurboEngaged().value());
    engine->disengageTurbo();
    EXPECT_EQ(state(), "max/Max Thermal Blast");

    // A profile of Turbo's exact shape is taken for Turbo and ends nothing.
    engine->engageTurbo();
    engine->selectProfile(FanProfile{.id = Uuid::random(),
                                     .name = "Turbo",
                                     .mode = ControlMode::constantRPM,
                                     .constantTargetRPM = FanProfile::unlimitedRPM,
                                     .targetSensorGroupID = "max",
                                     .curvePoints = {}});
    EXPECT_TRUE(engine->isTurboEngaged().value());
    engine->disengageTurbo();
    EXPECT_EQ(state(), "max/Max Thermal Blast");
}

TEST_F(ManualTurboTest, AQuietMemoryConsumedDuringTurboSendsTheFansToTheFirmware) {
    night(); // the window captures Standard and selects Quiet
    engine->engageTurbo();
    engine->evaluateQuietHours(localTime(23, 1)); // the memory waits while Turbo runs
    engine->disengageTurbo();
    EXPECT_EQ(state(), "quiet/Silent Stealth");
    // Still the window's own Quiet: its end restores what came before it.
    day();
    EXPECT_EQ(state(), "-/Halvoren Standard");

    night();
    engine->engageTurbo();
    day(); // the window ends under Turbo: no restore, the memory is dropped
    EXPECT_EQ(state(), "turbo -/Turbo");
    engine->disengageTurbo();
    EXPECT_EQ(state(), "-/Apple Auto");
}

TEST_F(ManualTurboTest, OnlyTheStaleMemoryIsClearedWhenBothWereHeld) {
    // Both automations hold a memory: the user leaves Quiet between the window's evaluation
    // and the meeting's, and the meeting captures what the user chose.
    night();
    engine->selectPreset(FanPreset::auto_);
    engine->evaluateMeetingQuiet(true);
    engine->engageTurbo();
    engine->evaluateMeetingQuiet(false); // the meeting ends under Turbo: its memory goes
    engine->disengageTurbo();
    EXPECT_EQ(state(), "-/Apple Auto");

    // The window's memory stayed, and the preset is no longer Quiet: an override, seen over two
    // evaluations, so the window's end restores nothing and the next night's window does not
    // engage.
    engine->evaluateQuietHours(localTime(23, 30));
    engine->evaluateQuietHours(localTime(23, 31));
    day();
    EXPECT_EQ(state(), "-/Apple Auto");
    engine->evaluateQuietHours(localTime(23, 0, 1));
    EXPECT_EQ(state(), "-/Apple Auto");
}

} // namespace
} // namespace halvoren
