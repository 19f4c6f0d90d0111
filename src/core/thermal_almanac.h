#pragma once

#include "core/json_value.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halvoren {

// The daily rhythm of heat: for each of the last fourteen days, the peak temperature (°C) seen
// in each local hour.
//
// Times come in as local clock readings (`std::chrono::local_seconds`), which the caller makes
// from the wall date in the user's time zone. The almanac only needs the local date and hour,
// and taking them already resolved keeps time zones out of here: a 25-hour day repeats one
// local hour, whose samples share one peak; a 23-hour day lacks one; a sample after a move to
// another zone goes to the day and hour that the local clock shows.
struct ThermalAlmanac {
    static constexpr std::size_t maximumDays = 14;

    struct DayRecord {
        std::string dayKey;              // the local date, "YYYY-MM-DD"
        std::map<int, double> hourPeaks; // local hour (0...23) to its highest temperature

        friend bool operator==(const DayRecord&, const DayRecord&) = default;
    };

    // Computed from the days holding a peak for `hour`.
    struct HourProfile {
        int hour = 0;
        int sampleCount = 0;
        double mean = 0.0;
        double stddev = 0.0; // population deviation (over n)
        friend bool operator==(const HourProfile&, const HourProfile&) = default;
    };

    struct Outlook {
        int hour = 0;
        double typicalPeak = 0.0;
        std::string line;
        friend bool operator==(const Outlook&, const Outlook&) = default;
    };

    // Ascending by `dayKey` after any `record`; a file may hold them in another order.
    std::vector<DayRecord> days;

    // Raises the peak of the local hour of `localTime`, creating its day, then keeps the newest
    // fourteen days. Only peaks survive: a lower value changes nothing. A non-finite reading is
    // ignored, since it could never be saved and would block every later save.
    void record(double temp, std::chrono::local_seconds localTime);

    // Absent when no day holds a peak for `hour`.
    std::optional<HourProfile> profile(int hour) const;

    // The nearest of the next eight hours whose peak is firm (seen on at least a week of days,
    // spread at most 8 °C) and hot (at most 8 °C under `hotThreshold`).
    std::optional<Outlook> outlook(std::chrono::local_seconds now, double hotThreshold) const;

    // "Builds usually arrive around 3p, typical peak 88°", always in Celsius.
    static std::string outlookLine(int hour, double typicalPeak);
    // "12a", "1a", ..., "11a", "12p", "1p", ..., "11p".
    static std::string shortHourLabel(int hour);

    static std::string dayKey(std::chrono::local_days day);
    static int hourOf(std::chrono::local_seconds localTime);

    friend bool operator==(const ThermalAlmanac&, const ThermalAlmanac&) = default;
};

// {"days":[{"dayKey":"2026-03-09","hourPeaks":{"9":61.25,"14":74}}]}. Both keys are required;
// hours are decimal member names from 0 to 23, in any order. Encoding throws EncodeError for a
// non-finite peak, decoding DecodeError.
void to_json(Json& j, const ThermalAlmanac& almanac);
void from_json(const Json& j, ThermalAlmanac& almanac);

// The text of the almanac's file, and back. A file that cannot be read for any reason gives no
// value, and the caller starts empty.
std::optional<std::string> encodeThermalAlmanac(const ThermalAlmanac& almanac);
std::optional<ThermalAlmanac> decodeThermalAlmanac(std::string_view text);

} // namespace halvoren
