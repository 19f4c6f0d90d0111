#include "engine/settings_store.h"

#include "core/clamp.h"
#include "core/json_support.h"

#include <QByteArray>
#include <QSettings>
#include <QString>
#include <QVariant>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace halvoren {
namespace {

// Values come back in two forms: typed, as written in this run (or from a native
// store), and as text, as an INI file gives them after a relaunch. Both are read
// strictly, so text such as "abc" under a number key is the wrong kind and yields the
// default instead of converting to 0.

bool isIntegerType(int typeId) {
    return typeId == QMetaType::Int || typeId == QMetaType::UInt || typeId == QMetaType::LongLong ||
           typeId == QMetaType::ULongLong;
}

std::optional<bool> asBool(const QVariant& value) {
    if (value.typeId() == QMetaType::Bool) {
        return value.toBool();
    }
    if (isIntegerType(value.typeId())) {
        return value.toLongLong() != 0;
    }
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString();
        if (text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0) {
            return true;
        }
        if (text.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0) {
            return false;
        }
    }
    return std::nullopt;
}

// Non-finite numbers are refused: a NaN spool rate or duration would pass every clamp.
std::optional<double> asDouble(const QVariant& value) {
    bool ok = false;
    double number = 0.0;
    if (value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float ||
        isIntegerType(value.typeId())) {
        number = value.toDouble(&ok);
    } else if (value.typeId() == QMetaType::QString) {
        number = value.toString().toDouble(&ok);
    }
    if (!ok || !std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

std::optional<long long> asWholeNumber(const QVariant& value) {
    bool ok = false;
    long long number = 0;
    if (isIntegerType(value.typeId())) {
        number = value.toLongLong(&ok);
    } else if (value.typeId() == QMetaType::QString) {
        number = value.toString().toLongLong(&ok);
    }
    if (!ok) {
        return std::nullopt;
    }
    return number;
}

QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

SettingsStore::SettingsStore(QSettings& defaults)
    : defaults_(defaults) {}

// Absence is told apart from a stored false or 0.
std::optional<QVariant> SettingsStore::stored(const char* key) const {
    const QString name = QString::fromLatin1(key);
    if (!defaults_.contains(name)) {
        return std::nullopt;
    }
    return defaults_.value(name);
}

bool SettingsStore::loadBool(const char* key, bool fallback) const {
    const auto value = stored(key);
    return value ? asBool(*value).value_or(fallback) : fallback;
}

double SettingsStore::loadDouble(const char* key, double fallback) const {
    const auto value = stored(key);
    return value ? asDouble(*value).value_or(fallback) : fallback;
}

int SettingsStore::loadMinuteOfDay(const char* key, int fallback) const {
    const auto value = stored(key);
    const auto number = value ? asWholeNumber(*value) : std::nullopt;
    if (!number) {
        return fallback;
    }
    return static_cast<int>(clampTo(static_cast<double>(*number), 0.0, lastMinuteOfDay));
}

std::optional<QString> SettingsStore::loadString(const char* key) const {
    const auto value = stored(key);
    if (!value || value->typeId() != QMetaType::QString) {
        return std::nullopt;
    }
    return value->toString();
}

template <class E>
E SettingsStore::loadEnum(const char* key, E fallback) const {
    const auto text = loadString(key);
    if (!text) {
        return fallback;
    }
    return fromRawValue<E>(text->toStdString()).value_or(fallback);
}

template <class E, class V>
EnumKeyedMap<E, V> SettingsStore::loadEnumKeyedMap(const char* key,
                                                   const EnumKeyedMap<E, V>& defaults) const {
    const auto value = stored(key);
    if (!value || value->typeId() != QMetaType::QByteArray) {
        return defaults;
    }
    const QByteArray data = value->toByteArray();
    try {
        const auto array =
            json::parse(std::string_view(data.constData(), static_cast<std::size_t>(data.size())));
        return mergeOverDefaults(defaults, decodeEnumKeyedMap<E, V>(array));
    } catch (const DecodeError&) {
        return defaults;
    }
}

double SettingsStore::loadSpoolRate() const {
    return spoolRateRange.clamp(loadDouble(spoolRateKey, defaultSpoolRate));
}

double SettingsStore::loadGlassFrost() const {
    return glassFrostRange.clamp(loadDouble(glassFrostKey, defaultGlassFrost));
}

BackdropScene SettingsStore::loadBackdropScene() const {
    return loadEnum(backdropSceneKey, defaultBackdropScene);
}

ControlSource SettingsStore::loadControlSource() const {
    return loadEnum(controlSourceKey, ControlSource::hottest);
}

bool SettingsStore::loadUseFahrenheit() const {
    return loadBool(useFahrenheitKey, false);
}

bool SettingsStore::loadPreciseTemperatures() const {
    return loadBool(preciseTemperaturesKey, true);
}

AccentChoice SettingsStore::loadAccentChoice() const {
    return loadEnum(accentChoiceKey, AccentChoice::system);
}

MenuBarReadout SettingsStore::loadMenuBarReadout() const {
    return loadEnum(menuBarReadoutKey, MenuBarReadout::controlTemperature);
}

bool SettingsStore::loadShowDockIcon() const {
    return loadBool(showDockIconKey, true);
}

MenuBarTempSource SettingsStore::loadMenuBarTempSource() const {
    return loadEnum(menuBarTempSourceKey, MenuBarTempSource::control);
}

bool SettingsStore::loadMenuBarIconAnimated() const {
    return loadBool(menuBarIconAnimatedKey, true);
}

bool SettingsStore::loadHasCompletedFirstRunSetup() const {
    return loadBool(hasCompletedFirstRunSetupKey, false);
}

// No bounds: the slider's range limits input, not what is already stored.
double SettingsStore::loadOverheatThreshold() const {
    return loadDouble(overheatThresholdKey, defaultOverheatThreshold);
}

bool SettingsStore::loadFanHealthWarningsEnabled() const {
    return loadBool(fanHealthWarningsEnabledKey, true);
}

bool SettingsStore::loadPreSpoolEnabled() const {
    return loadBool(preSpoolEnabledKey, false);
}

AlertRules SettingsStore::loadAlertRules() const {
    return loadEnumKeyedMap(alertRulesKey, defaultAlertRules());
}

PresetPowerCapsMap SettingsStore::loadPresetPowerCaps() const {
    return loadEnumKeyedMap(presetPowerCapsKey, defaultPresetPowerCaps());
}

std::vector<CustomMode> SettingsStore::loadCustomModes() const {
    const auto value = stored(customModesKey);
    if (!value || value->typeId() != QMetaType::QByteArray) {
        return {};
    }
    const QByteArray data = value->toByteArray();
    try {
        return decodeCustomModes(std::string_view(data.constData(), static_cast<std::size_t>(data.size())));
    } catch (const DecodeError&) {
        return {};
    } catch (const Json::exception&) {
        return {};
    }
}

std::optional<Uuid> SettingsStore::loadActiveCustomModeID() const {
    const auto text = loadString(activeCustomModeIDKey);
    if (!text) {
        return std::nullopt;
    }
    return Uuid::parse(text->toStdString());
}

bool SettingsStore::loadQuietHoursEnabled() const {
    return loadBool(quietHoursEnabledKey, false);
}

int SettingsStore::loadQuietHoursStart() const {
    return loadMinuteOfDay(quietHoursStartKey, defaultQuietHoursStart);
}

int SettingsStore::loadQuietHoursEnd() const {
    return loadMinuteOfDay(quietHoursEndKey, defaultQuietHoursEnd);
}

bool SettingsStore::loadMeetingQuietEnabled() const {
    return loadBool(meetingQuietEnabledKey, false);
}

double SettingsStore::loadCooldownDuration() const {
    return cooldownDurationRange.clamp(loadDouble(cooldownDurationKey, defaultCooldownDuration));
}

template <class E>
void SettingsStore::storeEnum(const char* key, E value) {
    defaults_.setValue(QString::fromLatin1(key), toQString(rawValue(value)));
}

void SettingsStore::storeJson(const char* key, const std::string& text) {
    defaults_.setValue(QString::fromLatin1(key),
                       QByteArray(text.data(), static_cast<qsizetype>(text.size())));
}

void SettingsStore::storeSpoolRate(double rate) {
    defaults_.setValue(QString::fromLatin1(spoolRateKey), rate);
}

void SettingsStore::storeGlassFrost(double frost) {
    defaults_.setValue(QString::fromLatin1(glassFrostKey), frost);
}

void SettingsStore::storeBackdropScene(BackdropScene scene) {
    storeEnum(backdropSceneKey, scene);
}

void SettingsStore::storeControlSource(ControlSource source) {
    storeEnum(controlSourceKey, source);
}

void SettingsStore::storeUseFahrenheit(bool value) {
    defaults_.setValue(QString::fromLatin1(useFahrenheitKey), value);
}

void SettingsStore::storePreciseTemperatures(bool value) {
    defaults_.setValue(QString::fromLatin1(preciseTemperaturesKey), value);
}

void SettingsStore::storeAccentChoice(AccentChoice choice) {
    storeEnum(accentChoiceKey, choice);
}

void SettingsStore::storeMenuBarReadout(MenuBarReadout readout) {
    storeEnum(menuBarReadoutKey, readout);
}

void SettingsStore::storeShowDockIcon(bool value) {
    defaults_.setValue(QString::fromLatin1(showDockIconKey), value);
}

void SettingsStore::storeMenuBarTempSource(MenuBarTempSource source) {
    storeEnum(menuBarTempSourceKey, source);
}

void SettingsStore::storeMenuBarIconAnimated(bool value) {
    defaults_.setValue(QString::fromLatin1(menuBarIconAnimatedKey), value);
}

void SettingsStore::storeHasCompletedFirstRunSetup(bool value) {
    defaults_.setValue(QString::fromLatin1(hasCompletedFirstRunSetupKey), value);
}

void SettingsStore::storeOverheatThreshold(double celsius) {
    defaults_.setValue(QString::fromLatin1(overheatThresholdKey), celsius);
}

void SettingsStore::storeFanHealthWarningsEnabled(bool value) {
    defaults_.setValue(QString::fromLatin1(fanHealthWarningsEnabledKey), value);
}

void SettingsStore::storePreSpoolEnabled(bool value) {
    defaults_.setValue(QString::fromLatin1(preSpoolEnabledKey), value);
}

void SettingsStore::storeQuietHoursEnabled(bool value) {
    defaults_.setValue(QString::fromLatin1(quietHoursEnabledKey), value);
}

void SettingsStore::storeQuietHoursStart(int minuteOfDay) {
    defaults_.setValue(QString::fromLatin1(quietHoursStartKey), minuteOfDay);
}

void SettingsStore::storeQuietHoursEnd(int minuteOfDay) {
    defaults_.setValue(QString::fromLatin1(quietHoursEndKey), minuteOfDay);
}

void SettingsStore::storeMeetingQuietEnabled(bool value) {
    defaults_.setValue(QString::fromLatin1(meetingQuietEnabledKey), value);
}

void SettingsStore::storeCooldownDuration(double seconds) {
    defaults_.setValue(QString::fromLatin1(cooldownDurationKey), seconds);
}

void SettingsStore::persistAlertRules(const AlertRules& rules) {
    try {
        storeJson(alertRulesKey, encodeEnumKeyedMap(rules).dump());
    } catch (const EncodeError&) {
    }
}

void SettingsStore::persistPresetPowerCaps(const PresetPowerCapsMap& caps) {
    try {
        storeJson(presetPowerCapsKey, encodeEnumKeyedMap(caps).dump());
    } catch (const EncodeError&) {
    }
}

void SettingsStore::persistCustomModes(const std::vector<CustomMode>& modes) {
    try {
        storeJson(customModesKey, encodeCustomModes(modes));
    } catch (const EncodeError&) {
    }
}

void SettingsStore::persistActiveCustomModeID(const std::optional<Uuid>& id) {
    if (!id) {
        defaults_.remove(QString::fromLatin1(activeCustomModeIDKey));
        return;
    }
    defaults_.setValue(QString::fromLatin1(activeCustomModeIDKey), toQString(id->toString()));
}

} // namespace halvoren
