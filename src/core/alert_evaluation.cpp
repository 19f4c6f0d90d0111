#include "core/alert_evaluation.h"

#include <cmath>
#include <cstdio>

namespace halvoren {

bool alertThrottleAllows(std::optional<double> last, double now) {
    return !last || !(now - *last < alertMinInterval);
}

std::map<SensorCategory, CategoryMax> categoryMaxTemps(std::span<const SMCSensor> sensors) {
    std::map<SensorCategory, CategoryMax> result;
    for (const SMCSensor& sensor : sensors) {
        const auto [it, inserted] =
            result.try_emplace(sensor.category, CategoryMax{sensor.currentTemp, sensor.name});
        if (!inserted && sensor.currentTemp > it->second.temp) {
            it->second = {sensor.currentTemp, sensor.name};
        }
    }
    return result;
}

std::string runningHotMessage(std::string_view sensorName, double temp) {
    char degrees[64];
    std::snprintf(degrees, sizeof degrees, "%.0f", temp);
    return std::string(sensorName) + " is running hot at " + degrees + "\u00B0C";
}

std::vector<RuleOutcome> evaluateRules(const AlertRules& rules, std::span<const SMCSensor> sensors,
                                       RuleTriggerState& state) {
    std::vector<RuleOutcome> outcomes;
    if (rules.empty()) {
        return outcomes;
    }
    const auto maxima = categoryMaxTemps(sensors);
    for (const auto& [category, rule] : rules) {
        const auto found = maxima.find(category);
        if (!rule.enabled || found == maxima.end()) {
            continue;
        }
        const CategoryMax& hottest = found->second;
        bool& last = state[category];
        RuleOutcome outcome{.category = category,
                            .autoBoost = rule.autoBoost,
                            .wasTriggered = last,
                            .triggered = hottest.temp >= rule.thresholdCelsius,
                            .key = "group." + std::string(rawValue(category)),
                            .title = "Halvoren: " + std::string(displayName(category)) + " Hot",
                            .message = runningHotMessage(hottest.name, hottest.temp)};
        last = outcome.triggered;
        outcomes.push_back(std::move(outcome));
    }
    return outcomes;
}

BoostEdge boostEdge(const RuleOutcome& outcome) {
    if (!outcome.autoBoost || outcome.triggered == outcome.wasTriggered) {
        return BoostEdge::none;
    }
    return outcome.triggered ? BoostEdge::rise : BoostEdge::fall;
}

} // namespace halvoren
