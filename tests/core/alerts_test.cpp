#include "core/alert_evaluation.h"
#include "core/fan_health_monitor.h"

#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <vector>

namespace halvoren {
namespace {

SMCSensor reading(SensorCategory category, const char* name, double temp) {
    return {.id = name,
            .key = name,
            .name = name,
            .category = category,
            .currentTemp = temp,
            .sensorClass = SensorClass::temperature,
            .unit = "C"};
}

TEST(AlertEvaluation, TheThrottleAllowsOncePerMinute) {
    EXPECT_TRUE(alertThrottleAllows(std::nullopt, 0.0));
    EXPECT_FALSE(alertThrottleAllows(100.0, 159.9));
    EXPECT_TRUE(alertThrottleAllows(100.0, 160.0));
}

// Sweeps over a cpu rule at 95 °C with auto-boost: the reading (0: no cpu sensor) and the
// outcome, '-' not evaluated, 'c' clear, 't' triggered, '+' rising, 'v' falling.
TEST(AlertEvaluation, OnlyEdgesBoostAndAMissingSensorChangesNothing) {
    const AlertRules rules{
        {SensorCategory::cpu, {.enabled = true, .thresholdCelsius = 95.0, .autoBoost = true}},
        {SensorCategory::gpu, {.enabled = false, .thresholdCelsius = 1.0, .autoBoost = true}}};
    const std::vector<std::pair<double, char>> sweeps{{94.9, 'c'}, {95.0, '+'}, {99.0, 't'}, {0.0, '-'},
                                                      {97.0, 't'}, {94.0, 'v'}, {90.0, 'c'}};
    RuleTriggerState state;
    for (const auto& [temp, expected] : sweeps) {
        std::vector<SMCSensor> sensors{reading(SensorCategory::gpu, "GPU", 100.0)};
        if (temp > 0.0) {
            sensors.push_back(reading(SensorCategory::cpu, "CPU", temp));
        }
        const auto outcomes = evaluateRules(rules, sensors, state);
        const BoostEdge edge = outcomes.empty() ? BoostEdge::none : boostEdge(outcomes[0]);
        const char seen = outcomes.empty()          ? '-'
                          : edge == BoostEdge::rise ? '+'
                          : edge == BoostEdge::fall ? 'v'
                          : outcomes[0].triggered   ? 't'
                                                    : 'c';
        EXPECT_EQ(seen, expected) << temp;
        EXPECT_FALSE(state.contains(SensorCategory::gpu)); // disabled: never evaluated
    }
}

TEST(AlertEvaluation, TheTextNamesTheFirstOfTheHottestSensors) {
    const AlertRules rules{
        {SensorCategory::neuralEngine, {.enabled = true, .thresholdCelsius = 80.0, .autoBoost = false}}};
    const std::vector<SMCSensor> sensors{reading(SensorCategory::neuralEngine, "ANE 1", 70.0),
                                         reading(SensorCategory::neuralEngine, "ANE 2", 81.4),
                                         reading(SensorCategory::neuralEngine, "ANE 3", 81.4)};
    RuleTriggerState state;
    const auto outcomes = evaluateRules(rules, sensors, state);
    ASSERT_EQ(outcomes.size(), 1U);
    EXPECT_EQ(outcomes[0].key, "group.neuralEngine");
    EXPECT_EQ(outcomes[0].title, "Halvoren: Neural Engine Hot");
    EXPECT_EQ(outcomes[0].message, "ANE 2 is running hot at 81\u00B0C");
    EXPECT_EQ(boostEdge(outcomes[0]), BoostEdge::none); // triggered, but no auto-boost
}

using Monitor = FanHealthMonitor;
using Warning = Monitor::Warning;
constexpr std::nullopt_t none = std::nullopt;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// One sample of fan 1 and the event it must raise: '-' none, 'S' stalled, 'U' underperforming
// (at this sample's speeds), 'R' recovered.
struct Step {
    double now;
    std::optional<double> commanded;
    double actual;
    char event;
};

std::optional<Monitor::Event> expected(const Step& s) {
    using E = std::optional<Monitor::Event>;
    return s.event == 'S'   ? E{Monitor::Stalled{1}}
           : s.event == 'U' ? E{Monitor::Underperforming{1, s.actual, *s.commanded}}
           : s.event == 'R' ? E{Monitor::Recovered{1}}
                            : none;
}

TEST(FanHealthMonitor, RaisesEachEdgeOnceAfterItsWindowAndKeepsTheWarningUntilRecovery) {
    const struct {
        const char* what;
        std::vector<Step> steps;
    } scenarios[] = {
        {"below 500 is never judged", {{0, 400, 0, '-'}, {100, 400, 0, '-'}}},
        {"a NaN command is no command", {{0, nan, 0, '-'}, {30, nan, 0, '-'}}},
        {"exactly 500, exactly 20 s", {{0, 500, 0, '-'}, {20, 500, 0, 'S'}}},
        {"reaching 100 restarts the stall",
         {{0, 3000, 99, '-'},
          {19.9, 3000, 99, '-'},
          {20, 3000, 100, '-'},
          {21, 3000, 0, '-'},
          {40.9, 3000, 0, '-'},
          {41, 3000, 0, 'S'}}},
        {"a stalled fan that turns slowly stays stalled",
         {{0, 3000, 0, '-'}, {20, 3000, 0, 'S'}, {30, 3000, 2000, '-'}, {200, 3000, 2000, '-'}}},
        {"2100 of 3000 starts no timer, 2099 does",
         {{0, 3000, 2100, '-'}, {101, 3000, 2099, '-'}, {190.9, 3000, 2099, '-'}, {191, 3000, 2099, 'U'}}},
        {"a command moved by over a tenth restarts the timer",
         {{0, 3000, 1000, '-'}, {61, 3400, 1000, '-'}, {150, 3400, 1000, '-'}, {151, 3400, 1000, 'U'}}},
        {"a command moved by exactly a tenth keeps it", {{0, 3000, 1000, '-'}, {90, 3300, 1000, 'U'}}},
        {"a slow fan that stops keeps its slowness timer",
         {{0, 3000, 1000, '-'}, {80, 3000, 0, '-'}, {90, 3000, 1000, 'U'}}},
        {"reaching seven tenths clears the timer",
         {{0, 3000, 1000, '-'}, {80, 3000, 2100, '-'}, {90, 3000, 1000, '-'}, {179, 3000, 1000, '-'}}},
        {"recovery at nine tenths, then the timers start afresh",
         {{0, 3000, 1000, '-'},
          {90, 3000, 1000, 'U'},
          {91, 3000, 2699, '-'},
          {92, 3000, 2700, 'R'},
          {93, 3000, 1000, '-'},
          {182, 3000, 1000, '-'},
          {183, 3000, 1000, 'U'}}},
        {"the firmware takes over",
         {{0, 3000, 0, '-'}, {20, 3000, 0, 'S'}, {21, none, 0, 'R'}, {22, none, 0, '-'}}},
        {"the command drops below 500", {{0, 3000, 0, '-'}, {20, 3000, 0, 'S'}, {21, 450, 0, 'R'}}},
    };
    for (const auto& scenario : scenarios) {
        Monitor monitor;
        std::optional<Warning> warning;
        for (const auto& step : scenario.steps) {
            EXPECT_EQ(monitor.observe(1, step.commanded, step.actual, step.now), expected(step))
                << scenario.what << " at " << step.now;
            if (step.event != '-') {
                warning = step.event == 'R' ? none
                                            : std::optional(step.event == 'S' ? Warning::stalled
                                                                              : Warning::underperforming);
            }
            EXPECT_EQ(monitor.warning(1), warning) << scenario.what << " at " << step.now;
        }
    }
}

TEST(FanHealthMonitor, EachFanHasItsOwnTimers) {
    Monitor monitor;
    EXPECT_EQ(monitor.observe(0, 3000, 0, 0), none);
    EXPECT_EQ(monitor.observe(2, 3000, 0, 10), none);
    EXPECT_EQ(monitor.observe(0, 3000, 0, 20), Monitor::Event{Monitor::Stalled{0}});
    EXPECT_EQ(monitor.observe(2, 3000, 0, 20), none);
    EXPECT_EQ(monitor.warning(2), none);
}

TEST(FanHealthText, EachWarningHasItsTextsAndMessagesRoundTheSpeeds) {
    using namespace FanHealthText;
    EXPECT_EQ(alertKey(2), "fanhealth.2");
    EXPECT_EQ(alertTitle(Warning::stalled), "Halvoren: Fan May Have Failed");
    EXPECT_EQ(shortLabel(Warning::underperforming), "Warning: fan may be obstructed");
    EXPECT_EQ(detail(Warning::stalled), "This fan is commanded to spin but isn't. It may have failed.");
    EXPECT_EQ(stalledMessage("Left Fan", 2999.6), "Left Fan is commanded to 3000 RPM but isn't spinning.");
    EXPECT_EQ(underperformingMessage("Fan 3", 1499.4, 3000),
              "Fan 3 only reaches 1499 of 3000 RPM. Dust or an obstruction may be limiting it.");
}

} // namespace
} // namespace halvoren
