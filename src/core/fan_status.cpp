#include "core/fan_status.h"

#include "core/json_support.h"

#include <limits>
#include <nlohmann/json.hpp>

namespace halvoren {

void to_json(Json& j, const FanStatus& fan) {
    j = Json{{"id", fan.id},
             {"currentRPM", json::finite(fan.currentRPM)},
             {"minRPM", json::finite(fan.minRPM)},
             {"maxRPM", json::finite(fan.maxRPM)},
             {"targetRPM", json::finite(fan.targetRPM)},
             {"isManaged", fan.isManaged}};
}

void from_json(const Json& j, FanStatus& fan) {
    const auto id = json::requireInt(j, "id");
    if (id < std::numeric_limits<int>::min() || id > std::numeric_limits<int>::max()) {
        throw DecodeError("\"id\" is out of range");
    }
    fan = FanStatus{static_cast<int>(id),
                    json::requireDouble(j, "currentRPM"),
                    json::requireDouble(j, "minRPM"),
                    json::requireDouble(j, "maxRPM"),
                    json::requireDouble(j, "targetRPM"),
                    json::requireBool(j, "isManaged"),
                    true};
}

} // namespace halvoren
