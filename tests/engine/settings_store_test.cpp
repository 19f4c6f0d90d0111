#include "core/preset_profiles.h"
#include "engine_fixture.h"

#include <QFile>
#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <type_traits>

namespace halvoren {
namespace {

using Store = SettingsStore;
constexpr const char* pinnedKeysKey = "com.halvoren.pinnedSensorKeys";

class SettingsStoreTest : public ::testing::Test {
protected:
    // Settings as a later launch reads them from an INI file: every scalar comes back as
    // text. Each call uses a fresh file, since settings of one path are cached per process.
    QSettings& fromIni(const QByteArray& lines) {
        const QString path = dir.filePath(QStringLiteral("settings%1.ini").arg(opened.size()));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("[General]\n" + lines + "\n");
        file.close();
        opened.push_back(std::make_unique<QSettings>(path, QSettings::IniFormat));
        return *opened.back();
    }

    // What the next launch finds of everything written through `settings`.
    QSettings& relaunch(QSettings& settings) {
        settings.sync();
        QFile file(settings.fileName());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        QByteArray text = file.readAll();
        text.replace("[General]\n", "");
        return fromIni(text);
    }

    QTemporaryDir dir;
    std::vector<std::unique_ptr<QSettings>> opened;
    QSettings& settings = fromIni("");
    Store store{settings};
};

// Enumerations travel through the tables as their underlying numbers.
template <class T>
using Number =
    typename std::conditional_t<std::is_enum_v<T>, std::underlying_type<T>, std::type_identity<T>>::type;
template <class T>
double asNumber(T value) {
    return static_cast<double>(static_cast<Number<T>>(value));
}

// One plain setting: its key, how to write a value and read it back, its default, a value other
// than it, what it reads as when holding each of `wrongKinds` (none: an enumeration, which falls
// back to its default), and stored values out of bounds with what they load as.
struct Field {
    const char* key;
    std::function<void(Store&, double)> write;
    std::function<double(const Store&)> read;
    double fallback;
    double written;
    std::vector<double> readings;
    std::vector<std::pair<double, double>> bounds;
};

template <auto store, auto load, class T>
Field field(const char* key, T fallback, T written, std::vector<double> readings = {},
            std::vector<std::pair<double, double>> bounds = {}) {
    if constexpr (std::is_same_v<T, bool>) {
        readings = {0, 0, 1, 0, 1, 1};
    }
    return {key,
            [](Store& s, double value) { (s.*store)(static_cast<T>(static_cast<Number<T>>(value))); },
            [](const Store& s) { return asNumber((s.*load)()); },
            asNumber(fallback),
            asNumber(written),
            std::move(readings),
            std::move(bounds)};
}
#define FIELD(Name, key, ...) field<&Store::store##Name, &Store::load##Name>(Store::key##Key, __VA_ARGS__)

std::vector<Field> plainFields() {
    const RestorableDefaults d;
    const std::vector<double> same{0, 0, 1, 0, 12, 12};
    return {
        FIELD(SpoolRate, spoolRate, d.spoolRate, 2400.5, {120, 120, 120, 120, 120, 120},
              {{50, 120}, {20000, 9000}}),
        FIELD(GlassFrost, glassFrost, d.glassFrost, 0.25, {0, 0, 1, 0, 1, 1}, {{-0.5, 0}}),
        FIELD(BackdropScene, backdropScene, d.backdropScene, BackdropScene::nebula),
        FIELD(ControlSource, controlSource, ControlSource::hottest, ControlSource::cpuEfficiency),
        FIELD(UseFahrenheit, useFahrenheit, d.useFahrenheit, true),
        FIELD(PreciseTemperatures, preciseTemperatures, d.preciseTemperatures, false),
        FIELD(AccentChoice, accentChoice, d.accentChoice, AccentChoice::violet),
        FIELD(MenuBarReadout, menuBarReadout, MenuBarReadout::controlTemperature, MenuBarReadout::none),
        FIELD(ShowDockIcon, showDockIcon, true, false),
        FIELD(MenuBarTempSource, menuBarTempSource, MenuBarTempSource::control,
              MenuBarTempSource::cpuPerformance),
        FIELD(MenuBarIconAnimated, menuBarIconAnimated, true, false),
        FIELD(HasCompletedFirstRunSetup, hasCompletedFirstRunSetup, false, true),
        // A stored 0 is not absence; 20 is below the slider's range, yet taken as it stands.
        FIELD(OverheatThreshold, overheatThreshold, d.overheatThreshold, 0.0, {0, 0, 1, 0, 12.5, 12.7},
              {{20, 20}}),
        FIELD(FanHealthWarningsEnabled, fanHealthWarningsEnabled, true, false),
        FIELD(PreSpoolEnabled, preSpoolEnabled, d.preSpoolEnabled, true),
        FIELD(QuietHoursEnabled, quietHoursEnabled, d.quietHoursEnabled, true),
        FIELD(QuietHoursStart, quietHoursStart, d.quietHoursStart, 0, same, {{-5, 0}}),
        FIELD(QuietHoursEnd, quietHoursEnd, d.quietHoursEnd, 1439, same, {{5000, 1439}}),
        FIELD(MeetingQuietEnabled, meetingQuietEnabled, d.meetingQuietEnabled, true),
        FIELD(CooldownDuration, cooldownDuration, d.cooldownDuration, 61.5, {60, 60, 60, 60, 60, 60},
              {{30, 60}, {1801, 1800}}),
    };
}
#undef FIELD

TEST_F(SettingsStoreTest, EveryValueIsItsDefaultUntilWrittenAndComesBackInThisRunAndAfterARelaunch) {
    const RestorableDefaults restored;
    const auto fields = plainFields();
    for (const auto& f : fields) {
        EXPECT_NE(f.fallback, f.written) << f.key;
        EXPECT_EQ(f.read(store), f.fallback) << f.key;
    }
    EXPECT_EQ(store.loadAlertRules(), restored.alertRules);
    EXPECT_EQ(store.loadPresetPowerCaps(), restored.presetPowerCaps);
    EXPECT_TRUE(store.loadCustomModes().empty());
    EXPECT_EQ(store.loadActiveCustomModeID(), std::nullopt);
    EXPECT_TRUE(settings.allKeys().isEmpty()) << "loading must not write";

    const CustomMode mode(Uuid::random(), "Render", "cube.fill", ModeSpeed::fixed(0.8),
                          ModeSensor::source(ControlSource::gpuAverage));
    const AlertRules rules{{SensorCategory::gpu, {true, 88.5, true}}};
    const PresetPowerCapsMap caps{{FanPreset::max, {0.9, 0.6}}};
    for (const auto& f : fields) {
        f.write(store, f.written);
    }
    store.persistAlertRules(rules);
    store.persistPresetPowerCaps(caps);
    store.persistCustomModes({mode});
    store.persistActiveCustomModeID(mode.id);

    QSettings& later = relaunch(settings);
    ASSERT_EQ(later.value(Store::spoolRateKey).typeId(), QMetaType::QString) << "the relaunch must read text";
    for (QSettings* source : {&settings, &later}) {
        const Store loaded(*source);
        for (const auto& f : fields) {
            EXPECT_EQ(f.read(loaded), f.written) << f.key;
        }
        EXPECT_EQ(loaded.loadAlertRules(), mergeOverDefaults(defaultAlertRules(), rules));
        EXPECT_EQ(loaded.loadPresetPowerCaps(), mergeOverDefaults(defaultPresetPowerCaps(), caps));
        EXPECT_EQ(loaded.loadCustomModes(), std::vector<CustomMode>{mode});
        EXPECT_EQ(loaded.loadActiveCustomModeID(), mode.id);
    }
}

TEST_F(SettingsStoreTest, BoundsClampOnLoadButTheStoredValueStaysAsItWas) {
    for (const auto& f : plainFields()) {
        for (const auto& [stored, loaded] : f.bounds) {
            f.write(store, stored);
            EXPECT_EQ(f.read(store), loaded) << f.key << " holding " << stored;
            EXPECT_EQ(settings.value(f.key).toDouble(), stored) << f.key;
        }
    }
}

// A scalar is read as the platform's typed getters read it, and then the bounds apply; only
// an enumeration falls back to its default.
TEST_F(SettingsStoreTest, AValueOfTheWrongKindReadsAsZeroOrFalseBeforeTheBounds) {
    // Text is what an INI file gives after a relaunch.
    const std::vector<QVariant> wrongKinds{
        QStringLiteral("abc"),      QByteArray("1"), true, std::numeric_limits<double>::quiet_NaN(), 12.5,
        QStringLiteral(" +12.7abc")};
    for (const auto& f : plainFields()) {
        const std::vector<QVariant> values =
            f.readings.empty()
                ? std::vector<QVariant>{QStringLiteral("fanSpeed"), QByteArray("graphite"), 1, true}
                : wrongKinds;
        for (std::size_t i = 0; i < values.size(); ++i) {
            QSettings& typed = fromIni("");
            typed.setValue(QString::fromLatin1(f.key), values[i]);
            EXPECT_EQ(f.read(Store(typed)), f.readings.empty() ? f.fallback : f.readings[i])
                << f.key << " holding " << values[i].toString().toStdString();
        }
    }
}

TEST_F(SettingsStoreTest, CorruptDataGivesTheDefaultsAndStaysUntilTheNextWrite) {
    const QVariant corrupt[] = {
        QByteArray("\x01\x02 not json"),
        QByteArray(R"({"quiet":{"ac":0.5,"battery":0.5}})"),
        QByteArray(R"(["quiet",{"ac":0.5,"battery":0.5},"auto"])"),
        QByteArray(R"(["cpu",{"enabled":true},"quiet",{"ac":0.5}])"),
        QByteArray(),
        QStringLiteral(R"(["quiet",{"ac":0.4,"battery":0.25}])"), // text, not data
    };
    for (const QVariant& value : corrupt) {
        for (const char* key :
             {Store::presetPowerCapsKey, Store::alertRulesKey, Store::customModesKey, pinnedKeysKey}) {
            settings.setValue(key, value);
        }
        EXPECT_EQ(store.loadPresetPowerCaps(), defaultPresetPowerCaps()) << value.toString().toStdString();
        EXPECT_EQ(store.loadAlertRules(), defaultAlertRules());
        EXPECT_TRUE(store.loadCustomModes().empty());
        EXPECT_TRUE(PinnedSensorStore(settings).load().empty());
        EXPECT_EQ(settings.value(Store::alertRulesKey), value) << "a failed load leaves the data in place";
    }

    const PresetPowerCapsMap caps{{FanPreset::auto_, {0.8, 0.5}}};
    store.persistPresetPowerCaps(caps);
    EXPECT_EQ(store.loadPresetPowerCaps(), mergeOverDefaults(defaultPresetPowerCaps(), caps));
}

TEST_F(SettingsStoreTest, AValueThatCannotBeEncodedKeepsTheOldData) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const PresetPowerCapsMap caps{{FanPreset::quiet, {0.3, 0.2}}};
    store.persistPresetPowerCaps(caps);
    store.persistPresetPowerCaps({{FanPreset::quiet, {nan, 0.2}}});
    EXPECT_EQ(store.loadPresetPowerCaps(), mergeOverDefaults(defaultPresetPowerCaps(), caps));

