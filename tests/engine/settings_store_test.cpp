#include "engine/settings_store.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <limits>
#include <memory>

namespace halvoren {
namespace {

using Store = SettingsStore;

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

TEST_F(SettingsStoreTest, AnEmptyStoreGivesEveryDefaultAndAgreesWithRestoreDefaults) {
    const RestorableDefaults restored;
    EXPECT_EQ(store.loadSpoolRate(), restored.spoolRate);
    EXPECT_EQ(store.loadSpoolRate(), Store::defaultSpoolRate);
    EXPECT_EQ(store.loadGlassFrost(), restored.glassFrost);
    EXPECT_EQ(store.loadBackdropScene(), restored.backdropScene);
    EXPECT_EQ(store.loadControlSource(), ControlSource::hottest);
    EXPECT_EQ(store.loadUseFahrenheit(), restored.useFahrenheit);
    EXPECT_EQ(store.loadPreciseTemperatures(), restored.preciseTemperatures);
    EXPECT_EQ(store.loadAccentChoice(), restored.accentChoice);
    EXPECT_EQ(store.loadMenuBarReadout(), MenuBarReadout::controlTemperature);
    EXPECT_TRUE(store.loadShowDockIcon());
    EXPECT_EQ(store.loadMenuBarTempSource(), MenuBarTempSource::control);
    EXPECT_TRUE(store.loadMenuBarIconAnimated());
    EXPECT_FALSE(store.loadHasCompletedFirstRunSetup());
    EXPECT_EQ(store.loadOverheatThreshold(), restored.overheatThreshold);
    EXPECT_TRUE(store.loadFanHealthWarningsEnabled());
    EXPECT_EQ(store.loadPreSpoolEnabled(), restored.preSpoolEnabled);
    EXPECT_EQ(store.loadAlertRules(), restored.alertRules);
    EXPECT_EQ(store.loadPresetPowerCaps(), restored.presetPowerCaps);
    EXPECT_TRUE(store.loadCustomModes().empty());
    EXPECT_EQ(store.loadActiveCustomModeID(), std::nullopt);
    EXPECT_EQ(store.loadQuietHoursEnabled(), restored.quietHoursEnabled);
    EXPECT_EQ(store.loadQuietHoursStart(), restored.quietHoursStart);
    EXPECT_EQ(store.loadQuietHoursEnd(), restored.quietHoursEnd);
    EXPECT_EQ(store.loadMeetingQuietEnabled(), restored.meetingQuietEnabled);
    EXPECT_EQ(store.loadCooldownDuration(), restored.cooldownDuration);
    EXPECT_TRUE(settings.allKeys().isEmpty()) << "loading must not write";
}

TEST_F(SettingsStoreTest, EveryWrittenValueComesBackInThisRunAndAfterARelaunch) {
    const CustomMode mode(Uuid::random(), "Render", "cube.fill", ModeSpeed::fixed(0.8),
                          ModeSensor::source(ControlSource::gpuAverage));
    const AlertRules rules{{SensorCategory::gpu, {true, 88.5, true}}};
    const PresetPowerCapsMap caps{{FanPreset::max, {0.9, 0.6}}};
    store.storeSpoolRate(2400.5);
    store.storeGlassFrost(0.25);
    store.storeBackdropScene(BackdropScene::nebula);
    store.storeControlSource(ControlSource::cpuEfficiency);
    store.storeUseFahrenheit(true);
    store.storePreciseTemperatures(false);
    store.storeAccentChoice(AccentChoice::violet);
    store.storeMenuBarReadout(MenuBarReadout::none);
    store.storeShowDockIcon(false);
    store.storeMenuBarTempSource(MenuBarTempSource::cpuPerformance);
    store.storeMenuBarIconAnimated(false);
    store.storeHasCompletedFirstRunSetup(true);
    store.storeOverheatThreshold(0.0);
    store.storeFanHealthWarningsEnabled(false);
    store.storePreSpoolEnabled(true);
    store.persistAlertRules(rules);
    store.persistPresetPowerCaps(caps);
    store.persistCustomModes({mode});
    store.persistActiveCustomModeID(mode.id);
    store.storeQuietHoursEnabled(true);
    store.storeQuietHoursStart(0);
    store.storeQuietHoursEnd(1439);
    store.storeMeetingQuietEnabled(true);
    store.storeCooldownDuration(61.5);

    QSettings& later = relaunch(settings);
    ASSERT_EQ(later.value(Store::spoolRateKey).typeId(), QMetaType::QString) << "the relaunch must read text";
    for (QSettings* source : {&settings, &later}) {
        const Store loaded(*source);
        EXPECT_EQ(loaded.loadSpoolRate(), 2400.5);
        EXPECT_EQ(loaded.loadGlassFrost(), 0.25);
        EXPECT_EQ(loaded.loadBackdropScene(), BackdropScene::nebula);
        EXPECT_EQ(loaded.loadControlSource(), ControlSource::cpuEfficiency);
        EXPECT_TRUE(loaded.loadUseFahrenheit());
        EXPECT_FALSE(loaded.loadPreciseTemperatures());
        EXPECT_EQ(loaded.loadAccentChoice(), AccentChoice::violet);
        EXPECT_EQ(loaded.loadMenuBarReadout(), MenuBarReadout::none);
        EXPECT_FALSE(loaded.loadShowDockIcon());
        EXPECT_EQ(loaded.loadMenuBarTempSource(), MenuBarTempSource::cpuPerformance);
        EXPECT_FALSE(loaded.loadMenuBarIconAnimated());
        EXPECT_TRUE(loaded.loadHasCompletedFirstRunSetup());
        EXPECT_EQ(loaded.loadOverheatThreshold(), 0.0); // a stored 0 is not absence
        EXPECT_FALSE(loaded.loadFanHealthWarningsEnabled());
        EXPECT_TRUE(loaded.loadPreSpoolEnabled());
        EXPECT_EQ(loaded.loadAlertRules(), mergeOverDefaults(defaultAlertRules(), rules));
        EXPECT_EQ(loaded.loadPresetPowerCaps(), mergeOverDefaults(defaultPresetPowerCaps(), caps));
        EXPECT_EQ(loaded.loadCustomModes(), std::vector<CustomMode>{mode});
        EXPECT_EQ(loaded.loadActiveCustomModeID(), mode.id);
        EXPECT_TRUE(loaded.loadQuietHoursEnabled());
        EXPECT_EQ(loaded.loadQuietHoursStart(), 0);
        EXPECT_EQ(loaded.loadQuietHoursEnd(), 1439);
        EXPECT_TRUE(loaded.loadMeetingQuietEnabled());
        EXPECT_EQ(loaded.loadCooldownDuration(), 61.5);
    }
}

TEST_F(SettingsStoreTest, BoundsClampOnLoadButTheStoredValueStaysAsItWas) {
    store.storeSpoolRate(50);
    EXPECT_EQ(store.loadSpoolRate(), 120);
    EXPECT_EQ(settings.value(Store::spoolRateKey).toDouble(), 50);
    store.storeSpoolRate(20000);
    EXPECT_EQ(store.loadSpoolRate(), 9000);
    EXPECT_EQ(settings.value(Store::spoolRateKey).toDouble(), 20000);

    store.storeQuietHoursStart(-5);
    EXPECT_EQ(store.loadQuietHoursStart(), 0);
    store.storeQuietHoursEnd(5000);
    EXPECT_EQ(store.loadQuietHoursEnd(), 1439);
    EXPECT_EQ(settings.value(Store::quietHoursEndKey).toInt(), 5000);
    store.storeCooldownDuration(30);
    EXPECT_EQ(store.loadCooldownDuration(), 60);
    store.storeCooldownDuration(1801);
    EXPECT_EQ(store.loadCooldownDuration(), 1800);
    store.storeGlassFrost(-0.5);
    EXPECT_EQ(store.loadGlassFrost(), 0);
    store.storeOverheatThreshold(20); // below the slider's range, yet taken as it stands
    EXPECT_EQ(store.loadOverheatThreshold(), 20);
}

template <auto load>
double loaded(const Store& store) {
    return static_cast<double>((store.*load)());
}
template <auto load, auto fallback>
bool isDefault(const Store& store) {
    return (store.*load)() == fallback;
}

// A scalar is read as the platform's typed getters read it, and then the bounds apply; only
// an enumeration falls back to its default.
TEST_F(SettingsStoreTest, AValueOfTheWrongKindReadsAsZeroOrFalseBeforeTheBounds) {
    // Text is what an INI file gives after a relaunch.
    const std::vector<QVariant> stored{
        QStringLiteral("abc"),      QByteArray("1"), true, std::numeric_limits<double>::quiet_NaN(), 12.5,
        QStringLiteral(" +12.7abc")};
    struct Case {
        const char* key;
        double (*load)(const Store&);
        std::vector<double> readings; // one per stored value
    };
    const std::vector<double> flag{0, 0, 1, 0, 1, 1};
    const std::vector<Case> cases{
        {Store::spoolRateKey, loaded<&Store::loadSpoolRate>, {120, 120, 120, 120, 120, 120}},
        {Store::glassFrostKey, loaded<&Store::loadGlassFrost>, {0, 0, 1, 0, 1, 1}},
        {Store::overheatThresholdKey, loaded<&Store::loadOverheatThreshold>, {0, 0, 1, 0, 12.5, 12.7}},
        {Store::cooldownDurationKey, loaded<&Store::loadCooldownDuration>, {60, 60, 60, 60, 60, 60}},
        {Store::quietHoursStartKey, loaded<&Store::loadQuietHoursStart>, {0, 0, 1, 0, 12, 12}},
        {Store::quietHoursEndKey, loaded<&Store::loadQuietHoursEnd>, {0, 0, 1, 0, 12, 12}},
        {Store::useFahrenheitKey, loaded<&Store::loadUseFahrenheit>, flag},
        {Store::preciseTemperaturesKey, loaded<&Store::loadPreciseTemperatures>, flag},
        {Store::showDockIconKey, loaded<&Store::loadShowDockIcon>, flag},
        {Store::menuBarIconAnimatedKey, loaded<&Store::loadMenuBarIconAnimated>, flag},
        {Store::hasCompletedFirstRunSetupKey, loaded<&Store::loadHasCompletedFirstRunSetup>, flag},
        {Store::fanHealthWarningsEnabledKey, loaded<&Store::loadFanHealthWarningsEnabled>, flag},
        {Store::preSpoolEnabledKey, loaded<&Store::loadPreSpoolEnabled>, flag},
        {Store::quietHoursEnabledKey, loaded<&Store::loadQuietHoursEnabled>, flag},
        {Store::meetingQuietEnabledKey, loaded<&Store::loadMeetingQuietEnabled>, flag},
    };
    for (const auto& c : cases) {
        for (std::size_t i = 0; i < stored.size(); ++i) {
            QSettings& typed = fromIni("");
            typed.setValue(QString::fromLatin1(c.key), stored[i]);
            EXPECT_EQ(c.load(Store(typed)), c.readings[i])
                << c.key << " holding " << stored[i].toString().toStdString();
        }
    }

    const std::vector<std::pair<const char*, bool (*)(const Store&)>> enumerations{
        {Store::backdropSceneKey, isDefault<&Store::loadBackdropScene, BackdropScene::aurora>},
        {Store::controlSourceKey, isDefault<&Store::loadControlSource, ControlSource::hottest>},
        {Store::accentChoiceKey, isDefault<&Store::loadAccentChoice, AccentChoice::system>},
        {Store::menuBarReadoutKey, isDefault<&Store::loadMenuBarReadout, MenuBarReadout::controlTemperature>},
        {Store::menuBarTempSourceKey, isDefault<&Store::loadMenuBarTempSource, MenuBarTempSource::control>},
    };
    for (const auto& [key, isDefault] : enumerations) {
        for (const QVariant& value : {QVariant(QStringLiteral("fanSpeed")), QVariant(QByteArray("graphite")),
                                      QVariant(1), QVariant(true)}) {
            QSettings& typed = fromIni("");
            typed.setValue(QString::fromLatin1(key), value);
            EXPECT_TRUE(isDefault(Store(typed))) << key << " holding " << value.toString().toStdString();
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
        for (const char* key : {Store::presetPowerCapsKey, Store::alertRulesKey, Store::customModesKey}) {
            settings.setValue(key, value);
        }
        EXPECT_EQ(store.loadPresetPowerCaps(), defaultPresetPowerCaps()) << value.toString().toStdString();
        EXPECT_EQ(store.loadAlertRules(), defaultAlertRules());
        EXPECT_TRUE(store.loadCustomModes().empty());
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
}

TEST_F(SettingsStoreTest, ActiveCustomModeIDIsRemovedWhenNilAndMalformedTextReadsAsNil) {
    const Uuid id = Uuid::random();
    store.persistActiveCustomModeID(id);
    EXPECT_EQ(settings.value(Store::activeCustomModeIDKey).toString().toStdString(), id.toString());
    EXPECT_EQ(store.loadActiveCustomModeID(), id);

    store.persistActiveCustomModeID(std::nullopt);
    EXPECT_FALSE(settings.contains(Store::activeCustomModeIDKey));
    EXPECT_EQ(store.loadActiveCustomModeID(), std::nullopt);

    for (const QVariant& value : {QVariant(QStringLiteral("not-a-uuid")), QVariant(QStringLiteral("")),
                                  QVariant(QByteArray::fromStdString(id.toString())), QVariant(7)}) {
        settings.setValue(Store::activeCustomModeIDKey, value);
        EXPECT_EQ(store.loadActiveCustomModeID(), std::nullopt) << value.toString().toStdString();
    }
    // Lower-case text from elsewhere is still the same identity.
    settings.setValue(Store::activeCustomModeIDKey, QString::fromStdString(id.toString()).toLower());
    EXPECT_EQ(store.loadActiveCustomModeID(), id);
}

} // namespace
} // namespace halvoren
