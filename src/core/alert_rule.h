#pragma once

#include "core/json_value.h"

namespace halvoren {

// The user's alert for one sensor category.
struct AlertRule {
    bool enabled = false;
    double thresholdCelsius = 0.0;
    bool autoBoost = false;

    friend bool operator==(const AlertRule&, const AlertRule&) = default;
};

void to_json(Json& j, const AlertRule& rule);
void from_json(const Json& j, AlertRule& rule);

} // namespace halvoren
