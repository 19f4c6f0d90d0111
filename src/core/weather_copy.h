#pragma once

#include "core/weather_condition.h"

#include <string>

namespace halvoren::WeatherCopy {

// The weather's one-sentence forecast. Numbers are written without the locale: the trend
// as "%.1f" with its sign, whole degrees rounded halves away from zero.
std::string forecastLine(WeatherCondition condition, double temperature, double trendPerMinute,
                         double projected30Min);

} // namespace halvoren::WeatherCopy
