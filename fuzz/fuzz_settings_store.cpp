// The settings store's loaders over whatever a settings file or an older version left under a key.
// The first byte picks the key, the second the kind of value (bytes, text, a double, an integer or
// a boolean, the forms a store gives back), the rest is the value. Every loader must give a value
// within its setting's bounds, and a loaded value stores and loads back unchanged.

#include "engine/pinned_sensor_store.h"
#include "engine/settings_store.h"
#include "fuzz_check.h"

#include <QByteArray>
#include <QSettings>
#include <QString>
#include <QVariant>
#include <array>
#include <cmath>
#include <cstring>

namespace {

using namespace halvoren;
using fuzz::check;
using Store = SettingsStore;

constexpr std::array<const char*, 25> keys{
    Store::spoolRateKey,
    Store::glassFrostKey,
    Store::backdropSceneKey,
    Store::controlSourceKey,
    Store::useFahrenheitKey,
    Store::preciseTemperaturesKey,
    Store::accentChoiceKey,
    Store::menuBarReadoutKey,
    Store::showDockIconKey,
    Store::menuBarTempSourceKey,
    Store::menuBarIconAnimatedKey,
    Store::hasCompletedFirstRunSetupKey,
    Store::overheatThresholdKey,
    Store::fanHealthWarningsEnabledKey,
    Store::preSpoolEnabledKey,
    Store::alertRulesKey,
    Store::presetPowerCapsKey,
    Store::customModesKey,
    Store::activeCustomModeIDKey,
    Store::quietHoursEnabledKey,
    Store::quietHoursStartKey,
    Store::quietHoursEndKey,
    Store::meetingQuietEnabledKey,
    Store::cooldownDurationKey,
    PinnedSensorStore::defaultStorageKey,
};

template <class T>
T fromBytes(const std::uint8_t* data, std::size_t size) {
    T value{};
    std::memcpy(&value, data, std::min(size, sizeof value));
    return value;
}

QVariant valueOfKind(std::uint8_t kind, const std::uint8_t* data, std::size_t size) {
    const auto* chars = reinterpret_cast<const char*>(data);
    switch (kind % 5) {
    case 0:
        return QByteArray(chars, static_cast<qsizetype>(size));
    case 1:
        return QString::fromUtf8(chars, static_cast<qsizetype>(size));
    case 2:
        return fromBytes<double>(data, size);
    case 3:
        return fromBytes<qlonglong>(data, size);
    default:
        return size > 0 && data[0] % 2 == 1;
    }
}

// Nothing here is ever written to a file: the settings live in memory and are never synced.
QSettings& settings() {
    static auto* const instance = new QSettings(QStringLiteral("/dev/null"), QSettings::IniFormat);
    return *instance;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    QSettings& stored = settings();
    stored.clear();
    stored.setValue(QString::fromLatin1(keys[data[0] % keys.size()]),
                    valueOfKind(data[1], data + 2, size - 2));
    Store store(stored);

    check(Store::spoolRateRange.contains(store.loadSpoolRate()), "the spool rate lies in its range");
    check(Store::glassFrostRange.contains(store.loadGlassFrost()), "the glass frost lies in its range");
    check(Store::cooldownDurationRange.contains(store.loadCooldownDuration()),
          "the cooldown lies in its range");
    check(std::isfinite(store.loadOverheatThreshold()), "the overheat threshold is finite");
    for (const int minute : {store.loadQuietHoursStart(), store.loadQuietHoursEnd()}) {
        check(minute >= 0 && minute <= Store::lastMinuteOfDay, "quiet hours lie within the day");
    }
    check(!rawValue(store.loadBackdropScene()).empty(), "a backdrop scene is a known case");
    check(!rawValue(store.loadControlSource()).empty(), "a control source is a known case");
    check(!rawValue(store.loadAccentChoice()).empty(), "an accent is a known case");
    check(!rawValue(store.loadMenuBarReadout()).empty(), "a menu-bar readout is a known case");
    check(!rawValue(store.loadMenuBarTempSource()).empty(), "a menu-bar source is a known case");
    store.loadUseFahrenheit();
    store.loadPreciseTemperatures();
    store.loadShowDockIcon();
    store.loadMenuBarIconAnimated();
    store.loadHasCompletedFirstRunSetup();
    store.loadFanHealthWarningsEnabled();
    store.loadPreSpoolEnabled();
    store.loadQuietHoursEnabled();
    store.loadMeetingQuietEnabled();
    store.loadActiveCustomModeID();

    const auto rules = store.loadAlertRules();
    for (const auto& [category, rule] : defaultAlertRules()) {
        check(findEntry(rules, category) != nullptr, "every category keeps an alert rule");
    }
    const auto caps = store.loadPresetPowerCaps();
    for (const auto& [preset, cap] : defaultPresetPowerCaps()) {
        check(findEntry(caps, preset) != nullptr, "every preset keeps its power caps");
    }
    const auto modes = store.loadCustomModes();
    PinnedSensorStore pinned(stored);
    const auto pinnedKeys = pinned.load();

    // What was loaded is what the program would write back; it must survive the trip.
    store.persistAlertRules(rules);
    check(store.loadAlertRules() == rules, "loaded alert rules store and load unchanged");
    store.persistPresetPowerCaps(caps);
    check(store.loadPresetPowerCaps() == caps, "loaded power caps store and load unchanged");
    store.persistCustomModes(modes);
    check(store.loadCustomModes() == modes, "loaded custom modes store and load unchanged");
    pinned.save(pinnedKeys);
    check(pinned.load() == pinnedKeys, "loaded pinned sensors store and load unchanged");
    return 0;
}
