#include "engine_fixture.h"

#include <cmath>
#include <limits>

namespace halvoren {
namespace {

class EngineApplyTest : public EngineTest {
protected:
    void SetUp() override { makeEngine(); }

    // Fans only, as a poll between two sensor sweeps gives them.
    static SensorPoller::Snapshot fansOnly(std::vector<FanStatus> fans) {
        return {.temperatures = {}, .allSensors = {}, .fans = std::move(fans), .smcAvailable = true};
    }

    double shownSpeed(int id) const { return engine->fans().value().at(id).currentRPM; }

    // Two CPU sensors, the battery and the wireless module.
    static SensorPoller::Snapshot machine(double battery = 70.0) {
        return sweep({temperatureSensor("TC0P", 60.0), temperatureSensor("TC1P", 50.0),
                      temperatureSensor("TB0T", battery, SensorCategory::battery),
                      temperatureSensor("TW0P", 40.0, SensorCategory::enclosure)},
                     {});
    }

    const MenuBarLabelState& label() const { return engine->menuBarLabelModel().value(); }

    // A sweep with one named sensor at `celsius` and these fans, then the label.
    void publishAfter(double celsius, std::vector<FanStatus> fans) {
        engine->apply(sweep({temperatureSensor("TC0P", celsius)}, std::move(fans)));
        engine->publishMenuBarLabelState();
    }
};

TEST_F(EngineApplyTest, MeasuredSpeedJitterIsPublishedAtMostTwiceASecond) {
    const auto changes = countChanges(engine->fans());
    engine->apply(fansOnly({fan(0, 2000.0)}));
    EXPECT_EQ(*changes, 1);

    timers.advance(0.125);
    engine->apply(fansOnly({fan(0, 2024.0)}));
    EXPECT_EQ(shownSpeed(0), 2000.0);
    timers.advance(0.125); // 25 RPM is no longer jitter
    engine->apply(fansOnly({fan(0, 2025.0)}));
    EXPECT_EQ(shownSpeed(0), 2025.0);
    EXPECT_EQ(*changes, 2);

    timers.advance(0.375);
    engine->apply(fansOnly({fan(0, 2030.0)}));
    EXPECT_EQ(shownSpeed(0), 2025.0);
    timers.advance(0.125); // 0.5 s after the last publish
    engine->apply(fansOnly({fan(0, 2030.0)}));
    EXPECT_EQ(shownSpeed(0), 2030.0);
    EXPECT_EQ(*changes, 3);

    // Within the half second, any change of a bound, target, managed flag or fan count shows at once;
    // an identical list is no change at all.
    FanStatus next = fan(0, 2035.0);
    for (const auto change : std::initializer_list<void (*)(FanStatus&)>{
             [](FanStatus& f) { f.minRPM = 1300.0; }, [](FanStatus& f) { f.maxRPM = 5900.0; },
             [](FanStatus& f) { f.targetRPM = 3000.0; }, [](FanStatus& f) { f.isManaged = true; }}) {
        next.currentRPM += 5.0;
        change(next);
        engine->apply(fansOnly({next}));
        EXPECT_EQ(engine->fans().value().at(0), next);
    }
    const int before = *changes;
    engine->apply(fansOnly({next}));
    next.currentRPM += 5.0;
    engine->apply(fansOnly({next}));
    EXPECT_EQ(*changes, before);
    engine->apply(fansOnly({next, fan(1, 1800.0)}));
    EXPECT_EQ(engine->fans().value().size(), 2U);

    // A later entry with the same id replaces an earlier one.
    timers.advance(1.0);
    engine->apply(fansOnly({fan(0, 1000.0), fan(0, 1500.0)}));
    EXPECT_EQ(engine->fans().value().size(), 1U);
    EXPECT_EQ(shownSpeed(0), 1500.0);
}

TEST_F(EngineApplyTest, APassThatChangesNothingWakesNoView) {
    const auto smc = countChanges(engine->smcAvailable());
    const auto discovered = countChanges(engine->hasDiscoveredSensors());
    const auto control = countChanges(engine->controlTemperature());
    const auto displayed = countChanges(engine->displayedTemperature());
    const auto hero = countChanges(engine->heroDisplayTemperature());
    const auto unavailable = countChanges(engine->controlSourceUnavailable());
    const auto readings = countChanges(engine->deviceSensors());
    const auto rows = countChanges(engine->deviceSensorsDisplay());
    const auto hottest = countChanges(engine->cachedMenuBarHottestSensor());
    const auto counts = [&] {
        return std::vector<int>{*smc,         *discovered, *control, *displayed, *hero,
                                *unavailable, *readings,   *rows,    *hottest};
    };

    engine->apply(machine());
    EXPECT_EQ(counts(), (std::vector<int>{1, 1, 1, 1, 1, 0, 1, 1, 1}));
    EXPECT_EQ(engine->cachedMenuBarHottestSensor().value()->key, "TB0T");
    engine->apply(machine());
    EXPECT_EQ(counts(), (std::vector<int>{1, 1, 1, 1, 1, 0, 1, 1, 1}));

    // A change too small to show moves the numbers but neither the hero nor the rows.
    engine->apply(machine(70.02));
    EXPECT_EQ(counts(), (std::vector<int>{1, 1, 2, 2, 1, 0, 2, 1, 2}));
    engine->apply(machine(70.06));
    EXPECT_EQ(engine->heroDisplayTemperature().value(), 70.1);
    EXPECT_EQ(*rows, 2);

    // A poll without a sweep leaves every sensor field as it was.
    SensorPoller::Snapshot noSweep = machine(80.0);
    noSweep.sensorsRefreshed = false;
    engine->apply(noSweep);
    EXPECT_EQ(engine->controlTemperature().value(), 70.06);
    EXPECT_EQ(engine->history("TB0T").size(), 4U);

    engine->apply(SensorPoller::Snapshot{});
    EXPECT_FALSE(engine->smcAvailable().value());
    EXPECT_TRUE(engine->hasDiscoveredSensors().value());
}

TEST_F(EngineApplyTest, HistoryKeepsTheLast120LiveSamplesOfEachReading) {
    for (int i = 0; i < 130; ++i) {
        engine->apply(machine(20.0 + i));
    }
    engine->apply(machine(5.0)); // below the live floor: no sample
    const std::vector<double> battery = engine->history("TB0T");
    ASSERT_EQ(battery.size(), 120U);
    EXPECT_EQ(battery.front(), 30.0);
    EXPECT_EQ(battery.back(), 149.0);
    EXPECT_EQ(engine->history("TW0P").size(), 120U);
    EXPECT_TRUE(engine->history("TZ9Z").empty());
}

TEST_F(EngineApplyTest, TheMainReadoutFollowsItsSourceOrTheModeThatDrivesIt) {
    // The control temperature, then the one the main readout shows.
    const auto readouts = [&] {
        return std::pair{engine->controlTemperature().value(), engine->displayedTemperature().value()};
    };
    engine->apply(machine());
    EXPECT_EQ(readouts(), std::pair(70.0, 70.0));

    // Both settings take effect at once, without a new sweep.
    engine->setControlSource(ControlSource::cpuAverage);
    EXPECT_EQ(readouts(), std::pair(55.0, 55.0));
    engine->setMenuBarTempSource(MenuBarTempSource::hottest);
    EXPECT_EQ(readouts(), std::pair(55.0, 70.0));
    // No GPU sensor: the trusted maximum stands in, for the curve as for the readout.
    engine->setMenuBarTempSource(MenuBarTempSource::gpuAverage);
    engine->setControlSource(ControlSource::gpuAverage);
    EXPECT_TRUE(engine->controlSourceUnavailable().value());
    EXPECT_EQ(readouts(), std::pair(70.0, 70.0));
    engine->setControlSource(ControlSource::cpuAverage);
    engine->setMenuBarTempSource(MenuBarTempSource::control);

    const std::vector<FanStatus> fans{fan(0, 2000.0)};
    engine->apply(sweep(machine().temperatures, fans));
    auto select = [&](std::optional<ModeSensor> display, ModeSensor control, bool drives) {
        const CustomMode mode(Uuid::random(), "Mode", "bolt.fill", ModeSpeed::floor(0.0), std::move(control),
                              std::move(display), drives);
        engine->addCustomMode(mode);
        engine->selectCustomMode(mode.id);
        engine->apply(sweep(machine().temperatures, fans)); // a new mode shows at the next sweep
        return readouts();
    };
    // A mode that doesn't drive the readout leaves it on the user's source.
    EXPECT_EQ(select(std::nullopt, ModeSensor::sensor("TW0P"), false), std::pair(40.0, 55.0));
    EXPECT_EQ(select(std::nullopt, ModeSensor::sensor("TW0P"), true), std::pair(40.0, 40.0));
    EXPECT_EQ(select(ModeSensor::sensor("TW0P"), ModeSensor::source(ControlSource::hottest), true),
              std::pair(70.0, 40.0));
    EXPECT_EQ(select(ModeSensor::sensor("TZ9Z"), ModeSensor::source(ControlSource::cpuAverage), true),
              std::pair(55.0, 70.0));
}

TEST_F(EngineApplyTest, TheHeroReadingIsRoundedAgainWhenTheUnitOrPrecisionChanges) {
    engine->apply(sweep({temperatureSensor("TC0P", 36.25)}, {}));
    EXPECT_EQ(engine->heroDisplayTemperature().value(), 36.3); // halves away from zero
    engine->setPreciseTemperatures(false);
    EXPECT_EQ(engine->heroDisplayTemperature().value(), 36.0);
    engine->setUseFahrenheit(true); // 97.25 °F
    EXPECT_EQ(engine->heroDisplayTemperature().value(), 97.0);
    engine->setPreciseTemperatures(true);
    EXPECT_EQ(engine->heroDisplayTemperature().value(), 97.3);
}

TEST_F(EngineApplyTest, SpinTiersAreFifthsOfTheRangeAboveAStillFan) {
    const std::pair<double, int> cases[] = {
        {-1.0, 0}, {0.0, 0},      {0.02, 0},         {0.021, 1},
        {0.2, 1},  {0.200001, 2}, {0.6, 3},          {0.81, 5},
        {1.0, 5},  {7.0, 5},      {std::nan(""), 0}, {std::numeric_limits<double>::infinity(), 0},
    };
    for (const auto& [fraction, tier] : cases) {
        EXPECT_EQ(HalvorenEngine::menuBarSpinTier(fraction), tier) << fraction;
    }
}

TEST_F(EngineApplyTest, TheLabelCarriesTheReadingsAndSpinOfTheFastestFanAndIsToldOnlyOfChanges) {
    const auto changes = countChanges(engine->menuBarLabelModel());
    publishAfter(62.4, {fan(0, 2124.9, 1200, 6000), fan(1, 4980.0, 1200, 6000)});
    publishAfter(62.4, {fan(0, 2124.9, 1200, 6000), fan(1, 4980.0, 1200, 6000)});
    EXPECT_EQ(*changes, 1);
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
    // Each setting the label reads publishes at once.
    engine->setMenuBarReadout(MenuBarReadout::both);
    engine->setMenuBarIconAnimated(false);
    EXPECT_EQ(*changes, 5);
    EXPECT_EQ(label().readout, MenuBarReadout::both);
    EXPECT_FALSE(label().animated);
}

TEST_F(EngineApplyTest, WithoutTheControllerOrARangeThereIsNothingToShow) {
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

TEST_F(EngineApplyTest, TheTemperatureSourceFollowsTheSettingThenTheControlSource) {
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

TEST_F(EngineApplyTest, StartingPublishesTheStoredChoicesBeforeTheFirstPass) {
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
