#include "core/preset_profiles.h"
#include "engine_fixture.h"

#include <string>
#include <tuple>

namespace halvoren {
namespace {

// The restorable settings, comparable as a whole.
auto fields(const RestorableDefaults& d) {
    return std::tie(d.acousticAlpha, d.spoolRate, d.autoSwitchOnBattery, d.overheatThreshold, d.useFahrenheit,
                    d.preciseTemperatures, d.glassFrost, d.backdropScene, d.accentChoice, d.presetPowerCaps,
                    d.alertRules, d.quietHoursEnabled, d.quietHoursStart, d.quietHoursEnd, d.cooldownDuration,
                    d.preSpoolEnabled, d.meetingQuietEnabled);
}

RestorableDefaults restorable(const HalvorenEngine& e) {
    return {e.acousticAlpha().value(),     e.spoolRate().value(),          e.autoSwitchOnBattery().value(),
            e.overheatThreshold().value(), e.useFahrenheit().value(),      e.preciseTemperatures().value(),
            e.glassFrost().value(),        e.backdropScene().value(),      e.accentChoice().value(),
            e.presetPowerCaps().value(),   e.alertRules().value(),         e.quietHoursEnabled().value(),
            e.quietHoursStart().value(),   e.quietHoursEnd().value(),      e.cooldownDuration().value(),
            e.preSpoolEnabled().value(),   e.meetingQuietEnabled().value()};
}

class EngineSettingsTest : public EngineTest {
protected:
    void SetUp() override {
        makeEngine();
        setEntry(changed.presetPowerCaps, FanPreset::quiet, PresetPowerCaps{0.4, 0.2});
        setEntry(changed.alertRules, SensorCategory::cpu, AlertRule{true, 88.0, true});
    }

    // Every restorable setting away from its default, and the ones Restore Defaults leaves alone.
    void changeSettings() {
        engine->setAcousticAlpha(changed.acousticAlpha);
        engine->setSpoolRate(changed.spoolRate);
        engine->setAutoSwitchOnBattery(changed.autoSwitchOnBattery);
        engine->setOverheatThreshold(changed.overheatThreshold);
        engine->setUseFahrenheit(changed.useFahrenheit);
        engine->setPreciseTemperatures(changed.preciseTemperatures);
        engine->setGlassFrost(changed.glassFrost);
        engine->setBackdropScene(changed.backdropScene);
        engine->setAccentChoice(changed.accentChoice);
        engine->setPresetCap(FanPreset::quiet, 0.4, 0.2);
        engine->setAlertRules(changed.alertRules);
        engine->setQuietHoursEnabled(changed.quietHoursEnabled);
        engine->setQuietHoursStart(changed.quietHoursStart);
        engine->setQuietHoursEnd(changed.quietHoursEnd);
        engine->setCooldownDuration(changed.cooldownDuration);
        engine->setPreSpoolEnabled(changed.preSpoolEnabled);
        engine->setMeetingQuietEnabled(changed.meetingQuietEnabled);

        engine->setControlSource(ControlSource::cpuPerformance);
        engine->setShowDockIcon(false);
        engine->setMenuBarReadout(MenuBarReadout::both);
        engine->setMenuBarTempSource(MenuBarTempSource::gpuAverage);
        engine->setMenuBarIconAnimated(false);
        engine->setFanHealthWarningsEnabled(false);
        engine->setHasCompletedFirstRunSetup(true);
        for (const char* key : {"TC0P", "TB0T"}) {
            if (!engine->isPinned(key)) {
                engine->togglePin(key);
            }
        }
        engine->togglePin("Tp01");
        engine->togglePin("Tp01"); // the second toggle unpins
    }

