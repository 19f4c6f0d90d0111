#include "ui/weather/weather_values.h"

#include <gtest/gtest.h>
#include <numbers>

namespace halvoren::weather {
namespace {

// Stored and read back through a view: the hero view's test.
TEST(WeatherValues, UnknownPageTextReadsAsForecast) {
    EXPECT_EQ(weatherPageFromRaw(QStringLiteral("radar")), WeatherPage::radar);
    for (const char* raw : {"", "xyz", "Radar", "radar "}) {
        EXPECT_EQ(weatherPageFromRaw(QString::fromUtf8(raw)), WeatherPage::forecast) << raw;
    }
}

TEST(WeatherValues, StreamsAndTheirPeriod) {
    struct Case {
        double fraction;
        int streams;
    };
    for (const Case c : {Case{0.0, 0}, Case{0.08, 0}, Case{0.09, 1}, Case{0.5, 3}, Case{1.0, 6}, Case{1.7, 6},
                         Case{-0.3, 0}, Case{std::nan(""), 0}}) {
        EXPECT_EQ(radarStreams(c.fraction), c.streams) << c.fraction;
    }
    EXPECT_EQ(dashPeriod(0), std::nullopt);
    EXPECT_GT(*dashPeriod(3), *dashPeriod(4));
    EXPECT_EQ(radarAccessibilityLabel(0.426, true), QStringLiteral("Airflow radar: fans at 43 percent"));
}

TEST(WeatherValues, GlowHeatAndBreath) {
    EXPECT_DOUBLE_EQ(glowOpacity(20.0), 0.08);
    EXPECT_DOUBLE_EQ(glowOpacity(63.5), 0.18);
    EXPECT_DOUBLE_EQ(glowOpacity(120.0), 0.28);
    EXPECT_FALSE(isHot(71.9));
    EXPECT_TRUE(isHot(72.0));
    EXPECT_EQ(breathingPeriod(WeatherCondition::clear), std::nullopt);
    EXPECT_LT(*breathingPeriod(WeatherCondition::storm), *breathingPeriod(WeatherCondition::heatFront));
    EXPECT_LT(*breathingPeriod(WeatherCondition::heatFront), *breathingPeriod(WeatherCondition::building));
    EXPECT_LT(*breathingPeriod(WeatherCondition::building), *breathingPeriod(WeatherCondition::cooldown));
}

TEST(WeatherValues, ForecastAndStripAreSpoken) {
    WeatherSnapshot snapshot;
    snapshot.condition = WeatherCondition::building;
    snapshot.temperature = 61.4;
    snapshot.forecastLine = "Warming slowly.";
    EXPECT_EQ(forecastAccessibilityLabel(snapshot, false),
              QStringLiteral("Weather: Building, 61 degrees. Warming slowly."));
    EXPECT_EQ(forecastAccessibilityLabel(snapshot, true),
              QStringLiteral("Weather: Building, 143 degrees. Warming slowly."));

    const std::vector<WeatherSnapshot::HourlyEntry> hourly{
        {-1, "2p", 58.6, false}, {0, "now", 61.4, false}, {1, "3p", 63.5, true}};
    EXPECT_EQ(stripAccessibilityLabel(hourly, false),
              QStringLiteral("59° at 2p, 61° now, forecast 64° at 3p"));
    EXPECT_EQ(stripAccessibilityLabel({}, false), QString());
}

TEST(WeatherValues, FanMeterAtTheEdgesOfItsRange) {
    const FanStatus flat{
        .id = 0, .currentRPM = 2000, .minRPM = 2000, .maxRPM = 2000, .targetRPM = 2000, .isManaged = true};
    EXPECT_EQ(fanFraction(flat), 0.0);
    EXPECT_EQ(fanAngularVelocity(flat), 0.0);
    EXPECT_FALSE(showsTargetTick(flat));
    EXPECT_EQ(manualSliderRange(flat).upper, 2001.0);

    FanStatus fan{
        .id = 1, .currentRPM = 6500, .minRPM = 1000, .maxRPM = 6000, .targetRPM = 6000, .isManaged = true};
    EXPECT_EQ(fanFraction(fan), 1.0);
    EXPECT_DOUBLE_EQ(fanAngularVelocity(fan), 4.0 * std::numbers::pi);
    EXPECT_TRUE(showsTargetTick(fan));
    EXPECT_EQ(targetTickX(fan, 132.0), 130.0); // held inside at the top
    fan.targetRPM = 1000;
    EXPECT_EQ(targetTickX(fan, 132.0), 0.0); // and at the bottom
    fan.targetRPM = 3500;
    EXPECT_EQ(targetTickX(fan, 132.0), 65.0);
    fan.isManaged = false;
    EXPECT_FALSE(showsTargetTick(fan));

    const std::vector<int> one{1};
    const std::vector<int> two{1, 4};
    EXPECT_EQ(fanMeterAccessibilityLabel(fan, one, false), QStringLiteral("Fan, 6500 RPM"));
    EXPECT_EQ(fanMeterAccessibilityLabel(fan, two, true),
              QStringLiteral("Left Fan, 6500 RPM, target 3500 RPM"));
}

} // namespace
} // namespace halvoren::weather
