#include "core/alert_evaluation.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
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

TEST(AlertThrottle, AllowsOncePerMinute) {
    const struct {
        std::optional<double> last;
        double now;
        bool allowed;
    } cases[] = {{std::nullopt, 0.0, true},
                 {100.0, 130.0, false},
                 {100.0, 159.9, false},
                 {100.0, 160.0, true},
                 {100.0, 400.0, true}};
    for (const auto& c : cases) {
        EXPECT_EQ(alertThrottleAllows(c.last, c.now), c.allowed) << c.now;
    }
}

TEST(CategoryMaxTemps, KeepsTheFirstOfEqualReadings) {
    const std::vector<SMCSensor> sensors{
        reading(SensorCategory::cpu, "P-Core 1", 70.0), reading(SensorCategory::gpu, "GPU 1", 60.0),
        reading(SensorCategory::cpu, "P-Core 2", 80.0), reading(SensorCategory::cpu, "P-Core 3", 80.0)};
    const auto maxima = categoryMaxTemps(sensors);
    ASSERT_EQ(maxima.size(), 2U);
    EXPECT_EQ(maxima.at(SensorCategory::cpu), (CategoryMax{80.0, "P-Core 2"}));
    EXPECT_EQ(maxima.at(SensorCategory::gpu), (CategoryMax{60.0, "GPU 1"}));
}

TEST(RunningHotMessage, RoundsToWholeDegrees) {
    EXPECT_EQ(runningHotMessage("CPU Die", 95.6), "CPU Die is running hot at 96\u00B0C");
    EXPECT_EQ(runningHotMessage("Battery", 45.0), "Battery is running hot at 45\u00B0C");
}

// One sweep over a cpu rule at 95 °C with auto-boost: the reading, and what must come out.
struct Sweep {
    double cpuTemp; // NaN: no cpu sensor in the sweep
    bool evaluated;
    bool triggered;
    BoostEdge edge;
};

TEST(EvaluateRules, FollowsTheEdgesOfOneRule) {
    const double absent = std::numeric_limits<double>::quiet_NaN();
    const AlertRules rules{
        {SensorCategory::cpu, {.enabled = true, .thresholdCelsius = 95.0, .autoBoost = true}}};
    const Sweep sweeps[] = {
        {94.9, true, false, BoostEdge::none}, {95.0, true, true, BoostEdge::rise},
        {99.0, true, true, BoostEdge::none},  {absent, false, false, BoostEdge::none},
        {97.0, true, true, BoostEdge::none},  {94.0, true, false, BoostEdge::fall},
        {90.0, true, false, BoostEdge::none},
    };
    RuleTriggerState state;
    int step = 0;
    for (const Sweep& s : sweeps) {
        std::vector<SMCSensor> sensors{reading(SensorCategory::gpu, "GPU", 100.0)};
        if (!std::isnan(s.cpuTemp)) {
            sensors.push_back(reading(SensorCategory::cpu, "CPU Die", s.cpuTemp));
        }
        const auto outcomes = evaluateRules(rules, sensors, state);
        ASSERT_EQ(outcomes.size(), s.evaluated ? 1U : 0U) << step;
        if (s.evaluated) {
            EXPECT_EQ(outcomes[0].triggered, s.triggered) << step;
            EXPECT_EQ(boostEdge(outcomes[0]), s.edge) << step;
        }
        ++step;
    }
}

TEST(EvaluateRules, SkipsDisabledRulesAndKeepsTheirState) {
    AlertRules rules{
        {SensorCategory::neuralEngine, {.enabled = true, .thresholdCelsius = 80.0, .autoBoost = false}},
        {SensorCategory::battery, {.enabled = false, .thresholdCelsius = 10.0, .autoBoost = true}}};
    RuleTriggerState state{{SensorCategory::battery, true}};
    const std::vector<SMCSensor> sensors{reading(SensorCategory::neuralEngine, "ANE", 81.4),
                                         reading(SensorCategory::battery, "Battery", 5.0)};
    const auto outcomes = evaluateRules(rules, sensors, state);
    ASSERT_EQ(outcomes.size(), 1U);
    EXPECT_EQ(outcomes[0].key, "group.neuralEngine");
    EXPECT_EQ(outcomes[0].title, "Halvoren: Neural Engine Hot");
    EXPECT_EQ(outcomes[0].message, "ANE is running hot at 81\u00B0C");
    EXPECT_EQ(boostEdge(outcomes[0]), BoostEdge::none); // no auto-boost on this rule
    EXPECT_TRUE(state.at(SensorCategory::battery));
    EXPECT_TRUE(evaluateRules(rules, {}, state).empty());
    EXPECT_TRUE(evaluateRules({}, sensors, state).empty());
}

} // namespace
} // namespace halvoren
