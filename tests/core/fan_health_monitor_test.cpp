#include "core/fan_health_monitor.h"

#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <vector>

namespace halvoren {
namespace {

using Event = FanHealthMonitor::Event;
using Warning = FanHealthMonitor::Warning;
using Stalled = FanHealthMonitor::Stalled;
using Underperforming = FanHealthMonitor::Underperforming;
using Recovered = FanHealthMonitor::Recovered;
constexpr std::nullopt_t none = std::nullopt;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct Step {
    double now;
    std::optional<double> commanded;
    double actual;
    std::optional<Event> event;
    std::optional<Warning> warning;
};

void run(const char* name, const std::vector<Step>& steps) {
    FanHealthMonitor monitor;
    for (const auto& step : steps) {
        EXPECT_EQ(monitor.observe(1, step.commanded, step.actual, step.now), step.event)
            << name << " at " << step.now;
        EXPECT_EQ(monitor.warning(1), step.warning) << name << " at " << step.now;
    }
}

TEST(FanHealthMonitor, StallsAfterTwentySecondsBelowTheFloorOfAJudgeableCommand) {
    const auto stalled = Warning::stalled;
    run("below 500 is never judged", {{0, 400, 0, none, none}, {100, 400, 0, none, none}});
    run("exactly 500, exactly 20 s", {{0, 500, 0, none, none}, {20, 500, 0, Stalled{1}, stalled}});
    run("reaching 100 restarts the stall", {{0, 3000, 99, none, none},
                                            {19.9, 3000, 99, none, none},
                                            {20, 3000, 100, none, none},
                                            {21, 3000, 0, none, none},
                                            {40.9, 3000, 0, none, none},
                                            {41, 3000, 0, Stalled{1}, stalled}});
    run("a stalled fan that turns slowly stays stalled", {{0, 3000, 0, none, none},
                                                          {20, 3000, 0, Stalled{1}, stalled},
                                                          {30, 3000, 2000, none, stalled},
                                                          {60, 3000, 2000, none, stalled}});
    run("a NaN command is no command", {{0, nan, 0, none, none}, {30, nan, 0, none, none}});
}

TEST(FanHealthMonitor, UnderperformsAfterNinetySecondsBelowSevenTenths) {
    const auto slow = Warning::underperforming;
    run("2100 of 3000 starts no timer", {{0, 3000, 2100, none, none},
                                         {100, 3000, 2100, none, none},
                                         {101, 3000, 2099, none, none},
                                         {190.9, 3000, 2099, none, none},
                                         {191, 3000, 2099, Underperforming{1, 2099, 3000}, slow}});
    run("a command moved by over a tenth restarts the timer",
        {{0, 3000, 1000, none, none},
         {60, 3000, 1000, none, none},
         {61, 3400, 1000, none, none},
         {150, 3400, 1000, none, none},
         {151, 3400, 1000, Underperforming{1, 1000, 3400}, slow}});
    run("a command moved by exactly a tenth keeps it",
        {{0, 3000, 1000, none, none},
         {60, 3300, 1000, none, none},
         {90, 3300, 1000, Underperforming{1, 1000, 3300}, slow}});
    run("a slow fan that stops keeps its slowness timer",
        {{0, 3000, 1000, none, none},
         {80, 3000, 0, none, none},
         {90, 3000, 1000, Underperforming{1, 1000, 3000}, slow}});
    run("reaching seven tenths clears the timer", {{0, 3000, 1000, none, none},
                                                   {80, 3000, 2100, none, none},
                                                   {90, 3000, 1000, none, none},
                                                   {179, 3000, 1000, none, none}});
}

TEST(FanHealthMonitor, AWarningClearsAtNineTenthsOrWhenTheFanIsNoLongerJudged) {
    const auto slow = Warning::underperforming;
    const Step warned[] = {{0, 3000, 1000, none, none},
                           {90, 3000, 1000, Underperforming{1, 1000, 3000}, slow}};
    run("recovery at 0.9, and timers start afresh",
        {warned[0],
         warned[1],
         {91, 3000, 2699, none, slow},
         {92, 3000, 2700, Recovered{1}, none},
         {93, 3000, 1000, none, none},
         {182, 3000, 1000, none, none},
         {183, 3000, 1000, Underperforming{1, 1000, 3000}, slow}});
    run("the firmware takes over",
        {warned[0], warned[1], {91, none, 1000, Recovered{1}, none}, {92, none, 1000, none, none}});
    run("the command drops below 500", {warned[0], warned[1], {91, 450, 0, Recovered{1}, none}});
}

TEST(FanHealthMonitor, EachFanHasItsOwnTimers) {
    FanHealthMonitor monitor;
    EXPECT_EQ(monitor.observe(0, 3000, 0, 0), none);
    EXPECT_EQ(monitor.observe(2, 3000, 0, 10), none);
    EXPECT_EQ(monitor.observe(0, 3000, 0, 20), Event{Stalled{0}});
    EXPECT_EQ(monitor.observe(2, 3000, 0, 20), none);
    EXPECT_EQ(monitor.warning(0), Warning::stalled);
    EXPECT_EQ(monitor.warning(2), none);
    EXPECT_EQ(monitor.warning(7), none);
}

TEST(FanHealthText, AlertsAndLabelsReadAsTheUserSeesThem) {
    using namespace FanHealthText;
    EXPECT_EQ(alertKey(2), "fanhealth.2");
    EXPECT_EQ(alertTitle(Warning::stalled), "Halvoren: Fan May Have Failed");
    EXPECT_EQ(alertTitle(Warning::underperforming), "Halvoren: Fan May Be Obstructed");
    EXPECT_EQ(stalledMessage("Left Fan", 2999.6), "Left Fan is commanded to 3000 RPM but isn't spinning.");
    EXPECT_EQ(underperformingMessage("Fan 3", 1499.4, 3000),
              "Fan 3 only reaches 1499 of 3000 RPM. Dust or an obstruction may be limiting it.");
    EXPECT_EQ(shortLabel(Warning::stalled), "Warning: fan may have failed");
    EXPECT_EQ(shortLabel(Warning::underperforming), "Warning: fan may be obstructed");
    EXPECT_EQ(detail(Warning::stalled), "This fan is commanded to spin but isn't. It may have failed.");
    EXPECT_EQ(detail(Warning::underperforming),
              "This fan can't reach its commanded speed. Dust or an obstruction may be limiting it.");
}

} // namespace
} // namespace halvoren
