#include "core/double_text.h"
#include "core/holt_smoother.h"
#include "core/json_support.h"
#include "core/weather_condition.h"
#include "core/weather_copy.h"
#include "core/weather_hourly.h"
#include "core/weather_snapshot.h"

#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

namespace halvoren {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
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
    EXPECT_EQ(smoother.sampleCount, 2);
    EXPECT_DOUBLE_EQ(smoother.projected(10), 57.0);
    EXPECT_DOUBLE_EQ(smoother.trendPerMinute(1.0), 21.0);
    EXPECT_EQ(smoother.trendPerMinute(0.0), 0.0);
    EXPECT_EQ(smoother.trendPerMinute(-1.0), 0.0);
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
        {clear, 80, 2, 90, "Clear · steady"},
        {cooldown, 80, -2, 60, "Cooling: clearing shortly"},
        {building, 80, 0.34, 90, "Warming: trending +0.3°/min"},
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

} // namespace
} // namespace halvoren
