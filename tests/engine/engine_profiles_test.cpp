#include "core/preset_profiles.h"
#include "engine_fixture.h"

namespace halvoren {
namespace {

class EngineProfilesTest : public EngineTest {
protected:
    void SetUp() override { makeEngine(); }

    void power(PowerSource source) { engine->updatePowerTelemetry(PowerTelemetry{.source = source}); }

    double lastCap() const { return engine->activeProfile().value()->curvePoints.back().rpmPercentage; }

    // Balanced on a connected helper, its filter seeded at the curve's bottom and then a step to 85 °C.
    void balancedStepTo85() {
        connect();
        engine->setSpoolRate(9000.0);
        engine->selectPreset(FanPreset::auto_);
        tickAt(35.0, wideFan());
        EXPECT_NEAR(fractionAt(85.0), 0.35, 1e-9);
    }

    static CustomMode mode(std::string name, ModeSpeed speed,
                           ModeSensor control = ModeSensor::source(ControlSource::hottest)) {
        return {Uuid::random(), std::move(name), "flame.fill", speed, std::move(control)};
    }

    // The CPU proximity sensor at `cpu`, the battery at `battery`.
    static SensorPoller::Snapshot machine(double cpu, double battery) {
        return sweep(
            {temperatureSensor("TC0P", cpu), temperatureSensor("TB0T", battery, SensorCategory::battery)},
            wideFan());
    }
};

TEST_F(EngineProfilesTest, APresetFollowsTheCapOfThePowerSourceAndOnlyBatteryCountsAsAChange) {
    balancedStepTo85();
    EXPECT_EQ(engine->activeProfile().value(), FanProfile::halvorenStandard());
    EXPECT_EQ(engine->activePreset().value(), FanPreset::auto_);
    // unknown -> ac and ac -> unknown are no change: the filter goes on smoothing.
    power(PowerSource::ac);
    tickAt(85.0, wideFan());
    power(PowerSource::unknown);
    EXPECT_NEAR(fractionAt(85.0), 1.0 - 0.65 * 0.65 * 0.65, 1e-9);

    // To battery: re-applied with the battery cap, so the next tick starts unsmoothed at it.
    const auto profileChanges = countChanges(engine->activeProfile());
    power(PowerSource::battery);
    EXPECT_EQ(*profileChanges, 1);
    EXPECT_EQ(engine->activeProfile().value()->id, FanProfile::halvorenStandard().id);
    EXPECT_EQ(lastCap(), 0.7);
    EXPECT_EQ(engine->activePreset().value(), FanPreset::auto_);
    EXPECT_NEAR(fractionAt(85.0), 0.7, 1e-9);

    power(PowerSource::ac);
    EXPECT_EQ(engine->activeProfile().value(), FanProfile::halvorenStandard());
    EXPECT_EQ(*profileChanges, 2);

    // Without a preset a change of source leaves the profile alone.
    engine->selectProfile(FanProfile::silentStealth());
    power(PowerSource::battery);
    EXPECT_EQ(engine->activeProfile().value(), FanProfile::silentStealth());
    EXPECT_FALSE(engine->activePreset().value().has_value());
}

TEST_F(EngineProfilesTest, SettingACapStoresItClampedAndReappliesTheActivePreset) {
    engine->selectPreset(FanPreset::quiet);
    EXPECT_EQ(lastCap(), 0.55);

    engine->setPresetCap(FanPreset::quiet, 1.7, std::nullopt);
    EXPECT_EQ(engine->activeProfile().value(), FanProfile::silentStealth());
    engine->setPresetCap(FanPreset::quiet, std::nullopt, -0.3);
    EXPECT_EQ(*findEntry(engine->presetPowerCaps().value(), FanPreset::quiet), (PresetPowerCaps{1.0, 0.0}));
    power(PowerSource::battery);
    EXPECT_EQ(lastCap(), 0.0);

    engine->resetPresetPowerCaps();
    EXPECT_EQ(engine->presetPowerCaps().value(), defaultPresetPowerCaps());
    engine->selectPreset(FanPreset::quiet);
    EXPECT_EQ(lastCap(), 0.35);
}

TEST_F(EngineProfilesTest, ACapChangeForAnotherPresetStillRestartsTheActivePresetsSmoothing) {
    balancedStepTo85();
    engine->setPresetCap(FanPreset::quiet, 0.3, std::nullopt);
    EXPECT_EQ(engine->activePreset().value(), FanPreset::auto_);
    EXPECT_NEAR(fractionAt(85.0), 1.0, 1e-9);

    // Without an active preset nothing is re-applied.
    engine->selectProfile(FanProfile::halvorenStandard());
    tickAt(35.0, wideFan());
    engine->setPresetCap(FanPreset::auto_, 0.5, 0.5);
    EXPECT_EQ(engine->activeProfile().value(), FanProfile::halvorenStandard());
    EXPECT_NEAR(fractionAt(85.0), 0.35, 1e-9);
}

TEST_F(EngineProfilesTest, AConstantSpeedNeedsAKnownFanAndIsAFreshManualLock) {
    engine->selectPreset(FanPreset::quiet);
    const std::optional<FanProfile> quiet = engine->activeProfile().value();
    engine->setConstantRPM(3000);
    EXPECT_EQ(engine->activePreset().value(), FanPreset::quiet);
    EXPECT_EQ(engine->activeProfile().value(), quiet);

    engine->apply(sweep({temperatureSensor("TC0P", 50.0)}, wideFan()));
    engine->setConstantRPM(3000);
    const FanProfile first = *engine->activeProfile().value();
    EXPECT_EQ(first, (FanProfile{first.id, "Manual Lock", ControlMode::constantRPM, 3000, "max", {}}));
    EXPECT_FALSE(engine->activePreset().value().has_value());
    EXPECT_EQ(engine->drivingStatusSubtitle(), "Speed locked");

    engine->setConstantRPM(3000);
    EXPECT_NE(engine->activeProfile().value()->id, first.id);
}

TEST_F(EngineProfilesTest, SelectingNeedsAKnownFanAndAKnownMode) {
    const CustomMode gaming = mode("Gaming", ModeSpeed::fixed(0.7));
    engine->addCustomMode(gaming);
    engine->selectPreset(FanPreset::quiet);

    // Refused with no fan known yet, then for a mode that is not in the list.
    for (const Uuid& id : {gaming.id, Uuid::random()}) {
        engine->selectCustomMode(id);
        EXPECT_EQ(engine->activePreset().value(), FanPreset::quiet);
        EXPECT_FALSE(engine->activeCustomModeID().value().has_value());
        engine->apply(machine(50.0, 30.0));
    }

    engine->selectCustomMode(gaming.id);
    EXPECT_FALSE(engine->activePreset().value().has_value());
    EXPECT_EQ(engine->activeCustomModeID().value(), gaming.id);
    EXPECT_EQ(engine->activeProfile().value(), FanProfile::halvorenStandard());
    EXPECT_EQ(engine->activeCustomMode(), gaming);

    // Any other selection drops the mode.
    engine->selectProfile(FanProfile::silentStealth());
    EXPECT_FALSE(engine->activeCustomModeID().value().has_value());
}

TEST_F(EngineProfilesTest, DeletingTheActiveModeMovesToBalancedAndAnotherChangesNothing) {
    engine->apply(machine(50.0, 30.0));
    const CustomMode a = mode("A", ModeSpeed::floor(0.3));
    const CustomMode b = mode("B", ModeSpeed::floor(0.4));
    engine->addCustomMode(a);
    engine->addCustomMode(b);
    engine->addCustomMode(a); // duplicates are kept until deleted
    engine->selectCustomMode(a.id);

    engine->deleteCustomMode(b.id);
    EXPECT_EQ(engine->customModes().value(), (std::vector<CustomMode>{a, a}));
    EXPECT_EQ(engine->activeCustomModeID().value(), a.id);
    EXPECT_FALSE(engine->activePreset().value().has_value());

    engine->deleteCustomMode(a.id);
    EXPECT_TRUE(engine->customModes().value().empty());
    EXPECT_FALSE(engine->activeCustomModeID().value().has_value());
    EXPECT_EQ(engine->activePreset().value(), FanPreset::auto_);
    EXPECT_EQ(engine->activeProfile().value(), FanProfile::halvorenStandard());
}

TEST_F(EngineProfilesTest, AModesSpeedShapesTheCurve) {
    connect();
    engine->setSpoolRate(9000.0);
    const CustomMode fixed = mode("Fixed", ModeSpeed::fixed(0.6));
    const CustomMode floor = mode("Floor", ModeSpeed::floor(0.5));
    engine->addCustomMode(fixed);
    engine->addCustomMode(floor);
    engine->apply(machine(35.0, 30.0));

    // A fixed speed replaces the curve, whatever the temperature.
    engine->selectCustomMode(fixed.id);
    EXPECT_NEAR(fractionAt(35.0), 0.6, 1e-9);
    EXPECT_NEAR(fractionAt(85.0), 0.6, 1e-9);

    // A floor raises the curve where it is lower and leaves it where it is higher.
    engine->selectCustomMode(floor.id);
    EXPECT_NEAR(fractionAt(35.0), 0.5, 1e-9);
    engine->selectCustomMode(floor.id);
    EXPECT_NEAR(fractionAt(85.0), 1.0, 1e-9);

    // An update of the active mode applies from the next tick, smoothed.
    CustomMode lower = floor;
    lower.speed = ModeSpeed::fixed(0.2);
    engine->updateCustomMode(lower);
    EXPECT_EQ(engine->activeCustomModeID().value(), floor.id);
    EXPECT_NEAR(fractionAt(85.0), 0.35 * 0.2 + 0.65 * 1.0, 1e-9);
    // An update of an unknown mode is ignored.
    engine->updateCustomMode(mode("Stranger", ModeSpeed::fixed(0.9)));
    EXPECT_EQ(engine->customModes().value(), (std::vector<CustomMode>{fixed, lower}));
}

TEST_F(EngineProfilesTest, AModesSensorDrivesTheCurveAndAnUnknownOneIsUnavailable) {
    const CustomMode battery = mode("Battery", ModeSpeed::floor(0.0), ModeSensor::sensor("TB0T"));
    const CustomMode missing = mode("Missing", ModeSpeed::floor(0.0), ModeSensor::sensor("TZ9Z"));
    engine->addCustomMode(battery);
    engine->addCustomMode(missing);
    engine->apply(machine(60.0, 30.0));
    EXPECT_EQ(engine->temperature(ModeSensor::sensor("TZ9Z")), std::nullopt);
    EXPECT_EQ(engine->temperature(ModeSensor::source(ControlSource::hottest)), 60.0);

    // A sensor it cannot find leaves the trusted maximum in charge until one it can.
    engine->selectCustomMode(missing.id);
    engine->apply(machine(62.0, 32.0));
    EXPECT_TRUE(engine->controlSourceUnavailable().value());
    EXPECT_EQ(engine->controlTemperature().value(), 62.0);
    engine->selectCustomMode(battery.id);
    engine->apply(machine(61.0, 31.0));
    EXPECT_FALSE(engine->controlSourceUnavailable().value());
    EXPECT_EQ(engine->controlTemperature().value(), 31.0);
}

TEST_F(EngineProfilesTest, TheListAndTheActiveModeComeBackAfterARestartWithoutTakingTheFans) {
    engine->apply(machine(50.0, 30.0));
    const CustomMode battery = mode("Battery", ModeSpeed::fixed(0.9), ModeSensor::sensor("TB0T"));
    const CustomMode gaming =
        mode("Gaming", ModeSpeed::fixed(0.7), ModeSensor::source(ControlSource::gpuAverage));
    engine->addCustomMode(gaming);
    engine->addCustomMode(battery);
    engine->selectCustomMode(battery.id);

    engine.reset();
    makeEngine();
    EXPECT_EQ(engine->customModes().value(), (std::vector<CustomMode>{gaming, battery}));
    EXPECT_EQ(engine->activeCustomModeID().value(), battery.id);
    EXPECT_EQ(engine->activeProfile().value(), FanProfile::appleAuto());
    engine->apply(machine(55.0, 33.0));
    EXPECT_EQ(engine->controlTemperature().value(), 33.0);

    // A stored id whose mode is gone reads as no mode but stays set.
    engine->deleteCustomMode(battery.id);
    EXPECT_FALSE(engine->activeCustomModeID().value().has_value());
    engine->addCustomMode(battery);
    engine->selectCustomMode(battery.id);
    engine.reset();
    settings.setValue(QStringLiteral("com.halvoren.customModes"), QByteArray("[]"));
    makeEngine();
    EXPECT_EQ(engine->activeCustomModeID().value(), battery.id);
    EXPECT_FALSE(engine->activeCustomMode().has_value());
}

} // namespace
} // namespace halvoren
