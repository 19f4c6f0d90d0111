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

} // namespace
} // namespace halvoren
