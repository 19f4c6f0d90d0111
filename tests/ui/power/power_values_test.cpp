#include "ui/power/power_values.h"

#include <gtest/gtest.h>

namespace halvoren::power {
namespace {

FanStatus fan(int id, double current, double min = 0.0, double max = 6000.0) {
    return {.id = id, .currentRPM = current, .minRPM = min, .maxRPM = max};
}

TEST(PowerValuesTest, FanDrawAndRuntimeCost) {
    const PowerTelemetry ac{.source = PowerSource::ac, .batteryWattHours = 50.0};
    const PowerTelemetry battery{.source = PowerSource::battery, .batteryWattHours = 50.0};
    const Fans atMax{{0, fan(0, 6000.0)}};
    struct Case {
        PowerTelemetry telemetry;
        double systemWatts;
        Fans fans;
        const char* draw;
        const char* title;
        const char* value;
    };
    for (const Case& c : std::vector<Case>{
             {ac, 20.0, {}, "0 mW", "On AC", "—"},
             {PowerTelemetry{}, 20.0, atMax, "2500 mW", "On AC", "—"},
             // 2.5 W over a floor of 5 W from 50 Wh: 60 * (50/5 - 50/7.5) minutes.
             {battery, 0.0, atMax, "2500 mW", "Runtime Cost", "-200 min"},
             {battery, 3.0, atMax, "2500 mW", "Runtime Cost", "-200 min"},
             {battery, 10.0, atMax, "2500 mW", "Runtime Cost", "-60 min"},
             // Fans at their minimum cost nothing, nor does an unknown capacity.
             {battery, 10.0, {{0, fan(0, 4800.0, 4800.0)}}, "1280 mW", "Runtime Cost", "-0 min"},
             {PowerTelemetry{.source = PowerSource::battery}, 10.0, atMax, "2500 mW", "Runtime Cost",
              "-0 min"},
             // A fan spinning below its minimum does not earn a credit.
             {battery, 10.0, {{0, fan(0, 0.0, 3000.0)}}, "0 mW", "Runtime Cost", "-0 min"},
         }) {
        EXPECT_EQ(fanDrawRow(c.fans).value, QString::fromUtf8(c.draw));
        const Row row = batteryRow(c.telemetry, c.systemWatts, c.fans);
        EXPECT_EQ(row.title, QString::fromUtf8(c.title));
        EXPECT_EQ(row.value, QString::fromUtf8(c.value)) << c.systemWatts;
        EXPECT_EQ(row.symbol,
                  c.telemetry.onBattery() ? "minus.plus.batteryblock.fill" : "bolt.horizontal.fill");
    }
}

TEST(PowerValuesTest, SystemWattsShowOnlyWhenPositive) {
    EXPECT_EQ(systemWattsText(0.0), "—");
    EXPECT_EQ(systemWattsText(-2.0), "—");
    EXPECT_EQ(systemWattsText(12.34), "12.3 W");
}

} // namespace
} // namespace halvoren::power
