#include "automation_fixture.h"

namespace halvoren {
namespace {

using ManualTurboTest = AutomationTest;

TEST_F(ManualTurboTest, WithNoFansKnownNothingStarts) {
    makeEngine();
    after("auto turbo manual");
    engine->setFanTarget(0, 3000.0);
    EXPECT_EQ(after("cooldown"), "auto/Halvoren Standard");
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
    EXPECT_EQ(after("quiet turbo unturbo"), "quiet/Silent Stealth");
    EXPECT_EQ(after("blast turbo unturbo"), "-/Max Thermal Blast");
    // Manual control leaves no profile to return to: the firmware gets the fans.
    EXPECT_EQ(after("manual turbo unturbo"), "-/Apple Auto");
    // A custom mode comes back only as the profile below it.
    EXPECT_EQ(after("mode turbo unturbo"), "-/Halvoren Standard");
    EXPECT_FALSE(engine->activeCustomModeID().value());
}

TEST_F(ManualTurboTest, AnyOtherChoiceEndsTurboAndForgetsWhatItReplaced) {
    EXPECT_EQ(after("quiet turbo max unturbo"), "max/Max Thermal Blast");

    // A profile of Turbo's exact shape is taken for Turbo and ends nothing.
    after("turbo");
    engine->selectProfile(FanProfile{.id = Uuid::random(),
                                     .name = "Turbo",
                                     .mode = ControlMode::constantRPM,
                                     .constantTargetRPM = FanProfile::unlimitedRPM,
                                     .targetSensorGroupID = "max",
                                     .curvePoints = {}});
    EXPECT_TRUE(engine->isTurboEngaged().value());
    EXPECT_EQ(after("unturbo"), "max/Max Thermal Blast");
}

TEST_F(ManualTurboTest, AQuietMemoryConsumedDuringTurboSendsTheFansToTheFirmware) {
    // The window captures Standard and selects Quiet; its memory waits while Turbo runs.
    EXPECT_EQ(after("night turbo 23:01 unturbo"), "quiet/Silent Stealth");
    // Still the window's own Quiet: its end restores what came before it.
    EXPECT_EQ(after("day"), "-/Halvoren Standard");
    // The window ends under Turbo: no restore, the memory is dropped.
    EXPECT_EQ(after("night turbo day"), "turbo -/Turbo");
    EXPECT_EQ(after("unturbo"), "-/Apple Auto");
}

TEST_F(ManualTurboTest, OnlyTheStaleMemoryIsClearedWhenBothWereHeld) {
    // Both automations hold a memory: the user leaves Quiet between the window's evaluation
    // and the meeting's, and the meeting captures what the user chose. The meeting then ends
    // under Turbo: its memory goes.
    EXPECT_EQ(after("night auto meeting turbo unmeeting unturbo"), "-/Apple Auto");
    // The window's memory stayed, and the preset is no longer Quiet: an override, seen over two
    // evaluations, so the window's end restores nothing and the next night's window does not
    // engage.
    EXPECT_EQ(after("23:30 23:31 day"), "-/Apple Auto");
    EXPECT_EQ(after("23:00+1"), "-/Apple Auto");
}

} // namespace
} // namespace halvoren
