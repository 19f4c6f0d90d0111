#include "../ui_engine_fixture.h"
#include "ui/components/spinning_glyph.h"
#include "ui/panel/panel_buttons.h"
#include "ui/panel/speed_slider.h"
#include "ui/weather/fan_flow_meter.h"
#include "ui/weather/weather_hero_view.h"
#include "ui/weather/weather_values.h"

#include <numbers>

namespace halvoren::weather {
namespace {

TEST(WeatherValues, UnknownPagesStreamsAndTheirPeriod) {
    // A stored page is read back through the view in its test; here, text that is no page.
    for (const char* raw : {"", "xyz", "Radar", "radar "}) {
        EXPECT_EQ(weatherPageFromRaw(QString::fromUtf8(raw)), WeatherPage::forecast) << raw;
    }
    for (const auto& [fraction, streams] : std::vector<std::pair<double, int>>{
             {0.0, 0}, {0.5, 3}, {1.0, 6}, {1.7, 6}, {-0.3, 0}, {std::nan(""), 0}}) {
        EXPECT_EQ(radarStreams(fraction), streams) << fraction;
    }
    EXPECT_EQ(dashPeriod(0), std::nullopt);
    EXPECT_GT(*dashPeriod(3), *dashPeriod(4));
    EXPECT_EQ(radarAccessibilityLabel(0.426, true), QStringLiteral("Airflow radar: fans at 43 percent"));
}

TEST(WeatherValues, GlowHeatBreathAndWhatIsSpoken) {
    EXPECT_DOUBLE_EQ(glowOpacity(20.0), 0.08);
    EXPECT_DOUBLE_EQ(glowOpacity(63.5), 0.18);
    EXPECT_DOUBLE_EQ(glowOpacity(120.0), 0.28);
    EXPECT_FALSE(isHot(71.9));
    EXPECT_TRUE(isHot(72.0));
    EXPECT_EQ(breathingPeriod(WeatherCondition::clear), std::nullopt);
    EXPECT_LT(*breathingPeriod(WeatherCondition::storm), *breathingPeriod(WeatherCondition::heatFront));
    EXPECT_LT(*breathingPeriod(WeatherCondition::heatFront), *breathingPeriod(WeatherCondition::building));
    EXPECT_LT(*breathingPeriod(WeatherCondition::building), *breathingPeriod(WeatherCondition::cooldown));

    WeatherSnapshot snapshot;
    snapshot.condition = WeatherCondition::building;
    snapshot.temperature = 61.4;
    snapshot.forecastLine = "Warming slowly.";
    EXPECT_EQ(forecastAccessibilityLabel(snapshot, false),
              QStringLiteral("Weather: Building, 61 degrees. Warming slowly."));

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
    EXPECT_FALSE(showsTargetTick(flat));

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

    EXPECT_EQ(fanMeterAccessibilityLabel(fan, std::vector{1}, false), QStringLiteral("Fan, 6500 RPM"));
    EXPECT_EQ(fanMeterAccessibilityLabel(fan, std::vector{1, 4}, true),
              QStringLiteral("Left Fan, 6500 RPM, target 3500 RPM"));
}

using WeatherHeroViewTest = UiEngineTest;

TEST_F(WeatherHeroViewTest, TogglesSwitchAndRememberThePage) {
    {
        WeatherHeroView hero(*engine, settings);
        EXPECT_EQ(hero.page(), WeatherPage::forecast);
        EXPECT_TRUE(hero.accessibleName().startsWith(QStringLiteral("Weather: Clear, 0 degrees.")));
        hero.radarToggle().click();
        EXPECT_EQ(hero.page(), WeatherPage::radar);
        EXPECT_TRUE(hero.radarToggle().isChecked());
        EXPECT_FALSE(hero.forecastToggle().isChecked());
        EXPECT_EQ(hero.accessibleName(), QStringLiteral("Airflow radar: no controllable fans"));
    }
    WeatherHeroView reopened(*engine, settings);
    EXPECT_EQ(reopened.page(), WeatherPage::radar);
}

TEST_F(WeatherHeroViewTest, StreamsMoveOnlyWhenThereIsAirToShow) {
    settings.setValue(QStringLiteral("com.halvoren.weatherPage"), QStringLiteral("radar"));
    WeatherHeroView hero(*engine, settings);
    hero.setReduceMotion(false);
    hero.show();

    sweep(60.0, {fan(0, 1200.0 + 0.08 * 4800.0)});
    EXPECT_EQ(hero.streams(), 0);
    EXPECT_FALSE(hero.flowPeriod());
    EXPECT_FALSE(hero.isAnimating());

    sweep(60.0, {fan(0, 1200.0 + 0.09 * 4800.0)});
    EXPECT_EQ(hero.streams(), 1);
    ASSERT_TRUE(hero.flowPeriod());
    EXPECT_NEAR(*hero.flowPeriod(), 2.78, 0.01);
    EXPECT_TRUE(hero.isAnimating());
    EXPECT_EQ(hero.accessibleName(), QStringLiteral("Airflow radar: fans at 9 percent"));

    sweep(60.0, {fan(0, 1200.0 + 1.0 * 4800.0)});
    EXPECT_DOUBLE_EQ(*hero.flowPeriod(), 0.7);

    hero.hide();
    EXPECT_FALSE(hero.isAnimating());
    hero.show();
    EXPECT_TRUE(hero.isAnimating());
    hero.setReduceMotion(true);
    EXPECT_FALSE(hero.isAnimating());
    EXPECT_FALSE(hero.flowPeriod());

    // With reduced motion the page is replaced at once; otherwise the old one fades out.
    hero.setPage(WeatherPage::forecast);
    EXPECT_FALSE(hero.isSwitching());
    hero.setReduceMotion(false);
    hero.setPage(WeatherPage::radar);
    EXPECT_TRUE(hero.isSwitching());
    EXPECT_TRUE(pumpUntil([&] { return !hero.isSwitching(); }, 2000));

    // The forecast page of clear weather has nothing to breathe.
    hero.setPage(WeatherPage::forecast);
    EXPECT_FALSE(hero.flowPeriod());
    EXPECT_FALSE(hero.isAnimating());
    EXPECT_EQ(hero.breathScale(), 1.0);
}

TEST_F(WeatherHeroViewTest, MetersTurnWithTheFanAndOfferATargetByHand) {
    FanFlowMeter meter(FanFlowMeter::Style::regular);
    std::vector<std::pair<int, double>> targets;
    meter.setOnManualTarget([&](int id, double rpm) { targets.emplace_back(id, rpm); });

    const FanStatus flat{.id = 2, .currentRPM = 1800, .minRPM = 1800, .maxRPM = 1800};
    meter.setFan(flat, {2});
    EXPECT_EQ(meter.glyph().phase().velocity, 0.0);
    meter.setManualTarget(1800.0);
    ASSERT_FALSE(meter.manualSlider()->isHidden());
    EXPECT_EQ(meter.manualSlider()->maximum(), 1801);
    EXPECT_TRUE(targets.empty()); // showing the target is not setting it

    meter.setFan(fan(2, 3000, 1000, 5000), {1, 2});
    EXPECT_EQ(meter.accessibleName(), QStringLiteral("Right Fan, 3000 RPM"));
    EXPECT_EQ(meter.manualSlider()->accessibleName(), QStringLiteral("Right Fan target RPM"));
    meter.setManualTarget(2500.0);
    meter.manualSlider()->setValue(4000);
    ASSERT_EQ(targets.size(), 1U);
    EXPECT_EQ(targets[0], std::make_pair(2, 4000.0));
    meter.setManualTarget(std::nullopt);
    EXPECT_TRUE(meter.manualSlider()->isHidden());

    FanFlowMeter mini(FanFlowMeter::Style::mini);
    mini.setManualTarget(2000.0);
    EXPECT_EQ(mini.manualSlider(), nullptr);
}

} // namespace
} // namespace halvoren::weather
