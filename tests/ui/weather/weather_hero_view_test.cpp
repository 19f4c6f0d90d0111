#include "../ui_engine_fixture.h"
#include "ui/components/spinning_glyph.h"
#include "ui/panel/panel_buttons.h"
#include "ui/panel/speed_slider.h"
#include "ui/weather/fan_flow_meter.h"
#include "ui/weather/weather_hero_view.h"

namespace halvoren {
namespace {

using WeatherHeroViewTest = UiEngineTest;

// The fan's fraction of its 1200 ... 6000 range.
FanStatus fanAt(double fraction) {
    return FanStatus{.id = 0, .currentRPM = 1200.0 + fraction * 4800.0, .minRPM = 1200.0, .maxRPM = 6000.0};
}

TEST_F(WeatherHeroViewTest, TogglesSwitchAndRememberThePage) {
    {
        WeatherHeroView hero(*engine, settings);
        EXPECT_EQ(hero.page(), weather::WeatherPage::forecast);
        EXPECT_TRUE(hero.accessibleName().startsWith(QStringLiteral("Weather: Clear, 0 degrees.")));
        hero.radarToggle().click();
        EXPECT_EQ(hero.page(), weather::WeatherPage::radar);
        EXPECT_TRUE(hero.radarToggle().isChecked());
        EXPECT_FALSE(hero.forecastToggle().isChecked());
        EXPECT_EQ(hero.accessibleName(), QStringLiteral("Airflow radar: no controllable fans"));
    }
    WeatherHeroView reopened(*engine, settings);
    EXPECT_EQ(reopened.page(), weather::WeatherPage::radar);
}

TEST_F(WeatherHeroViewTest, StreamsMoveOnlyWhenThereIsAirToShow) {
    settings.setValue(QStringLiteral("com.halvoren.weatherPage"), QStringLiteral("radar"));
    WeatherHeroView hero(*engine, settings);
    hero.setReduceMotion(false);
    hero.show();

    sweep(60.0, {fanAt(0.08)});
    EXPECT_EQ(hero.streams(), 0);
    EXPECT_FALSE(hero.flowPeriod());
    EXPECT_FALSE(hero.isAnimating());

    sweep(60.0, {fanAt(0.09)});
    EXPECT_EQ(hero.streams(), 1);
    ASSERT_TRUE(hero.flowPeriod());
    EXPECT_NEAR(*hero.flowPeriod(), 2.78, 0.01);
    EXPECT_TRUE(hero.isAnimating());
    EXPECT_EQ(hero.accessibleName(), QStringLiteral("Airflow radar: fans at 9 percent"));

    sweep(60.0, {fanAt(1.0)});
    EXPECT_DOUBLE_EQ(*hero.flowPeriod(), 0.7);

    hero.hide();
    EXPECT_FALSE(hero.isAnimating());
    hero.show();
    EXPECT_TRUE(hero.isAnimating());
    hero.setReduceMotion(true);
    EXPECT_FALSE(hero.isAnimating());
    EXPECT_FALSE(hero.flowPeriod());

    // With reduced motion the page is replaced at once; otherwise the old one fades out.
    hero.setPage(weather::WeatherPage::forecast);
    EXPECT_FALSE(hero.isSwitching());
    hero.setReduceMotion(false);
    hero.setPage(weather::WeatherPage::radar);
    EXPECT_TRUE(hero.isSwitching());
    EXPECT_TRUE(pumpUntil([&] { return !hero.isSwitching(); }, 2000));

    // The forecast page of clear weather has nothing to breathe.
    hero.setPage(weather::WeatherPage::forecast);
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

    meter.setFan(FanStatus{.id = 2, .currentRPM = 3000, .minRPM = 1000, .maxRPM = 5000}, {1, 2});
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
} // namespace halvoren
