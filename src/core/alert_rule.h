#pragma once

#include <nlohmann/json_fwd.hpp>

namespace halvoren {

// The user's alert for one sensor category.
struct AlertRule {
    bool enabled = false;
    double thresholdCelsius = 0.0;
    bool autoBoost = false;

    friend bool operator==(const AlertRule&, const AlertRule&) = default;
};

void to_json(nlohmann::json& j, const AlertRule& rule);
void from_json(const nlohmann::json& j, AlertRule& rule);

} // namespace halvoren
