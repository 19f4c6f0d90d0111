#include "core/thermal_almanac.h"

#include "core/double_text.h"
#include "core/json_support.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace halvoren {
namespace {

constexpr int hoursPerDay = 24;
constexpr int outlookHorizon = 8; // hours ahead that the outlook looks at
constexpr int firmSampleCount = 7;
constexpr double firmSpread = 8.0;
constexpr double hotMargin = 8.0;

int twelveHour(int hour) {
    if (hour == 0) {
        return 12;
    }
    return hour <= 12 ? hour : hour - 12;
}

const char* meridiem(int hour) {
    return hour < 12 ? "a" : "p";
}

int hourFromMemberName(const std::string& name) {
    int hour = -1;
    const char* end = name.data() + name.size();
    const auto [last, error] = std::from_chars(name.data(), end, hour);
    if (name.empty() || error != std::errc{} || last != end || hour < 0 || hour >= hoursPerDay) {
        throw DecodeError("\"" + name + "\" is not an hour of the day");
    }
    return hour;
}

} // namespace

std::string ThermalAlmanac::dayKey(std::chrono::local_days day) {
    const std::chrono::year_month_day date{day};
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    return text;
}

int ThermalAlmanac::hourOf(std::chrono::local_seconds localTime) {
    const auto sinceMidnight = localTime - std::chrono::floor<std::chrono::days>(localTime);
    return static_cast<int>(std::chrono::floor<std::chrono::hours>(sinceMidnight).count());
}

void ThermalAlmanac::record(double temp, std::chrono::local_seconds localTime) {
    if (!std::isfinite(temp)) {
        return;
    }
    const int hour = hourOf(localTime);
    const std::string key = dayKey(std::chrono::floor<std::chrono::days>(localTime));
    const auto day =
        std::find_if(days.begin(), days.end(), [&](const DayRecord& d) { return d.dayKey == key; });
    if (day != days.end()) {
        const auto [peak, inserted] = day->hourPeaks.try_emplace(hour, temp);
        if (!inserted) {
            peak->second = std::max(peak->second, temp);
        }
    } else {
        days.push_back({key, {{hour, temp}}});
    }
    // The fixed-width key sorts chronologically as plain text.
    std::stable_sort(days.begin(), days.end(),
                     [](const DayRecord& a, const DayRecord& b) { return a.dayKey < b.dayKey; });
    if (days.size() > maximumDays) {
        days.erase(days.begin(), days.end() - static_cast<std::ptrdiff_t>(maximumDays));
    }
}

std::optional<ThermalAlmanac::HourProfile> ThermalAlmanac::profile(int hour) const {
    std::vector<double> peaks;
    for (const auto& day : days) {
        if (const auto it = day.hourPeaks.find(hour); it != day.hourPeaks.end()) {
            peaks.push_back(it->second);
        }
    }
    if (peaks.empty()) {
        return std::nullopt;
    }
    const auto n = static_cast<double>(peaks.size());
    double sum = 0.0;
    for (const double p : peaks) {
        sum += p;
    }
    const double mean = sum / n;
    double squares = 0.0;
    for (const double p : peaks) {
        squares += (p - mean) * (p - mean);
    }
    return HourProfile{hour, static_cast<int>(peaks.size()), mean, std::sqrt(squares / n)};
}

std::optional<ThermalAlmanac::Outlook> ThermalAlmanac::outlook(std::chrono::local_seconds now,
                                                               double hotThreshold) const {
    const int hour = hourOf(now);
    // The nearest qualifying hour wins, not the hottest.
    for (int offset = 1; offset <= outlookHorizon; ++offset) {
        const int h = (hour + offset) % hoursPerDay;
        const auto p = profile(h);
        if (p && p->sampleCount >= firmSampleCount && p->stddev <= firmSpread &&
            p->mean >= hotThreshold - hotMargin) {
            return Outlook{h, p->mean, outlookLine(h, p->mean)};
        }
    }
    return std::nullopt;
}

std::string ThermalAlmanac::outlookLine(int hour, double typicalPeak) {
    // std::round takes halves away from zero; adding 0.0 turns a rounded -0 into 0.
    return "Builds usually arrive around " + shortHourLabel(hour) + ", typical peak " +
           fixedText(std::round(typicalPeak) + 0.0, 0) + "°";
}

std::string ThermalAlmanac::shortHourLabel(int hour) {
    return std::to_string(twelveHour(hour)) + meridiem(hour);
}

void to_json(Json& j, const ThermalAlmanac& almanac) {
    Json days = Json::array();
    for (const auto& day : almanac.days) {
        Json peaks = Json::object();
        for (const auto& [hour, peak] : day.hourPeaks) {
            peaks[std::to_string(hour)] = json::finite(peak);
        }
        days.push_back(Json{{"dayKey", day.dayKey}, {"hourPeaks", std::move(peaks)}});
    }
    j = Json{{"days", std::move(days)}};
}

void from_json(const Json& j, ThermalAlmanac& almanac) {
    const Json& days = json::requireKey(j, "days");
    if (!days.is_array()) {
        throw DecodeError("\"days\" is not an array");
    }
    ThermalAlmanac decoded;
    for (const Json& day : days) {
        ThermalAlmanac::DayRecord record{json::requireString(day, "dayKey"), {}};
        for (const auto& [name, value] :
             json::requireObject(json::requireKey(day, "hourPeaks"), "hourPeaks").items()) {
            const double peak = json::asDouble(value, "hourPeaks");
            if (!std::isfinite(peak)) {
                throw DecodeError("an hour's peak is out of range");
            }
            record.hourPeaks[hourFromMemberName(name)] = peak;
        }
        decoded.days.push_back(std::move(record));
    }
    almanac = std::move(decoded);
}

std::optional<std::string> encodeThermalAlmanac(const ThermalAlmanac& almanac) {
    try {
        return Json(almanac).dump();
    } catch (const EncodeError&) {
        return std::nullopt;
    } catch (const nlohmann::json::exception&) { // text that is not UTF-8
        return std::nullopt;
    }
}

std::optional<ThermalAlmanac> decodeThermalAlmanac(std::string_view text) {
    try {
        return json::parse(text).get<ThermalAlmanac>();
    } catch (const DecodeError&) {
        return std::nullopt;
    }
}

} // namespace halvoren
