#include "core/double_text.h"
#include "core/holt_smoother.h"
#include "core/json_support.h"
#include "core/thermal_almanac.h"
#include "core/thermal_trend.h"
#include "core/weather_condition.h"
#include "core/weather_copy.h"
#include "core/weather_hourly.h"
#include "core/weather_snapshot.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace halvoren {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double t0 = 1.7e9;
constexpr auto none = std::nullopt;

ThermalTrend rising(std::optional<double> eta) {
    return ThermalTrend::rising(eta);
}

// `n` samples evenly over `span` seconds from `start`, the temperature moving `perStep` each
// sample from 50, then `extra`.
std::vector<TrendSample> ramp(int n, double span, double perStep, std::vector<TrendSample> extra = {},
                              double start = t0) {
    std::vector<TrendSample> samples;
    samples.reserve(static_cast<std::size_t>(n) + extra.size());
    for (int i = 0; i < n; ++i) {
        samples.push_back({start + span * i / (n - 1), 50.0 + perStep * i});
    }
    samples.insert(samples.end(), extra.begin(), extra.end());
    return samples;
}

// 9.375 s and 0.125 °C a step is exactly 0.8 °C/min in binary; the last sample reads 50.875,
// so a ceiling of 98.875 is exactly an hour away.
std::vector<TrendSample> atThreshold(std::vector<TrendSample> extra = {}) {
    return ramp(8, 65.625, 0.125, std::move(extra));
}

TEST(ThermalTrend, FitRefusesThinDataAndAppliesEveryThresholdInclusively) {
    const struct {
        const char* name;
        std::vector<TrendSample> samples;
        double ceiling;
        ThermalTrend expected;
    } rows[] = {
        {"empty", {}, 100, ThermalTrend::steady()},
        {"one sample", {{t0, 90}}, 100, ThermalTrend::steady()},
        {"seven over a minute", ramp(7, 60, 2), 100, ThermalTrend::steady()},
        {"eight over 29.9 s", ramp(8, 29.9, 2), 1000, ThermalTrend::steady()},
        {"eight over 30 s", ramp(8, 30, 2), 0, rising(none)},
        {"one instant", std::vector<TrendSample>(20, {t0, 60}), 100, ThermalTrend::steady()},
        {"window edge kept", ramp(8, 120, 2), 0, rising(none)},
        {"window edge passed", ramp(8, 120.5, 2), 1000, ThermalTrend::steady()},
        {"+0.8 exactly, an hour", atThreshold(), 98.875, rising(60.0)},
        {"eta past an hour", atThreshold(), 98.883, rising(none)},
        {"ceiling reached", atThreshold(), 50.875, rising(none)},
        {"just under +0.8", ramp(8, 65.625, 0.124), 100, ThermalTrend::steady()},
        {"-0.8 exactly", ramp(8, 65.625, -0.125), 100, ThermalTrend::cooling()},
        {"just above -0.8", ramp(8, 65.625, -0.124), 100, ThermalTrend::steady()},
        {"NaN temperature", atThreshold({{t0 + 1, nan}}), 100, ThermalTrend::steady()},
        {"NaN time is ignored", atThreshold({{nan, 99}}), 98.875, rising(60.0)},
        // The newest time still sets the window, so readings stamped after a jump back are outside it.
        {"clock jumped back", atThreshold(ramp(10, 60, -3, {}, t0 - 3600)), 98.875, rising(60.0)},
        {"one sample after a sleep", atThreshold({{t0 + 3600, 50}}), 100, ThermalTrend::steady()},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ThermalTrend::fit(row.samples, row.ceiling), row.expected) << row.name;
    }
}

TEST(ThermalTrend, FitSortsByTimeAndCountsTheEtaFromTheLastMeasuredValue) {
    // Raising both ends by 1 °C leaves the slope at 0.8 but puts the last reading, 51.875,
    // a quarter degree above the fitted line: 48 °C short of the ceiling is exactly an hour.
    auto samples = atThreshold();
    samples.front().temp += 1.0;
    samples.back().temp += 1.0;
    std::reverse(samples.begin(), samples.end());
    std::rotate(samples.begin(), samples.begin() + 3, samples.end());
    EXPECT_EQ(ThermalTrend::fit(samples, 99.875), rising(60.0));
}

