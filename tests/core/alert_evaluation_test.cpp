#include "core/alert_evaluation.h"

#include <gtest/gtest.h>
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

} // namespace
} // namespace halvoren