    void expectKeptSettings(const HalvorenEngine& e) {
        EXPECT_EQ(e.controlSource().value(), ControlSource::cpuPerformance);
        EXPECT_FALSE(e.showDockIcon().value());
        EXPECT_EQ(e.menuBarReadout().value(), MenuBarReadout::both);
        EXPECT_EQ(e.menuBarTempSource().value(), MenuBarTempSource::gpuAverage);
        EXPECT_FALSE(e.menuBarIconAnimated().value());
        EXPECT_FALSE(e.fanHealthWarningsEnabled().value());
        EXPECT_TRUE(e.hasCompletedFirstRunSetup().value());
        EXPECT_EQ(e.pinnedSensorKeys().value(), (std::set<std::string>{"TC0P", "TB0T"}));
        EXPECT_TRUE(e.isPinned("TB0T"));
        EXPECT_FALSE(e.isPinned("Tp01"));
    }

    // An engine on a second settings object over the same file, as the next launch sees it.
    std::unique_ptr<HalvorenEngine> relaunch() {
        settings.sync();
        reopened = std::make_unique<QSettings>(settings.fileName(), QSettings::IniFormat);
        return engineOver(*reopened);
    }

    RestorableDefaults changed{.acousticAlpha = 0.8,
                               .spoolRate = 2500.0,
                               .autoSwitchOnBattery = false,
                               .overheatThreshold = 80.0,
                               .useFahrenheit = true,
                               .preciseTemperatures = false,
                               .glassFrost = 0.4,
                               .backdropScene = BackdropScene::nebula,
                               .accentChoice = AccentChoice::teal,
                               .quietHoursEnabled = true,
                               .quietHoursStart = 60,
                               .quietHoursEnd = 120,
                               .cooldownDuration = 600.0,
                               .preSpoolEnabled = true,
                               .meetingQuietEnabled = true};
    std::unique_ptr<QSettings> reopened;
};

TEST_F(EngineSettingsTest, StoredSettingsComeBackInTheNextLaunchAndTheOthersStartFresh) {
    changeSettings();
    EXPECT_EQ(fields(restorable(*engine)), fields(changed));
    const auto next = relaunch();
    // Not stored: every launch starts from the smoothing, battery switch and profile defaults.
    RestorableDefaults stored = changed;
    stored.acousticAlpha = RestorableDefaults{}.acousticAlpha;
    stored.autoSwitchOnBattery = RestorableDefaults{}.autoSwitchOnBattery;
    EXPECT_EQ(fields(restorable(*next)), fields(stored));
    expectKeptSettings(*next);
    EXPECT_EQ(next->activeProfile().value(), FanProfile::appleAuto());
    EXPECT_FALSE(next->activePreset().value().has_value());
}

TEST_F(EngineSettingsTest, RestoreDefaultsResetsAndStoresTheRestorableOnesAndReappliesTheActivePreset) {
    engine->apply(sweep({temperatureSensor("TC0P", 50.0)}, {fan(0, 2000.0)}));
    const CustomMode mode(Uuid::random(), "Mode", "bolt.fill", ModeSpeed::floor(0.3),
                          ModeSensor::source(ControlSource::hottest));
    engine->addCustomMode(mode);
    engine->selectCustomMode(mode.id);
    changeSettings();

    // With a mode active there is no preset to re-apply, and the mode stays.
    engine->restoreDefaults();
    EXPECT_EQ(fields(restorable(*engine)), fields(RestorableDefaults{}));
    EXPECT_EQ(engine->activeCustomModeID().value(), mode.id);
    EXPECT_EQ(engine->activeProfile().value(), FanProfile::halvorenStandard());
    expectKeptSettings(*engine);

    changeSettings();
    engine->selectPreset(FanPreset::quiet);
    ASSERT_EQ(engine->activeProfile().value()->curvePoints.back().rpmPercentage, 0.4);
    engine->restoreDefaults();
    EXPECT_EQ(engine->activePreset().value(), FanPreset::quiet);
    EXPECT_EQ(engine->activeProfile().value(),
              effectiveProfile(FanPreset::quiet, defaultPresetPowerCaps(), false));
    const auto next = relaunch();
    EXPECT_EQ(fields(restorable(*next)), fields(RestorableDefaults{}));
    expectKeptSettings(*next);
}

} // namespace
} // namespace halvoren
