#include "core/weather_copy.h"

#include "core/temperature_format.h"

#include <cmath>
#include <string>

namespace halvoren::WeatherCopy {

namespace {

// "%.1f", as the temperatures are written.
std::string tenths(double x) {
    return TemperatureFormat::value(x, false, true);
}

// Rounded halves away from zero, then written as an integer, so -0.4 reads "0". Values
// beyond any integer (and NaN) keep their "%.0f" form rather than overflowing.
std::string whole(double x) {
    const double r = std::round(x);
    if (r > -9.0e18 && r < 9.0e18) {
        return std::to_string(static_cast<long long>(r));
    }
    return TemperatureFormat::value(r, false, false);
}

} // namespace

std::string forecastLine(WeatherCondition condition, double temperature, double trendPerMinute,
                         double projected30Min) {
    switch (condition) {
    case WeatherCondition::clear:
        return "Clear \u00b7 steady";
    case WeatherCondition::building:
        return "Warming: trending +" + tenths(trendPerMinute) + "\u00b0/min";
    case WeatherCondition::heatFront:
        return "Heat front: likely " + whole(projected30Min) + "\u00b0 within 30 min";
    case WeatherCondition::storm:
        return "Storm: fans answering, " + whole(temperature) + "\u00b0 holding";
    case WeatherCondition::cooldown:
        return "Cooling: clearing shortly";
    }
    return {};
}

} // namespace halvoren::WeatherCopy
