#pragma once

#include "core/weather_condition.h"

#include <optional>
#include <string>
#include <vector>

namespace halvoren {

// One published thermal weather: the condition, the hero numbers, the sentences and the
// hourly cards.
struct WeatherSnapshot {
    // One card of the hourly strip.
    struct HourlyEntry {
        int id = 0;        // hours from now: negative is past, 0 is now
        std::string label; // "now", or a short hour such as "3p"
        double temperature = 0.0;
        bool isForecast = false;

        friend bool operator==(const HourlyEntry&, const HourlyEntry&) = default;
    };

    WeatherCondition condition = WeatherCondition::clear;
    double temperature = 0.0;    // °C, to a tenth
    double trendPerMinute = 0.0; // °C/min, to a tenth
    double projected30Min = 0.0; // °C, whole
    std::string forecastLine;
    std::optional<std::string> outlookLine;
    std::vector<HourlyEntry> hourly; // in display order

    // Before the first reading.
    static WeatherSnapshot placeholder() {
        WeatherSnapshot snapshot;
        snapshot.forecastLine = "\u2014";
        return snapshot;
    }

    friend bool operator==(const WeatherSnapshot&, const WeatherSnapshot&) = default;
};

} // namespace halvoren
