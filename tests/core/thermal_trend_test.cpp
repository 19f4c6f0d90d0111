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

// `n` samples evenly over `span` seconds from `start`, the temperature moving `perStep` each sample from 50.
std::vector<TrendSample> ramp(int n, double span, double perStep, double start = t0) {
    std::vector<TrendSample> samples;
    for (int i = 0; i < n; ++i) {
        samples.push_back({start + span * i / (n - 1), 50.0 + perStep * i});
    }
    return samples;
}

// 9.375 s and 0.125 °C a step is exactly 0.8 °C/min in binary; the last sample reads 50.875.
const std::vector<TrendSample> atThreshold = ramp(8, 65.625, 0.125);

std::vector<TrendSample> joined(std::vector<TrendSample> a, const std::vector<TrendSample>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST(ThermalTrend, FitRefusesThinDataAndAppliesEveryThresholdInclusively) {
    const auto steep = [](int n, double span) { return ramp(n, span, 2.0); };
    const struct {
        const char* name;
        std::vector<TrendSample> samples;
        double ceiling;
        ThermalTrend expected;
    } rows[] = {
        {"empty", {}, 100, ThermalTrend::steady()},
        {"one sample", {{t0, 90}}, 100, ThermalTrend::steady()},
        {"seven over a minute", steep(7, 60), 100, ThermalTrend::steady()},
        {"eight over 29.9 s", steep(8, 29.9), 1000, ThermalTrend::steady()},
        {"eight over 30 s", steep(8, 30), 0, ThermalTrend::rising(std::nullopt)},
        {"one instant", std::vector<TrendSample>(20, {t0, 60}), 100, ThermalTrend::steady()},
        {"window edge kept", steep(8, 120), 0, ThermalTrend::rising(std::nullopt)},
        {"window edge passed", steep(8, 120.5), 1000, ThermalTrend::steady()},
        {"+0.8 exactly", atThreshold, 98.875, ThermalTrend::rising(60.0)},
        {"eta past an hour", atThreshold, 98.883, ThermalTrend::rising(std::nullopt)},
        {"ceiling reached", atThreshold, 50.875, ThermalTrend::rising(std::nullopt)},
        {"ceiling passed", atThreshold, 40, ThermalTrend::rising(std::nullopt)},
        {"ceiling NaN", atThreshold, nan, ThermalTrend::rising(std::nullopt)},
        {"just under +0.8", ramp(8, 65.625, 0.124), 100, ThermalTrend::steady()},
        {"-0.8 exactly", ramp(8, 65.625, -0.125), 100, ThermalTrend::cooling()},
        {"just above -0.8", ramp(8, 65.625, -0.124), 100, ThermalTrend::steady()},
        {"NaN temperature", joined(atThreshold, {{t0 + 1, nan}}), 100, ThermalTrend::steady()},
        {"NaN time is ignored", joined(atThreshold, {{nan, 99}}), 98.875, ThermalTrend::rising(60.0)},
        // After a jump back the newest time still sets the window, so the later readings
        // stamped an hour earlier are outside it.
        {"clock jumped back", joined(atThreshold, ramp(10, 60, -3.0, t0 - 3600)), 98.875,
         ThermalTrend::rising(60.0)},
        {"one sample after a sleep", joined(atThreshold, {{t0 + 3600, 50}}), 100, ThermalTrend::steady()},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ThermalTrend::fit(row.samples, row.ceiling), row.expected) << row.name;
    }
}

TEST(ThermalTrend, FitSortsByTimeAndCountsTheEtaFromTheLastMeasuredValue) {
    // Raising both ends by 1 °C leaves the slope at 0.8 but puts the last reading, 51.875,
    // a quarter degree above the fitted line: 48 °C short of the ceiling is exactly an hour.
    auto samples = atThreshold;
    samples.front().temp += 1.0;
    samples.back().temp += 1.0;
    std::reverse(samples.begin(), samples.end());
    std::rotate(samples.begin(), samples.begin() + 3, samples.end());
    EXPECT_EQ(ThermalTrend::fit(samples, 99.875), ThermalTrend::rising(60.0));
}

