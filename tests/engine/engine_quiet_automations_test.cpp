#include "automation_fixture.h"

namespace halvoren {
namespace {

using QuietAutomationsTest = AutomationTest;

TEST_F(QuietAutomationsTest, TheWindowFollowsTheUsersCalendarAcrossDaylightSaving) {
    engine->setQuietHoursStart(22 * 60);
    engine->setQuietHoursEnd(23 * 60);
    for (const char* day : {"", "+180"}) { // January and July: one and two hours ahead of UTC
        SCOPED_TRACE(day);
        EXPECT_EQ(after(std::string("21:59") + day), "-/Halvoren Standard");
        EXPECT_EQ(after(std::string("22:00") + day), "quiet/Silent Stealth");
        EXPECT_EQ(after(std::string("23:00") + day), "-/Halvoren Standard");
    }
}

TEST_F(QuietAutomationsTest, AStartOutsideWaitsForTheWindowAndTheEndRestoresTheCapture) {
    after("day");
    engine->setQuietHoursEnabled(false);
    EXPECT_EQ(after("night"), "-/Halvoren Standard"); // off: no window at all
    engine->setQuietHoursEnabled(true);
    EXPECT_EQ(after("night"), "quiet/Silent Stealth");
    engine->setQuietHoursEnabled(false); // turning it off ends the window at the next evaluation
    EXPECT_EQ(after("night"), "-/Halvoren Standard");
}

TEST_F(QuietAutomationsTest, QuietChosenByTheUserIsLeftAsItIsAtTheEnd) {
    EXPECT_EQ(after("quiet night day"), "quiet/Silent Stealth");
}

TEST_F(QuietAutomationsTest, ACustomModeComesBackAsItsProfileOnly) {
    after("mode night");
    EXPECT_FALSE(engine->activeCustomModeID().value());
    EXPECT_EQ(after("day"), "-/Halvoren Standard");
    EXPECT_FALSE(engine->activeCustomModeID().value());
}

TEST_F(QuietAutomationsTest, ACaptureRefusedUnderTurboHappensOnceTurboEnds) {
    EXPECT_EQ(after("max turbo night"), "turbo -/Turbo");
    EXPECT_EQ(after("unturbo 23:01"), "quiet/Silent Stealth");
    EXPECT_EQ(after("day"), "max/Max Thermal Blast");
}

TEST_F(QuietAutomationsTest, AnOverrideOutlivesItsWindow) {
    // The memory is dropped at the first evaluation after the override, the window left at the next.
    EXPECT_EQ(after("night max 23:01 23:02 day"), "max/Max Thermal Blast");
    EXPECT_EQ(after("auto 23:00+1"), "auto/Halvoren Standard"); // the next night does not engage
}

TEST_F(QuietAutomationsTest, AMeetingEndingInsideAWindowHandsOverToTheWindow) {
    // Quiet is on already when the window starts: it keeps no memory.
    EXPECT_EQ(after("max meeting night unmeeting"), "max/Max Thermal Blast");
    // The window sees a fresh start rather than an override, captures and ends as usual.
    EXPECT_EQ(after("23:01"), "quiet/Silent Stealth");
    EXPECT_EQ(after("day"), "max/Max Thermal Blast");
}

TEST_F(QuietAutomationsTest, AMeetingRestoresUnlessTheUserMovedAwayAndItsOverrideLasts) {
    EXPECT_EQ(after("meeting"), "meeting quiet/Silent Stealth");
    EXPECT_EQ(after("unmeeting"), "-/Halvoren Standard");
    // The memory is dropped at the next evaluation and the meeting shown as over, then left; the
    // next meeting is refused too.
    EXPECT_EQ(after("meeting max meeting"), "max/Max Thermal Blast");
    EXPECT_EQ(after("meeting unmeeting meeting"), "max/Max Thermal Blast");
}

} // namespace
} // namespace halvoren
