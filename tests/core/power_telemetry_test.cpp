#include "core/power_telemetry.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace halvoren {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

TEST(PowerTelemetry, DefaultIsTheStateBeforeTheFirstReading) {
    const PowerTelemetry power;
    EXPECT_EQ(power.source, PowerSource::unknown);
    EXPECT_FALSE(power.onBattery());
    EXPECT_TRUE((PowerTelemetry{PowerSource::battery, 0, false, false, 0}).onBattery());
    EXPECT_FALSE((PowerTelemetry{PowerSource::ac, 0, false, false, 0}).onBattery());
}

TEST(PowerTelemetry, FanWattsFollowsTheCubeLawUpToFullSpeed) {
    EXPECT_EQ(PowerTelemetry::fanWatts(3000, 3000), 2.5);
    EXPECT_EQ(PowerTelemetry::fanWatts(6000, 3000), 2.5); // fraction cut to 1.0
    EXPECT_EQ(PowerTelemetry::fanWatts(2000, 4000), 0.3125);
    EXPECT_DOUBLE_EQ(PowerTelemetry::fanWatts(1000, 4000), 2.5 / 64);
    EXPECT_EQ(PowerTelemetry::fanWatts(inf, 3000), 2.5);

    // Nothing to estimate: no division, no negative power.
    EXPECT_EQ(PowerTelemetry::fanWatts(2000, 0), 0.0);
    EXPECT_EQ(PowerTelemetry::fanWatts(2000, -1), 0.0);
    EXPECT_EQ(PowerTelemetry::fanWatts(0, 3000), 0.0);
    EXPECT_EQ(PowerTelemetry::fanWatts(-500, 3000), 0.0);
    EXPECT_EQ(PowerTelemetry::fanWatts(nan, 3000), 0.0);
    EXPECT_EQ(PowerTelemetry::fanWatts(2000, nan), 0.0);
}

TEST(PowerTelemetry, TotalFanWattsSumsEveryFan) {
    EXPECT_EQ(PowerTelemetry::totalFanWatts({}), 0.0);
    const std::vector<FanSpeed> halfSpeed{{2000, 4000}, {3000, 6000}};
    EXPECT_EQ(PowerTelemetry::totalFanWatts(halfSpeed), 0.625);
    const std::vector<FanSpeed> mixed{{9000, 6000}, {0, 6000}, {nan, 6000}, {1500, 6000}};
    EXPECT_DOUBLE_EQ(PowerTelemetry::totalFanWatts(mixed), 2.5 + 2.5 / 64);
}

TEST(PowerTelemetry, BatteryImpactIsTheRuntimeLostToTheExtraDraw) {
    // 60 Wh lasts 6 h at 10 W and 4 h at 15 W: two hours lost.
    EXPECT_DOUBLE_EQ(PowerTelemetry::estimatedBatteryImpactMinutes(60, 10, 5), 120.0);
    EXPECT_DOUBLE_EQ(PowerTelemetry::estimatedBatteryImpactMinutes(50, 8, 2), (50.0 / 8 - 50.0 / 10) * 60);
    EXPECT_DOUBLE_EQ(PowerTelemetry::estimatedBatteryImpactMinutes(60, 10, inf), 360.0);

    EXPECT_EQ(PowerTelemetry::estimatedBatteryImpactMinutes(60, 10, 0), 0.0);
    EXPECT_EQ(PowerTelemetry::estimatedBatteryImpactMinutes(60, 10, -3), 0.0);
    EXPECT_EQ(PowerTelemetry::estimatedBatteryImpactMinutes(60, 0, 5), 0.0);
    EXPECT_EQ(PowerTelemetry::estimatedBatteryImpactMinutes(60, -10, 5), 0.0);
    EXPECT_EQ(PowerTelemetry::estimatedBatteryImpactMinutes(0, 10, 5), 0.0);
    EXPECT_EQ(PowerTelemetry::estimatedBatteryImpactMinutes(-60, 10, 5), 0.0);

    // Capacity and baseline must be above 0, so NaN there gives 0; a NaN extra draw is not
    // below 0 and so flows through the formula.
    EXPECT_EQ(PowerTelemetry::estimatedBatteryImpactMinutes(nan, 10, 5), 0.0);
    EXPECT_EQ(PowerTelemetry::estimatedBatteryImpactMinutes(60, nan, 5), 0.0);
    EXPECT_TRUE(std::isnan(PowerTelemetry::estimatedBatteryImpactMinutes(60, 10, nan)));
}

} // namespace
} // namespace halvoren
