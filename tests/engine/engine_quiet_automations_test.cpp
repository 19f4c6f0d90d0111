#include "automation_fixture.h"

namespace halvoren {
namespace {

using QuietAutomationsTest = AutomationTest;

TEST_F(QuietAutomationsTest, TheWindowFollowsTheUsersCalendarAcrossDaylightSaving) {
    engine->setQuietHoursStart(22 * 60);
    engine->setQuietHoursEnd(23 * 60);
    for (const int day : {0, 180}) { // January and July: one and two hours ahead of UTC
        SCOPED_TRACE(day);
        engine->evaluateQuietHours(localTime(21, 59, day));
        EXPECT_EQ(state(), "-/Halvoren Standard");
        engine->evaluateQuietHours(localTime(22, 0, day));
        EXPECT_EQ(state(), "quiet/Silent Stealth");
        engine->evaluateQuietHours(localTime(23, 0, day));
        EXPECT_EQ(state(), "-/Halvoren Standard");
    }
}

TEST_F(QuietAutomationsTest, AStartOutsideWaitsForTheWindowAndTheEndRestoresTheCapture) {
    day();
    engine->setQuietHoursEnabled(false);
    night(); // off: no window at all
    EXPECT_EQ(state(), "-/Halvoren Standard");
    engine->setQuietHoursEnabled(true);
    night();
    EXPECT_EQ(state(), "quiet/Silent Stealth");
    engine->setQuietHoursEnabled(false); // turning it off ends the window at the next evaluation
    night();
    EXPECT_EQ(state(), "-/Halvoren Standard");
}

TEST_F(QuietAutomationsTest, QuietChosenByTheUserIsLeftAsItIsAtTheEnd) {
    engine->selectPreset(FanPreset::quiet);
    night();
    day();
    EXPECT_EQ(state(), "quiet/Silent Stealth");
}

TEST_F(QuietAutomationsTest, ACustomModeComesBackAsItsProfileOnly) {
    const CustomMode mode = CustomMode::renderingTemplate();
    engine->addCustomMode(mode);
    engine->selectCustomMode(mode.id);
    night();
    EXPECT_FALSE(engine->activeCustomModeID().value());
    day();
    EXPECT_EQ(state(), "-/Halvoren Standard");
    EXPECT_FALSE(engine->activeCustomModeID().value());
}

TEST_F(QuietAutomationsTest, ACaptureRefusedUnderTurboHappensOnceTurboEnds) {
    engine->selectPreset(FanPreset::max);
    engine->engageTurbo();
    night();
    EXPECT_EQ(state(), "turbo -/Turbo");
    engine->disengageTurbo();
    engine->evaluateQuietHours(localTime(23, 1));
    EXPECT_EQ(state(), "quiet/Silent Stealth");
    day();
    EXPECT_EQ(state(), "max/Max Thermal Blast");
}

TEST_F(QuietAutomationsTest, AnOverrideOutlivesItsWindow) {
    night();
    engine->selectPreset(FanPreset::max);
    engine->evaluateQuietHours(localTime(23, 1)); // the memory is dropped
    engine->evaluateQuietHours(localTime(23, 2)); // and the window marked as left
    day();
    EXPECT_EQ(state(), "max/Max Thermal Blast");
    engine->selectPreset(FanPreset::auto_);
    engine->evaluateQuietHours(localTime(23, 0, 1)); // the next night does not engage
    EXPECT_EQ(state(), "auto/Halvoren Standard");
}

TEST_F(QuietAutomationsTest, AMeetingEndingInsideAWindowHandsOverToTheWindow) {
    engine->selectPreset(FanPreset::max);
    engine->evaluateMeetingQuiet(true);
    night(); // Quiet is on already: the window keeps no memory
    engine->evaluateMeetingQuiet(false);
    EXPECT_EQ(state(), "max/Max Thermal Blast");
    // The window sees a fresh start rather than an override, captures and ends as usual.
    engine->evaluateQuietHours(localTime(23, 1));
    EXPECT_EQ(state(), "quiet/Silent Stealth");
    day();
    EXPECT_EQ(state(), "max/Max Thermal Blast");
}

TEST_F(QuietAutomationsTest, AMeetingRestoresUnlessTheUserMovedAwayAndItsOverrideLasts) {
    engine->evaluateMeetingQuiet(true);
    EXPECT_EQ(state(), "meeting quiet/Silent Stealth");
    engine->evaluateMeetingQuiet(false);
    EXPECT_EQ(state(), "-/Halvoren Standard");

    engine->evaluateMeetingQuiet(true);
    engine->selectPreset(FanPreset::max);
    engine->evaluateMeetingQuiet(true); // the memory is dropped, the meeting shown as over
    EXPECT_EQ(state(), "max/Max Thermal Blast");
    engine->evaluateMeetingQuiet(true); // left
    engine->evaluateMeetingQuiet(false);
    engine->evaluateMeetingQuiet(true); // the next meeting is refused too
    EXPECT_EQ(state(), "max/Max Thermal Blast");
}

} // namespace
} // namespace halvoren
