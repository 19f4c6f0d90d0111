#pragma once

#include "core/thermal_almanac.h"
#include "core/weather_snapshot.h"

#include <cstdint>
#include <vector>

namespace halvoren {

// The hourly strip: the last two hours' peaks from today's record, now, the next hour from
// the half-hour projection once a minute of samples exists, and two hours later from the
// almanac's typical peak once it has four days of them. From one to six cards; ids are
// hours from `hour` (the local hour now), with gaps where a card is missing.
std::vector<WeatherSnapshot::HourlyEntry> hourlyEntries(int hour, double currentTemp, double projected30Min,
                                                        const ThermalAlmanac& almanac,
                                                        std::int64_t smootherSampleCount);

} // namespace halvoren
