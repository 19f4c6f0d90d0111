#include "engine_fixture.h"

#include <cmath>
#include <limits>

namespace halvoren {
namespace {

class EngineMenuBarTest : public EngineTest {
protected:
    void SetUp() override { makeEngine(); }

    const MenuBarLabelState& label() const { return engine->menuBarLabelModel().value(); }

    // A sweep with one named sensor at `celsius` and these fans, then the label.
    void publishAfter(double celsius, std::vector<FanStatus> fans) {
        engine->apply(sweep({temperatureSensor("TC0P", celsius)}, std::move(fans)));
        engine->publishMenuBarLabelState();
    }
};

TEST_F(EngineMenuBarTest, SpinTiersAreFifthsOfTheRangeAboveAStillFan) {
    const std::pair<double, int> cases[] = {
        {-1.0, 0}, {0.0, 0},      {0.02, 0},         {0.021, 1},
        {0.2, 1},  {0.200001, 2}, {0.6, 3},          {0.81, 5},
        {1.0, 5},  {7.0, 5},      {std::nan(""), 0}, {std::numeric_limits<double>::infinity(), 0},
    };
    for (const auto& [fraction, tier] : cases) {
        EXPECT_EQ(HalvorenEngine::menuBarSpinTier(fraction), tier) << fraction;
    }
}

TEST_F(EngineMenuBarTest, TheLabelCarriesTheReadingsAndSpinOfTheFastestFan) {
    publishAfter(62.4, {fan(0, 2124.9, 1200, 6000), fan(1, 4980.0, 1200, 6000)});
    EXPECT_EQ(label(), (MenuBarLabelState{.readout = MenuBarReadout::controlTemperature,
                                          .temperatureText = "62.4°C",
                                          .fanText = "4980",
                                          .hottestSensorText = "Sensor 62.4°C",
                                          .spinTier = 4,
                                          .animated = true}));
    engine->setUseFahrenheit(true);
    engine->setPreciseTemperatures(false);
    EXPECT_EQ(label().temperatureText, "144°F");
    EXPECT_EQ(label().hottestSensorText, "Sensor 144°F");
}

TEST_F(EngineMenuBarTest, WithoutTheControllerOrARangeThereIsNothingToShow) {
    // No SMC: placeholders, even with readings left over.
    SensorPoller::Snapshot lost = sweep({temperatureSensor("TC0P", 60.0)}, {fan(0, 3000.0)});
    lost.smcAvailable = false;
    engine->apply(lost);
    engine->publishMenuBarLabelState();
    EXPECT_EQ(label().temperatureText, "--");
    EXPECT_EQ(label().fanText, "--");

    // A fan whose maximum is its minimum has no place in its range, and does not turn.
    publishAfter(60.0, {fan(0, 3000.0, 3000.0, 3000.0)});
    EXPECT_EQ(label().fanText, "3000");
    EXPECT_EQ(engine->menuBarFanFraction(), 0.0);
    EXPECT_EQ(label().spinTier, 0);

    // No fans, a cold reading, an unreadable speed.
    publishAfter(0.0, {});
    EXPECT_EQ(label().temperatureText, "--");
    EXPECT_EQ(label().hottestSensorText, "--");
    EXPECT_EQ(label().fanText, "--");
    publishAfter(50.0, {fan(0, std::nan(""))});
    EXPECT_EQ(label().fanText, "--");
}

TEST_F(EngineMenuBarTest, TheLabelIsToldOnlyOfChanges) {
    const auto changes = countChanges(engine->menuBarLabelModel());
    publishAfter(55.0, {fan(0, 3000.0)});
    EXPECT_EQ(*changes, 1);
    publishAfter(55.0, {fan(0, 3000.0)});
    EXPECT_EQ(*changes, 1);
    // Each setting the label reads publishes at once.
    engine->setMenuBarReadout(MenuBarReadout::both);
    engine->setMenuBarIconAnimated(false);
    EXPECT_EQ(*changes, 3);
    EXPECT_EQ(label().readout, MenuBarReadout::both);
    EXPECT_FALSE(label().animated);
}

TEST_F(EngineMenuBarTest, TheTemperatureSourceFollowsTheSettingThenTheControlSource) {
    engine->setControlSource(ControlSource::cpuEfficiency);
    const std::pair<MenuBarTempSource, const char*> cases[] = {
        {MenuBarTempSource::control, "CPU E"},  {MenuBarTempSource::hottest, "Hottest"},
        {MenuBarTempSource::cpuAverage, "CPU"}, {MenuBarTempSource::cpuPerformance, "CPU P"},
        {MenuBarTempSource::gpuAverage, "GPU"},
    };
    for (const auto& [source, word] : cases) {
        engine->setMenuBarTempSource(source);
        EXPECT_EQ(engine->displayedTemperatureSourceLabel(), word) << rawValue(source);
    }
}

TEST_F(EngineMenuBarTest, StartingPublishesTheStoredChoicesBeforeTheFirstPass) {
    settings.setValue(QStringLiteral("com.halvoren.menuBarReadout"), QStringLiteral("hottestSensor"));
    settings.setValue(QStringLiteral("com.halvoren.menuBarIconAnimated"), false);
    makeEngine();
    EXPECT_EQ(label().readout, MenuBarReadout::controlTemperature); // the placeholder until started
    engine->start();
    EXPECT_EQ(label().readout, MenuBarReadout::hottestSensor);
    EXPECT_FALSE(label().animated);
}

} // namespace
} // namespace halvoren
