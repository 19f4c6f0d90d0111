#include "engine/settings_store.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <functional>
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

    // Clamped the same when read back as text after a relaunch.
    const Store later(fromIni("com.halvoren.quietHoursEnd=5000\ncom.halvoren.glassFrost=1.5"));
    EXPECT_EQ(later.loadQuietHoursEnd(), 1439);
    EXPECT_EQ(later.loadGlassFrost(), 1);
}

TEST_F(SettingsStoreTest, AValueOfTheWrongKindGivesTheDefault) {
    using Check = std::function<bool(const Store&)>;
    const QVariant text = QStringLiteral("abc");
    const QVariant data = QByteArray("1");
    const QVariant nan = std::numeric_limits<double>::quiet_NaN();
    const QVariant fraction = 12.5;
    const QVariant boolean = true;
    // Typed values of other kinds; "abc" as INI text is tried for every key as well.
    const std::vector<QVariant> notNumbers{text, data, boolean, nan};
    const std::vector<QVariant> notWholeNumbers{text, data, boolean, nan, fraction};
    const std::vector<QVariant> notBools{text, data, fraction};
    const std::vector<QVariant> notRawValues{text, QByteArray("graphite"), QVariant(1), boolean};
    struct Case {
        const char* key;
        Check isDefault;
        const std::vector<QVariant>& wrong;
    };
    const std::vector<Case> cases{
        {Store::spoolRateKey, [](const Store& s) { return s.loadSpoolRate() == 900; }, notNumbers},
        {Store::glassFrostKey, [](const Store& s) { return s.loadGlassFrost() == 0; }, notNumbers},
        {Store::overheatThresholdKey, [](const Store& s) { return s.loadOverheatThreshold() == 90; },
         notNumbers},
        {Store::cooldownDurationKey, [](const Store& s) { return s.loadCooldownDuration() == 300; },
         notNumbers},
        {Store::quietHoursStartKey, [](const Store& s) { return s.loadQuietHoursStart() == 1320; },
         notWholeNumbers},
        {Store::quietHoursEndKey, [](const Store& s) { return s.loadQuietHoursEnd() == 480; },
         notWholeNumbers},
        {Store::useFahrenheitKey, [](const Store& s) { return !s.loadUseFahrenheit(); }, notBools},
        {Store::preciseTemperaturesKey, [](const Store& s) { return s.loadPreciseTemperatures(); }, notBools},
        {Store::showDockIconKey, [](const Store& s) { return s.loadShowDockIcon(); }, notBools},
        {Store::menuBarIconAnimatedKey, [](const Store& s) { return s.loadMenuBarIconAnimated(); }, notBools},
        {Store::hasCompletedFirstRunSetupKey,
         [](const Store& s) { return !s.loadHasCompletedFirstRunSetup(); }, notBools},
        {Store::fanHealthWarningsEnabledKey, [](const Store& s) { return s.loadFanHealthWarningsEnabled(); },
         notBools},
        {Store::preSpoolEnabledKey, [](const Store& s) { return !s.loadPreSpoolEnabled(); }, notBools},
        {Store::quietHoursEnabledKey, [](const Store& s) { return !s.loadQuietHoursEnabled(); }, notBools},
        {Store::meetingQuietEnabledKey, [](const Store& s) { return !s.loadMeetingQuietEnabled(); },
         notBools},
        {Store::backdropSceneKey,
         [](const Store& s) { return s.loadBackdropScene() == BackdropScene::aurora; }, notRawValues},
        {Store::controlSourceKey,
         [](const Store& s) { return s.loadControlSource() == ControlSource::hottest; }, notRawValues},
        {Store::accentChoiceKey, [](const Store& s) { return s.loadAccentChoice() == AccentChoice::system; },
         notRawValues},
        {Store::menuBarReadoutKey,
         [](const Store& s) { return s.loadMenuBarReadout() == MenuBarReadout::controlTemperature; },
         notRawValues},
        {Store::menuBarTempSourceKey,
         [](const Store& s) { return s.loadMenuBarTempSource() == MenuBarTempSource::control; },
         notRawValues},
    };
    for (const auto& c : cases) {
        const QByteArray line = QByteArray(c.key) + "=abc";
        EXPECT_TRUE(c.isDefault(Store(fromIni(line)))) << line.constData();
        for (const QVariant& value : c.wrong) {
            QSettings& typed = fromIni("");
            typed.setValue(QString::fromLatin1(c.key), value);
            EXPECT_TRUE(c.isDefault(Store(typed))) << c.key << " holding " << value.toString().toStdString();
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