    const AlertRules rules{{SensorCategory::cpu, {true, 80.0, false}}};
    store.persistAlertRules(rules);
    store.persistAlertRules({{SensorCategory::cpu, {true, nan, false}}});
    EXPECT_EQ(store.loadAlertRules(), mergeOverDefaults(defaultAlertRules(), rules));

    const CustomMode mode(Uuid::random(), "Quiet", "moon.fill", ModeSpeed::floor(0.2), ModeSensor());
    store.persistCustomModes({mode});
    CustomMode broken = mode;
    broken.name = std::string("\xff\xfe", 2);
    store.persistCustomModes({broken});
    EXPECT_EQ(store.loadCustomModes(), std::vector<CustomMode>{mode});

    // The pinned keys go as a JSON array of text; they come back after a relaunch in the engine's test.
    PinnedSensorStore pins(settings);
    pins.save({"TC0P", "hid:PMU tdie3"});
    EXPECT_TRUE(settings.value(pinnedKeysKey).toByteArray().startsWith(R"(["TC0P",)"));
    pins.save({broken.name});
    EXPECT_EQ(pins.load(), (std::set<std::string>{"TC0P", "hid:PMU tdie3"}));
    pins.save({});
    EXPECT_TRUE(pins.load().empty());
}

TEST_F(SettingsStoreTest, ActiveCustomModeIDIsRemovedWhenNilAndMalformedTextReadsAsNil) {
    const Uuid id = Uuid::random();
    store.persistActiveCustomModeID(id);
    EXPECT_EQ(settings.value(Store::activeCustomModeIDKey).toString().toStdString(), id.toString());
    store.persistActiveCustomModeID(std::nullopt);
    EXPECT_FALSE(settings.contains(Store::activeCustomModeIDKey));

    for (const QVariant& value : {QVariant(QStringLiteral("not-a-uuid")), QVariant(QStringLiteral("")),
                                  QVariant(QByteArray::fromStdString(id.toString())), QVariant(7)}) {
        settings.setValue(Store::activeCustomModeIDKey, value);
        EXPECT_EQ(store.loadActiveCustomModeID(), std::nullopt) << value.toString().toStdString();
    }
    // Lower-case text from elsewhere is still the same identity.
    settings.setValue(Store::activeCustomModeIDKey, QString::fromStdString(id.toString()).toLower());
    EXPECT_EQ(store.loadActiveCustomModeID(), id);
}

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
