#include "core/preset_profiles.h"
#include "engine_fixture.h"

#include <string>

namespace halvoren {
namespace {

class EngineSettingsTest : public EngineTest {
protected:
    void SetUp() override { makeEngine(); }

    // Every restorable setting away from its default, the quiet preset's caps included.
    void changeRestorableSettings() {
        engine->setAcousticAlpha(0.8);
        engine->setSpoolRate(2500.0);
        engine->setAutoSwitchOnBattery(false);
        engine->setOverheatThreshold(80.0);
        engine->setUseFahrenheit(true);
        engine->setPreciseTemperatures(false);
        engine->setGlassFrost(0.4);
        engine->setBackdropScene(BackdropScene::nebula);
        engine->setAccentChoice(AccentChoice::teal);
        engine->setPresetCap(FanPreset::quiet, 0.4, 0.2);
        AlertRules rules = defaultAlertRules();
        setEntry(rules, SensorCategory::cpu,
                 AlertRule{.enabled = true, .thresholdCelsius = 88.0, .autoBoost = true});
        engine->setAlertRules(rules);
        engine->setQuietHoursEnabled(true);
        engine->setQuietHoursStart(60);
        engine->setQuietHoursEnd(120);
        engine->setCooldownDuration(600.0);
        engine->setPreSpoolEnabled(true);
        engine->setMeetingQuietEnabled(true);
    }

    // The settings that Restore Defaults leaves alone.
    void changeKeptSettings() {
        engine->setControlSource(ControlSource::cpuPerformance);
        engine->setShowDockIcon(false);
        engine->setMenuBarReadout(MenuBarReadout::both);
        engine->setMenuBarTempSource(MenuBarTempSource::gpuAverage);
        engine->setMenuBarIconAnimated(false);
        engine->setFanHealthWarningsEnabled(false);
        engine->setHasCompletedFirstRunSetup(true);
        for (const char* key : {"TC0P", "TB0T", "Tp01", "Tp01"}) {
            engine->togglePin(key); // the second toggle unpins
        }
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
        return std::make_unique<HalvorenEngine>(
            FanProfile::appleAuto(),
            HalvorenEngine::Environment{
                .driver = driver, .timers = timers, .settings = *reopened, .hidFactory = noHIDSensors});
    }

