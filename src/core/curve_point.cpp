#include "core/curve_point.h"

#include "core/json_support.h"

#include <nlohmann/json.hpp>

namespace halvoren {

void to_json(Json& j, const CurvePoint& point) {
    j = Json{{"id", point.id},
             {"temperature", json::finite(point.temperature)},
             {"rpmPercentage", json::finite(point.rpmPercentage)}};
}

void from_json(const Json& j, CurvePoint& point) {
    point = CurvePoint{json::requireKey(j, "id").get<Uuid>(), json::requireDouble(j, "temperature"),
                       json::requireDouble(j, "rpmPercentage")};
}

} // namespace halvoren
