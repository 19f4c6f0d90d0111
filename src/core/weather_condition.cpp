#include "core/weather_condition.h"

#include <nlohmann/json.hpp>

namespace halvoren {

std::string_view displayName(WeatherCondition condition) {
    switch (condition) {
    case WeatherCondition::clear:
        return "Clear";
    case WeatherCondition::building:
        return "Building";
    case WeatherCondition::heatFront:
        return "Heat Front";
    case WeatherCondition::storm:
        return "Storm";
    case WeatherCondition::cooldown:
        return "Cooldown";
    }
    return {};
}

std::string_view symbolName(WeatherCondition condition) {
    switch (condition) {
    case WeatherCondition::clear:
        return "sun.max.fill";
    case WeatherCondition::building:
        return "cloud.sun.fill";
    case WeatherCondition::heatFront:
        return "wind";
    case WeatherCondition::storm:
        return "cloud.bolt.fill";
    case WeatherCondition::cooldown:
        return "cloud.fill";
    }
    return {};
}

WeatherCondition resolveWeatherCondition(const WeatherInputs& in) {
    if (in.controlTemp >= in.hotThreshold && in.fanDuty >= 0.8) {
        return WeatherCondition::storm;
    }
    if (in.trendPerMinute >= 1.5 || (in.trendPerMinute >= 0.8 && in.workloadBoost >= 0.3)) {
        return WeatherCondition::heatFront;
    }
    if (in.trendPerMinute >= 0.3) {
        return WeatherCondition::building;
    }
    // Falling needs more than rising (0.5 against 0.3) before the sky changes.
    if (in.trendPerMinute <= -0.5) {
        return WeatherCondition::cooldown;
    }
    return WeatherCondition::clear;
}

void to_json(Json& j, WeatherCondition condition) {
    j = json::enumToJson(condition);
}
void from_json(const Json& j, WeatherCondition& condition) {
    condition = json::enumFromJson<WeatherCondition>(j, "condition");
}

} // namespace halvoren