TEST(ThermalTrend, ChipShowsOnlyTimesUnderFifteenMinutesAndUrgencyUnderFive) {
    const struct {
        ThermalTrend trend;
        ForecastChipState chip;
    } rows[] = {
        {rising(14.9), {"arrow.up.right", "Rising", 15, false}},
        {rising(15.0), {"arrow.up.right", "Rising", none, false}},
        {rising(5.0), {"arrow.up.right", "Rising", 5, false}},
        {rising(4.99), {"arrow.up.right", "Rising", 5, true}},
        {rising(none), {"arrow.up.right", "Rising", none, false}},
        {ThermalTrend::steady(), {"arrow.right", "Steady", none, false}},
        {ThermalTrend::cooling(), {"arrow.down.right", "Cooling", none, false}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(forecastChipState(row.trend), row.chip) << row.trend.etaMinutes().value_or(-1);
    }
    // A payload that is not a positive number is no estimate.
    for (const double eta : {nan, -3.0, 0.0, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(rising(eta), rising(none)) << eta;
    }
}

TEST(ThermalTrend, PreSpoolRampsFromTenMinutesToThreeAndOnlyWhenEnabled) {
    const std::pair<double, double> rows[] = {
        {10.01, 0.0}, {10.0, 0.10}, {6.5, 0.175}, {3.0, 0.25}, {2.99, 0.25}};
    for (const auto& [eta, floor] : rows) {
        EXPECT_DOUBLE_EQ(preSpoolFloor(rising(eta), true), floor) << eta;
    }
    for (const auto& trend : {rising(none), ThermalTrend::steady(), ThermalTrend::cooling()}) {
        EXPECT_EQ(preSpoolFloor(trend, true), 0.0);
    }
    EXPECT_EQ(preSpoolFloor(rising(2.0), false), 0.0);
}

TEST(ThermalTrend, SlopeIsHeldToTheTrendsDirection) {
    const struct {
        ThermalTrend trend;
        double raw, agreed;
    } rows[] = {{rising(none), 1.2, 1.2},
                {rising(none), -0.7, 0.0},
                {ThermalTrend::cooling(), -0.7, -0.7},
                {ThermalTrend::cooling(), 1.2, 0.0},
                {ThermalTrend::steady(), 3.0, 0.0},
                {rising(5.0), nan, 0.0}};
    for (const auto& row : rows) {
        EXPECT_EQ(slopeAgreeingWith(row.trend, row.raw), row.agreed) << row.raw;
    }
}

constexpr double inf = std::numeric_limits<double>::infinity();

TEST(HoltSmoother, FirstSampleSetsTheLevelAndLaterOnesBlendLevelAndTrend) {
    HoltSmoother smoother(0.35, 0.1);
    smoother.update(50.0);
    EXPECT_EQ(smoother.trendPerSample, 0.0);
    EXPECT_EQ(smoother.projected(1800), 50.0);
    smoother.update(nan);
    smoother.update(inf);
    EXPECT_EQ(smoother.sampleCount, 1);
    smoother.update(60.0);
    // 0.35 × 60 + 0.65 × 50, then 0.1 of the 3.5 step.
    EXPECT_DOUBLE_EQ(smoother.level, 53.5);
    EXPECT_DOUBLE_EQ(smoother.trendPerSample, 0.35);
    EXPECT_DOUBLE_EQ(smoother.projected(10), 57.0);
    EXPECT_DOUBLE_EQ(smoother.trendPerMinute(1.0), 21.0);
    EXPECT_EQ(smoother.trendPerMinute(0.0), 0.0);
}

TEST(HoltSmoother, ProjectionSwingsAtMostTwelveDegreesAndStaysWithinZeroToOneTwenty) {
    const struct {
        double level, trend, ahead, projected;
    } rows[] = {
        {50, 1.0, 1800, 62}, {50, -1.0, 1800, 38}, {50, -0.001, 1800, 48.2}, {115, 1.0, 1800, 120},
        {5, -1.0, 1800, 0},  {50, 0.5, 0, 50},     {130, 0.0, 1800, 120},
    };
    for (const auto& row : rows) {
        HoltSmoother smoother(0.35, 0.1);
        smoother.level = row.level;
        smoother.trendPerSample = row.trend;
        EXPECT_DOUBLE_EQ(smoother.projected(row.ahead), row.projected) << row.level << " " << row.trend;
    }
}

TEST(WeatherCondition, FirstMatchingRuleWinsAtInclusiveThresholds) {
    using enum WeatherCondition;
    const struct {
        double temp, trend, duty, boost;
        WeatherCondition expected;
    } rows[] = {
        {72.0, -3.0, 0.8, 0.0, storm},    {71.99, 2.0, 1.0, 0.0, heatFront}, {90.0, 0.0, 0.79, 0.0, clear},
        {60.0, 1.5, 0.0, 0.0, heatFront}, {60.0, 0.8, 0.0, 0.3, heatFront},  {60.0, 0.8, 0.0, 0.29, building},
        {60.0, 1.49, 0.0, 0.0, building}, {60.0, 0.3, 0.0, 0.0, building},   {60.0, 0.29, 0.0, 1.0, clear},
        {60.0, -0.49, 0.0, 0.0, clear},   {60.0, -0.5, 0.0, 0.0, cooldown},  {60.0, nan, 0.0, 0.0, clear},
        {nan, 0.0, 1.0, 0.0, clear},
    };
    for (const auto& row : rows) {
        const WeatherInputs in{row.temp, row.trend, row.duty, row.boost, 72.0};
        EXPECT_EQ(resolveWeatherCondition(in), row.expected) << row.temp << " " << row.trend;
    }
}

TEST(WeatherCondition, NamesSymbolsAndRawValuesInDeclarationOrder) {
    std::string all;
    for (const auto condition : allCases<WeatherCondition>()) {
        const Json raw = condition;
        EXPECT_EQ(raw.get<WeatherCondition>(), condition);
        all += raw.get<std::string>() + " " + std::string(displayName(condition)) + " " +
               std::string(symbolName(condition)) + "; ";
    }
    EXPECT_EQ(all, "clear Clear sun.max.fill; building Building cloud.sun.fill; heatFront Heat Front wind; "
                   "storm Storm cloud.bolt.fill; cooldown Cooldown cloud.fill; ");
    EXPECT_THROW(Json("sunny").get<WeatherCondition>(), DecodeError);
}

TEST(WeatherCopy, EachConditionHasItsSentenceWithItsOwnNumber) {
    using enum WeatherCondition;
    const struct {
        WeatherCondition condition;
        double temp, trend, projected;
        const char* line;
    } rows[] = {
        {cooldown, 80, -2, 60, "Cooling: clearing shortly"},
        {building, 80, 0.25, 90, "Warming: trending +0.2°/min"}, // "%.1f": an exact binary half goes even
        {heatFront, 80, 2, 74.5, "Heat front: likely 75° within 30 min"},
        {heatFront, 80, 2, 74.49, "Heat front: likely 74° within 30 min"},
        {storm, -0.4, 0, 90, "Storm: fans answering, 0° holding"},
        {storm, 1e20, 0, 90, "Storm: fans answering, 100000000000000000000° holding"},
        {storm, nan, 0, 90, "Storm: fans answering, nan° holding"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(WeatherCopy::forecastLine(row.condition, row.temp, row.trend, row.projected), row.line);
    }
}

TEST(WeatherHourly, PastHoursComeFromTodayOnlyAndForecastsNeedEnoughData) {
    ThermalAlmanac almanac;
    for (int day = 0; day < 4; ++day) {
        almanac.days.push_back({"2027-01-1" + std::to_string(day), {{23, 60.0}, {1, 70.0 + day}, {2, 55.0}}});
    }
    const auto labels = [](const std::vector<WeatherSnapshot::HourlyEntry>& entries) {
        std::string text;
        for (const auto& entry : entries) {
            text += std::to_string(entry.id) + ":" + entry.label + "=" + doubleText(entry.temperature) + " ";
        }
        return text;
    };
    // At midnight 10p and 11p are looked up in today's record; 2a has four days of peaks.
    EXPECT_EQ(labels(hourlyEntries(0, 48.26, 51.6, almanac, 59)), "-1:11p=60.0 0:now=48.3 2:2a=55.0 ");
    EXPECT_EQ(labels(hourlyEntries(23, 48.0, 51.6, almanac, 60)),
              "0:now=48.0 1:12a=52.0 2:1a=71.5 3:2a=55.0 ");
    EXPECT_EQ(labels(hourlyEntries(3, 40.0, 40.0, ThermalAlmanac{}, 0)), "0:now=40.0 ");
}

using namespace std::chrono;
using Day = ThermalAlmanac::DayRecord;

local_seconds local(year_month_day date, int hour, int minute = 0) {
    return local_days{date} + hours{hour} + minutes{minute};
}

std::string encoded(const ThermalAlmanac& almanac) {
    return encodeThermalAlmanac(almanac).value_or("unencodable");
}

// One peak at `hour` on each of the given days of March 2026.
ThermalAlmanac peaksAt(int hour, const std::vector<double>& peaks) {
    ThermalAlmanac almanac;
    for (std::size_t i = 0; i < peaks.size(); ++i) {
        almanac.record(peaks[i], local(2026y / March / day{static_cast<unsigned>(i + 1)}, hour));
    }
    return almanac;
}

TEST(ThermalAlmanac, RecordKeepsEachLocalHoursPeak) {
    ThermalAlmanac almanac;
    const auto day = 2026y / March / 9;
    almanac.record(61.25, local(day, 9, 5));
    almanac.record(60.0, local(day, 9, 59)); // lower: no change
    almanac.record(74.0, local(day, 14));
    almanac.record(73.0, local(day, 14, 30));
    almanac.record(std::numeric_limits<double>::infinity(), local(day, 14));
    almanac.record(std::numeric_limits<double>::quiet_NaN(), local(day, 15));
    EXPECT_EQ(encoded(almanac), R"({"days":[{"dayKey":"2026-03-09","hourPeaks":{"9":61.25,"14":74}}]})");
    almanac.record(66.5, local(day, 9, 10)); // higher: replaces
    almanac.record(-3.0, local(day, 23, 59));
    almanac.record(50.0, local(2026y / March / 10, 0));
    EXPECT_EQ(almanac.days.front().hourPeaks, (std::map<int, double>{{9, 66.5}, {14, 74.0}, {23, -3.0}}));
    EXPECT_EQ(almanac.days.back(), (Day{"2026-03-10", {{0, 50.0}}}));
    // The local clock decides: when it repeats an hour (a 25-hour day) both passes share one peak.
    almanac.record(52.0, local(2026y / March / 10, 0, 30));
    EXPECT_EQ(almanac.days.back().hourPeaks.at(0), 52.0);
}

TEST(ThermalAlmanac, KeepsTheNewestFourteenDaysInDateOrder) {
    ThermalAlmanac almanac;
    // Fifteen days across a year end, recorded out of order.
    for (const int offset : {14, 0, 7, 3, 1, 2, 4, 5, 6, 8, 9, 10, 11, 12, 13}) {
        almanac.record(50.0 + offset,
                       local(year_month_day{local_days{2025y / December / 25} + days{offset}}, 12));
    }
    ASSERT_EQ(almanac.days.size(), 14u);
    EXPECT_EQ(almanac.days.front().dayKey, "2025-12-26");
    EXPECT_EQ(almanac.days[6].dayKey, "2026-01-01");
    EXPECT_EQ(almanac.days.back(), (Day{"2026-01-08", {{12, 64.0}}}));

    // Days read from a file in any order are sorted by the next record.
    ThermalAlmanac loaded{{{"2026-03-09", {}}, {"0999-01-01", {}}, {"2026-02-28", {}}}};
    loaded.record(40.0, local(2026y / March / 1, 8));
    EXPECT_EQ(loaded.days[0].dayKey, "0999-01-01");
    EXPECT_EQ(loaded.days[2], (Day{"2026-03-01", {{8, 40.0}}}));
    EXPECT_EQ(loaded.days[3].dayKey, "2026-03-09");
}

TEST(ThermalAlmanac, ProfileIsThePopulationMeanAndSpreadOfAnHoursPeaks) {
    const auto almanac = peaksAt(15, {2, 4, 4, 4, 5, 5, 7, 9});
    EXPECT_EQ(almanac.profile(15), (ThermalAlmanac::HourProfile{15, 8, 5.0, 2.0}));
    EXPECT_EQ(almanac.profile(14), std::nullopt);
    EXPECT_EQ(peaksAt(3, {71.5}).profile(3), (ThermalAlmanac::HourProfile{3, 1, 71.5, 0.0}));
}

TEST(ThermalAlmanac, OutlookIsTheNearestFirmHotHourOfTheNextEight) {
    const auto week = [](double peak) { return std::vector<double>(7, peak); };
    const struct {
        const char* what;
        ThermalAlmanac almanac;
        int nowHour;
        std::optional<int> hour;
    } rows[] = {
        {"a week of 64", peaksAt(15, week(64.0)), 14, 15},
        {"six days are not enough", peaksAt(15, std::vector<double>(6, 90.0)), 14, std::nullopt},
        {"63.9 is not hot", peaksAt(15, week(63.9)), 14, std::nullopt},
        {"a spread of exactly 8 passes", peaksAt(15, {62, 62, 62, 62, 78, 78, 78, 78}), 14, 15},
        {"a wider spread fails", peaksAt(15, {61.99, 62, 62, 62, 78, 78, 78, 78.01}), 14, std::nullopt},
        {"the present hour is not looked at", peaksAt(15, week(80.0)), 15, std::nullopt},
        {"eight hours ahead", peaksAt(15, week(80.0)), 7, 15},
        {"nine hours ahead is too far", peaksAt(15, week(80.0)), 6, std::nullopt},
        {"through midnight", peaksAt(4, week(80.0)), 22, 4},
    };
    for (const auto& row : rows) {
        const auto outlook = row.almanac.outlook(local(2026y / March / 20, row.nowHour, 45), 72.0);
        EXPECT_EQ(outlook ? std::optional(outlook->hour) : std::nullopt, row.hour) << row.what;
    }
    auto both = peaksAt(18, week(95.0));
    for (unsigned d = 1; d <= 7; ++d) {
        both.record(70.25, local(2026y / March / day{d}, 16));
    }
    EXPECT_EQ(both.outlook(local(2026y / March / 20, 14), 72.0),
              (ThermalAlmanac::Outlook{16, 70.25, "Builds usually arrive around 4p, typical peak 70°"}));
}

TEST(ThermalAlmanac, HoursReadOnTheTwelveHourClock) {
    // 12a, 1a, 2a, 11p and 4p are read in the hourly and outlook tests.
    EXPECT_EQ(ThermalAlmanac::shortHourLabel(11), "11a");
    EXPECT_EQ(ThermalAlmanac::outlookLine(12, -0.4), "Builds usually arrive around 12p, typical peak 0°");
}

TEST(ThermalAlmanac, FileReadsBackAndAnythingMalformedReadsAsNothing) {
    const std::string file = R"({"days":[{"dayKey":"2026-03-09","hourPeaks":{"9":61.25,"14":74}},)"
                             R"({"dayKey":"2026-03-10","hourPeaks":{}}]})";
    const auto almanac = decodeThermalAlmanac(file);
    ASSERT_TRUE(almanac);
    EXPECT_EQ(encoded(*almanac), file);
    EXPECT_EQ(decodeThermalAlmanac(
                  R"({"extra":1,"days":[{"hourPeaks":{"14":74,"09":61.25},"dayKey":"2026-03-09"}]})"),
              (ThermalAlmanac{{{"2026-03-09", {{9, 61.25}, {14, 74.0}}}}}));
    EXPECT_EQ(encoded(ThermalAlmanac{}), R"({"days":[]})");

    for (std::size_t cut = 0; cut < file.size(); ++cut) {
        EXPECT_EQ(decodeThermalAlmanac(file.substr(0, cut)), std::nullopt) << cut;
    }
    std::vector<std::string> corrupt{"[]", R"({"days":{}})", R"({"days":[{"hourPeaks":{}}]})",
                                     R"({"days":[{"dayKey":"x"}]})"};
    // The peaks of one day, each malformed.
    for (const char* peaks : {"[]", R"({"9":"61"})", R"({"9":null})", R"({"24":61})", R"({"-1":61})",
                              R"({"nine":61})", R"({"":61})", R"({"9":1e999})"}) {
        corrupt.push_back(R"({"days":[{"dayKey":"2026-03-09","hourPeaks":)" + std::string(peaks) + "}]}");
    }
    for (const auto& text : corrupt) {
        EXPECT_EQ(decodeThermalAlmanac(text), std::nullopt) << text;
    }
}

} // namespace
} // namespace halvoren
