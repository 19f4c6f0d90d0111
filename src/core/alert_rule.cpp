#include "core/alert_rule.h"

#include "core/json_support.h"

#include <nlohmann/json.hpp>

namespace halvoren {

void to_json(Json& j, const AlertRule& rule) {
    j = Json{{"enabled", rule.enabled},
             {"thresholdCelsius", json::finite(rule.thresholdCelsius)},
             {"autoBoost", rule.autoBoost}};
}

void from_json(const Json& j, AlertRule& rule) {
    rule = AlertRule{json::requireBool(j, "enabled"), json::requireDouble(j, "thresholdCelsius"),
                     json::requireBool(j, "autoBoost")};
}

} // namespace halvoren
