#pragma once

#include "core/alert_rules.h"
#include "core/sensor.h"

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace halvoren {

// An alert fires at most once a minute; the overheat alert and each rule key count apart.
inline constexpr double alertMinInterval = 60.0;

// Whether an alert may fire at `now`, the last one having fired at `last` (same clock).
// Within the interval the edge is lost, not postponed.
bool alertThrottleAllows(std::optional<double> last, double now);

// The hottest reading of each category and the sensor that gave it; of equal readings the
// earlier sensor stays.
struct CategoryMax {
    double temp = 0.0;
    std::string name;

    friend bool operator==(const CategoryMax&, const CategoryMax&) = default;
};
std::map<SensorCategory, CategoryMax> categoryMaxTemps(std::span<const SMCSensor> sensors);

// "<name> is running hot at <temp>°C", the temperature in whole degrees.
std::string runningHotMessage(std::string_view sensorName, double temp);

// What one enabled rule found in one sweep.
struct RuleOutcome {
    SensorCategory category = SensorCategory::cpu;
    bool autoBoost = false;
    bool wasTriggered = false;
    bool triggered = false;
    std::string key;   // "group." and the category's raw value
    std::string title; // "Halvoren: <display name> Hot"
    std::string message;
};

// The last result per category; a category absent has not triggered.
using RuleTriggerState = std::map<SensorCategory, bool>;

// Compares each enabled rule with the hottest sensor of its category and records the result
// in `state`. A disabled rule, or one whose category has no sensor, is skipped and its state
// is left alone, so an empty sweep changes nothing. A reading at the threshold triggers.
std::vector<RuleOutcome> evaluateRules(const AlertRules& rules, std::span<const SMCSensor> sensors,
                                       RuleTriggerState& state);

// What the auto-boost of one rule asks for: only edges act.
enum class BoostEdge { none, rise, fall };
BoostEdge boostEdge(const RuleOutcome& outcome);

} // namespace halvoren
