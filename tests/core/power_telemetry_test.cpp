#include "core/power_telemetry.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace halvoren {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

TEST(PowerTelemetry, FanWattsFollowTheCubeLawUpToFullSpeedAndNeverGoNegative) {
    const struct {
        double rpm, maxRPM, watts;
    } rows[] = {
        {3000, 3000, 2.5}, {6000, 3000, 2.5}, {2000, 4000, 0.3125}, {1000, 4000, 2.5 / 64},
        {inf, 3000, 2.5},  {2000, 0, 0.0},    {2000, -1, 0.0},      {0, 3000, 0.0},
        {-500, 3000, 0.0}, {nan, 3000, 0.0},  {2000, nan, 0.0},
    };
    for (const auto& row : rows) {
        EXPECT_DOUBLE_EQ(PowerTelemetry::fanWatts(row.rpm, row.maxRPM), row.watts)
            << row.rpm << "/" << row.maxRPM;
    }
    EXPECT_EQ(PowerTelemetry::totalFanWatts({}), 0.0);
    const std::vector<FanSpeed> mixed{{9000, 6000}, {0, 6000}, {nan, 6000}, {1500, 6000}, {3000, 6000}};
    EXPECT_DOUBLE_EQ(PowerTelemetry::totalFanWatts(mixed), 2.5 + 2.5 / 64 + 0.3125);
}

TEST(PowerTelemetry, BatteryImpactIsTheRuntimeLostToTheExtraDraw) {
    const struct {
        double batteryWh, baselineW, extraW, minutes;
    } rows[] = {
        {60, 10, 5, 120.0}, // 6 h at 10 W, 4 h at 15 W
        {50, 8, 2, (50.0 / 8 - 50.0 / 10) * 60},
        {0.5, 1, 1, 15.0}, // a small battery still counts
        {60, 10, inf, 360.0},
        {60, 10, 0, 0.0},
        {60, 10, -3, 0.0},
        {60, 0, 5, 0.0},
        {60, -10, 5, 0.0},
        {0, 10, 5, 0.0},
        {-60, 10, 5, 0.0},
        {nan, 10, 5, 0.0},
        {60, nan, 5, 0.0},
    };
    for (const auto& row : rows) {
        EXPECT_DOUBLE_EQ(
            PowerTelemetry::estimatedBatteryImpactMinutes(row.batteryWh, row.baselineW, row.extraW),
            row.minutes)
            << row.batteryWh << " Wh, " << row.baselineW << " W + " << row.extraW << " W";
    }
    // A NaN extra draw is not below 0 and so flows through the formula.
    EXPECT_TRUE(std::isnan(PowerTelemetry::estimatedBatteryImpactMinutes(60, 10, nan)));
}

} // namespace
} // namespace halvoren
