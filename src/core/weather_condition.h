#pragma once

#include "core/json_support.h"
#include "core/json_value.h"

#include <array>
#include <string_view>
#include <utility>

namespace halvoren {

// The thermal weather's condition; encoded by its raw text.
enum class WeatherCondition { clear, building, heatFront, storm, cooldown };

template <>
struct EnumTable<WeatherCondition> {
    static constexpr std::array<std::pair<WeatherCondition, std::string_view>, 5> entries{{
        {WeatherCondition::clear, "clear"},
        {WeatherCondition::building, "building"},
        {WeatherCondition::heatFront, "heatFront"},
        {WeatherCondition::storm, "storm"},
        {WeatherCondition::cooldown, "cooldown"},
    }};
};

std::string_view displayName(WeatherCondition condition);
std::string_view symbolName(WeatherCondition condition);

// What the condition is decided from. `trendPerMinute` is in °C/min, `fanDuty` and
// `workloadBoost` are fractions 0...1.
struct WeatherInputs {
    double controlTemp = 0.0;
    double trendPerMinute = 0.0;
    double fanDuty = 0.0;
    double workloadBoost = 0.0;
    double hotThreshold = 0.0;
};

// The first that holds wins: storm (hot with the fans at 80 % or more), heat front (+1.5 °C/min,
// or +0.8 with a workload boost of 0.3), building (+0.3), cooldown (-0.5), else clear.
WeatherCondition resolveWeatherCondition(const WeatherInputs& in);

void to_json(Json& j, WeatherCondition condition);
void from_json(const Json& j, WeatherCondition& condition);

} // namespace halvoren
