#include "core/weather_hourly.h"

#include <cmath>

namespace halvoren {

std::vector<WeatherSnapshot::HourlyEntry> hourlyEntries(int hour, double currentTemp, double projected30Min,
                                                        const ThermalAlmanac& almanac,
                                                        std::int64_t smootherSampleCount) {
    std::vector<WeatherSnapshot::HourlyEntry> entries;
    // Always today's record, also for hours before midnight, where it normally has none.
    for (const int offset : {-2, -1}) {
        const int h = (hour + offset + 24) % 24;
        if (almanac.days.empty()) {
            break;
        }
        const auto& peaks = almanac.days.back().hourPeaks;
        if (const auto it = peaks.find(h); it != peaks.end()) {
            entries.push_back({offset, ThermalAlmanac::shortHourLabel(h), it->second, false});
        }
    }
    entries.push_back({0, "now", std::round(currentTemp * 10.0) / 10.0, false});
    if (smootherSampleCount >= 60) {
        entries.push_back(
            {1, ThermalAlmanac::shortHourLabel((hour + 1) % 24), std::round(projected30Min), true});
    }
    for (const int offset : {2, 3}) {
        const int h = (hour + offset) % 24;
        if (const auto profile = almanac.profile(h); profile && profile->sampleCount >= 4) {
            entries.push_back(
                {offset, ThermalAlmanac::shortHourLabel(h), std::round(profile->mean * 10.0) / 10.0, true});
        }
    }
    return entries;
}

} // namespace halvoren
