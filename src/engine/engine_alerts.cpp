#include "engine/halvoren_engine.h"

#include <algorithm>

namespace halvoren {

void HalvorenEngine::setAlertRule(SensorCategory category, std::optional<bool> enabled,
                                  std::optional<double> thresholdCelsius, std::optional<bool> autoBoost) {
    AlertRules rules = alertRules_.value();
    const auto byCategory = [category](const auto& entry) { return entry.first == category; };
    auto it = std::ranges::find_if(rules, byCategory);
    if (it == rules.end()) {
        const AlertRules& defaults = defaultAlertRules();
        const auto fallback = std::ranges::find_if(defaults, byCategory);
        rules.emplace_back(category,
                           fallback != defaults.end()
                               ? fallback->second
                               : AlertRule{.enabled = false, .thresholdCelsius = 90.0, .autoBoost = false});
        it = std::prev(rules.end());
    }
    AlertRule& rule = it->second;
    rule.enabled = enabled.value_or(rule.enabled);
    rule.thresholdCelsius = thresholdCelsius.value_or(rule.thresholdCelsius);
    rule.autoBoost = autoBoost.value_or(rule.autoBoost);
    setAlertRules(std::move(rules));
}

void HalvorenEngine::resetAlertRules() {
    setAlertRules(defaultAlertRules());
}

void HalvorenEngine::evaluateAlertRules(const std::vector<SMCSensor>& sensors) {
    for (const RuleOutcome& outcome : evaluateRules(alertRules_.value(), sensors, ruleTriggerState_)) {
        alerts_.updateRule(outcome.key, outcome.triggered, outcome.title, outcome.message);
        switch (boostEdge(outcome)) {
        case BoostEdge::none:
            break;
        case BoostEdge::rise: {
            const bool turboWasOn = isTurboEngaged_.value();
            engageTurbo();
            // Without fans there is nothing to hold.
            if (!isTurboEngaged_.value()) {
                break;
            }
            autoBoostHolders_.insert(outcome.category);
            // Joining a Turbo that was already on only adds a holder: it is not ours to end.
            if (!turboWasOn) {
                turboEngagedByAutoBoost_ = true;
            }
            break;
        }
        case BoostEdge::fall:
            autoBoostHolders_.erase(outcome.category);
            if (autoBoostHolders_.empty() && turboEngagedByAutoBoost_) {
                disengageTurbo();
            }
            break;
        }
    }
}

} // namespace halvoren