    std::unique_ptr<QSettings> reopened;
};

TEST_F(EngineSettingsTest, StoredSettingsComeBackInTheNextLaunchAndTheOthersStartFresh) {
    changeRestorableSettings();
    changeKeptSettings();
    const AlertRules rules = engine->alertRules().value();
    const auto next = relaunch();

    EXPECT_EQ(next->spoolRate().value(), 2500.0);
    EXPECT_EQ(next->overheatThreshold().value(), 80.0);
    EXPECT_TRUE(next->useFahrenheit().value());
    EXPECT_FALSE(next->preciseTemperatures().value());
    EXPECT_EQ(next->glassFrost().value(), 0.4);
    EXPECT_EQ(next->backdropScene().value(), BackdropScene::nebula);
    EXPECT_EQ(next->accentChoice().value(), AccentChoice::teal);
    EXPECT_EQ(*findEntry(next->presetPowerCaps().value(), FanPreset::quiet), (PresetPowerCaps{0.4, 0.2}));
    EXPECT_EQ(next->alertRules().value(), rules);
    EXPECT_TRUE(next->quietHoursEnabled().value());
    EXPECT_EQ(next->quietHoursStart().value(), 60);
    EXPECT_EQ(next->quietHoursEnd().value(), 120);
    EXPECT_EQ(next->cooldownDuration().value(), 600.0);
    EXPECT_TRUE(next->preSpoolEnabled().value());
    EXPECT_TRUE(next->meetingQuietEnabled().value());
    expectKeptSettings(*next);

    // Not stored: every launch starts from these.
    EXPECT_EQ(next->acousticAlpha().value(), 0.35);
    EXPECT_TRUE(next->autoSwitchOnBattery().value());
    EXPECT_EQ(next->activeProfile().value(), FanProfile::appleAuto());
    EXPECT_FALSE(next->activePreset().value().has_value());
}

TEST_F(EngineSettingsTest, RestoreDefaultsResetsInItsOrderAndReappliesTheActivePreset) {
    engine->apply(sweep({temperatureSensor("TC0P", 50.0)}, {fan(0, 2000.0)}));
    const CustomMode mode(Uuid::random(), "Mode", "bolt.fill", ModeSpeed::floor(0.3),
                          ModeSensor::source(ControlSource::hottest));
    engine->addCustomMode(mode);
    engine->selectCustomMode(mode.id);
    changeRestorableSettings();
    changeKeptSettings();

    // With a mode active there is no preset to re-apply, and the mode stays.
    engine->restoreDefaults();
    EXPECT_EQ(engine->activeCustomModeID().value(), mode.id);
    EXPECT_EQ(engine->customModes().value(), std::vector<CustomMode>{mode});
    EXPECT_EQ(engine->activeProfile().value(), FanProfile::halvorenStandard());
    expectKeptSettings(*engine);

    changeRestorableSettings();
    engine->selectPreset(FanPreset::quiet);
    ASSERT_EQ(engine->activeProfile().value()->curvePoints.back().rpmPercentage, 0.4);
    std::vector<std::string> order;
    auto record = [&order](const auto& field, std::string name) {
        field.observe([&order, name](const auto&) { order.push_back(name); });
    };
    record(engine->acousticAlpha(), "acousticAlpha");
    record(engine->spoolRate(), "spoolRate");
    record(engine->autoSwitchOnBattery(), "autoSwitchOnBattery");
    record(engine->overheatThreshold(), "overheatThreshold");
    record(engine->useFahrenheit(), "useFahrenheit");
    record(engine->preciseTemperatures(), "preciseTemperatures");
    record(engine->glassFrost(), "glassFrost");
    record(engine->backdropScene(), "backdropScene");
    record(engine->accentChoice(), "accentChoice");
    record(engine->presetPowerCaps(), "presetPowerCaps");
    record(engine->activeProfile(), "activeProfile");
    record(engine->alertRules(), "alertRules");
    record(engine->quietHoursEnabled(), "quietHoursEnabled");
    record(engine->quietHoursStart(), "quietHoursStart");
    record(engine->quietHoursEnd(), "quietHoursEnd");
    record(engine->cooldownDuration(), "cooldownDuration");
    record(engine->preSpoolEnabled(), "preSpoolEnabled");
    record(engine->meetingQuietEnabled(), "meetingQuietEnabled");

    engine->restoreDefaults();
    EXPECT_EQ(order,
              (std::vector<std::string>{
                  "acousticAlpha", "spoolRate", "autoSwitchOnBattery", "overheatThreshold", "useFahrenheit",
                  "preciseTemperatures", "glassFrost", "backdropScene", "accentChoice", "presetPowerCaps",
                  "activeProfile", "alertRules", "quietHoursEnabled", "quietHoursStart", "quietHoursEnd",
                  "cooldownDuration", "preSpoolEnabled", "meetingQuietEnabled"}));
    EXPECT_EQ(engine->activePreset().value(), FanPreset::quiet);
    EXPECT_EQ(engine->activeProfile().value(),
              effectiveProfile(FanPreset::quiet, defaultPresetPowerCaps(), false));
    expectKeptSettings(*engine);

    // The defaults are stored, too.
    const auto next = relaunch();
    EXPECT_EQ(next->spoolRate().value(), 900.0);
    EXPECT_EQ(next->presetPowerCaps().value(), defaultPresetPowerCaps());
    EXPECT_EQ(next->alertRules().value(), defaultAlertRules());
    EXPECT_EQ(next->cooldownDuration().value(), 300.0);
    EXPECT_FALSE(next->useFahrenheit().value());
    expectKeptSettings(*next);
}

TEST_F(EngineSettingsTest, CorruptStoredDataFallsBackUntilTheNextChangeOverwritesIt) {
    engine.reset();
    settings.setValue(QStringLiteral("com.halvoren.presetPowerCaps"), QByteArray(R"(["quiet",{"ac":0.1}])"));
    settings.setValue(QStringLiteral("com.halvoren.customModes"), QByteArray("[{\"id\":"));
    settings.setValue(QStringLiteral("com.halvoren.pinnedSensorKeys"), QByteArray("[\"TC0P\", 3]"));
    makeEngine();
    EXPECT_FALSE(engine->isPinned("TC0P"));
    EXPECT_EQ(engine->presetPowerCaps().value(), defaultPresetPowerCaps());
    EXPECT_TRUE(engine->customModes().value().empty());
    engine->selectPreset(FanPreset::quiet);
    EXPECT_EQ(engine->activeProfile().value()->curvePoints.back().rpmPercentage, 0.55);

    engine->setPresetCap(FanPreset::auto_, 0.9, std::nullopt);
    const CustomMode mode(Uuid::random(), "Mode", "bolt.fill", ModeSpeed::fixed(0.5),
                          ModeSensor::source(ControlSource::hottest));
    engine->addCustomMode(mode);
    engine->togglePin("TB0T");
    const auto next = relaunch();
    EXPECT_EQ(next->pinnedSensorKeys().value(), std::set<std::string>{"TB0T"});
    EXPECT_EQ(*findEntry(next->presetPowerCaps().value(), FanPreset::auto_), (PresetPowerCaps{0.9, 0.7}));
    EXPECT_EQ(*findEntry(next->presetPowerCaps().value(), FanPreset::quiet), (PresetPowerCaps{0.55, 0.35}));
    EXPECT_EQ(next->customModes().value(), std::vector<CustomMode>{mode});
}

} // namespace
} // namespace halvoren
