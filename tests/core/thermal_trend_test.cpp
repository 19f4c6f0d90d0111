#include "core/thermal_trend.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
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
        {rising(2.5), {"arrow.up.right", "Rising", 3, true}},
        {rising(none), {"arrow.up.right", "Rising", none, false}},
        {ThermalTrend::steady(), {"arrow.right", "Steady", none, false}},
        {ThermalTrend::cooling(), {"arrow.down.right", "Cooling", none, false}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(forecastChipState(row.trend), row.chip) << row.trend.etaMinutes().value_or(-1);
    }
    EXPECT_NE(rising(3.0), rising(4.0));
    // A payload that is not a positive number is no estimate.
    for (const double eta : {nan, -3.0, 0.0, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(rising(eta), rising(none)) << eta;
    }
}

TEST(ThermalTrend, PreSpoolRampsFromTenMinutesToThreeAndOnlyWhenEnabled) {
    const struct {
        double eta, floor;
    } rows[] = {{10.01, 0.0}, {10.0, 0.10}, {6.5, 0.175}, {3.0, 0.25}, {2.99, 0.25}};
    for (const auto& row : rows) {
        EXPECT_DOUBLE_EQ(preSpoolFloor(rising(row.eta), true), row.floor) << row.eta;
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

} // namespace
} // namespace halvoren