TEST(ThermalTrend, NamesDoNotDependOnThePayloadAndEqualityDoes) {
    const struct {
        ThermalTrend trend;
        const char *label, *symbol;
    } rows[] = {
        {ThermalTrend::rising(3.0), "Rising", "arrow.up.right"},
        {ThermalTrend::rising(std::nullopt), "Rising", "arrow.up.right"},
        {ThermalTrend::steady(), "Steady", "arrow.right"},
        {ThermalTrend::cooling(), "Cooling", "arrow.down.right"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.trend.label(), row.label);
        EXPECT_EQ(row.trend.sfSymbolName(), row.symbol);
    }
    EXPECT_NE(ThermalTrend::rising(3.0), ThermalTrend::rising(4.0));
    EXPECT_NE(ThermalTrend::rising(3.0), ThermalTrend::rising(std::nullopt));
    EXPECT_NE(ThermalTrend::rising(std::nullopt), ThermalTrend::steady());
    // No estimate is the only reading of a payload that is not a positive number.
    for (const double eta : {nan, -3.0, 0.0, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(ThermalTrend::rising(eta), ThermalTrend::rising(std::nullopt)) << eta;
    }
}

TEST(ThermalTrend, ChipShowsOnlyTimesUnderFifteenMinutesAndUrgencyUnderFive) {
    const struct {
        ThermalTrend trend;
        ForecastChipState chip;
    } rows[] = {
        {ThermalTrend::rising(14.9), {"arrow.up.right", "Rising", 15, false}},
        {ThermalTrend::rising(15.0), {"arrow.up.right", "Rising", std::nullopt, false}},
        {ThermalTrend::rising(59.0), {"arrow.up.right", "Rising", std::nullopt, false}},
        {ThermalTrend::rising(5.0), {"arrow.up.right", "Rising", 5, false}},
        {ThermalTrend::rising(4.99), {"arrow.up.right", "Rising", 5, true}},
        {ThermalTrend::rising(2.5), {"arrow.up.right", "Rising", 3, true}},
        {ThermalTrend::rising(0.4), {"arrow.up.right", "Rising", 0, true}},
        {ThermalTrend::rising(std::nullopt), {"arrow.up.right", "Rising", std::nullopt, false}},
        {ThermalTrend::steady(), {"arrow.right", "Steady", std::nullopt, false}},
        {ThermalTrend::cooling(), {"arrow.down.right", "Cooling", std::nullopt, false}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(forecastChipState(row.trend), row.chip) << row.trend.etaMinutes().value_or(-1);
    }
}

TEST(ThermalTrend, PreSpoolRampsFromTenMinutesToThreeAndOnlyWhenEnabled) {
    const struct {
        ThermalTrend trend;
        bool enabled;
        double floor;
    } rows[] = {
        {ThermalTrend::rising(10.01), true, 0.0},
        {ThermalTrend::rising(10.0), true, 0.10},
        {ThermalTrend::rising(6.5), true, 0.175},
        {ThermalTrend::rising(3.0), true, 0.25},
        {ThermalTrend::rising(2.99), true, 0.25},
        {ThermalTrend::rising(2.99), false, 0.0},
        {ThermalTrend::rising(std::nullopt), true, 0.0},
        {ThermalTrend::steady(), true, 0.0},
        {ThermalTrend::cooling(), true, 0.0},
    };
    for (const auto& row : rows) {
        EXPECT_DOUBLE_EQ(preSpoolFloor(row.trend, row.enabled), row.floor)
            << row.trend.etaMinutes().value_or(-1);
    }
}

TEST(ThermalTrend, SlopeIsHeldToTheTrendsDirection) {
    const struct {
        ThermalTrend trend;
        double raw, agreed;
    } rows[] = {
        {ThermalTrend::rising(std::nullopt), 1.2, 1.2},
        {ThermalTrend::rising(std::nullopt), -0.7, 0.0},
        {ThermalTrend::cooling(), -0.7, -0.7},
        {ThermalTrend::cooling(), 1.2, 0.0},
        {ThermalTrend::steady(), 3.0, 0.0},
        {ThermalTrend::rising(5.0), nan, 0.0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(slopeAgreeingWith(row.trend, row.raw), row.agreed) << row.raw;
    }
}

} // namespace
} // namespace halvoren
