#include "core/curve_point.h"

#include "core/json_support.h"

#include <nlohmann/json.hpp>

namespace halvoren {

void to_json(nlohmann::json& j, const CurvePoint& point) {
    j = nlohmann::json{{"id", point.id},
                       {"temperature", json::finite(point.temperature)},
                       {"rpmPercentage", json::finite(point.rpmPercentage)}};
}

void from_json(const nlohmann::json& j, CurvePoint& point) {
    point = CurvePoint{json::requireKey(j, "id").get<Uuid>(), json::requireDouble(j, "temperature"),
                       json::requireDouble(j, "rpmPercentage")};
}

} // namespace halvoren
