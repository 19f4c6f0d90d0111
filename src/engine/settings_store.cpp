#include "engine/settings_store.h"

#include "core/clamp.h"
#include "core/json_support.h"

#include <QByteArray>
#include <QSettings>
#include <QString>
#include <QVariant>
#include <cctype>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace halvoren {
namespace {

// Values come back in two forms: typed, as written in this run (or from a native
// store), and as text, as an INI file gives them after a relaunch. Scalars are read the
// way the platform's typed getters read them: a number or numeric text converts, and a
// value of any other kind (text that is no number, data, a list) reads as 0 or false.
// The setting's bounds apply after that, so "abc" under the spool rate loads as 120.

bool isIntegerType(int typeId) {
    return typeId == QMetaType::Int || typeId == QMetaType::UInt || typeId == QMetaType::LongLong ||
           typeId == QMetaType::ULongLong;
}

bool isNumberType(int typeId) {
    return isIntegerType(typeId) || typeId == QMetaType::Double || typeId == QMetaType::Float ||
           typeId == QMetaType::Bool;
}

// Leading white space, then an optional sign, as text getters skip them.
std::string_view afterBlanks(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())) != 0) {
        text.remove_prefix(1);
    }
    return text;
}

// The number at the start of the text, or 0: "12abc" reads 12, "abc" 0.
double leadingDouble(const QString& text) {
    const std::string utf8 = text.toStdString();
    std::string_view rest = afterBlanks(utf8);
    if (rest.starts_with('+')) {
        rest.remove_prefix(1);
    }
    double number = 0.0;
    std::from_chars(rest.data(), rest.data() + rest.size(), number);
    return number;
}

// The typed getter for a number. A NaN reads as 0, since it would pass every clamp.
double doubleValue(const QVariant& value) {
    double number = 0.0;
    if (isNumberType(value.typeId())) {
        number = value.toDouble();
    } else if (value.typeId() == QMetaType::QString) {
        number = leadingDouble(value.toString());
    }
    return std::isnan(number) ? 0.0 : number;
}

// The typed getter for a whole number: a fraction is cut towards zero, "12.7" reads 12.
double wholeValue(const QVariant& value) {
    if (isIntegerType(value.typeId())) {
        return static_cast<double>(value.toLongLong());
    }
    return std::trunc(doubleValue(value));
}

// The typed getter for a flag: a non-zero number is true; text is true when it starts with
// "Y", "y", "T", "t" or a digit 1 to 9 after blanks, a sign and leading zeros ("true", "YES", "1").
bool boolValue(const QVariant& value) {
    if (value.typeId() == QMetaType::QString) {
        const std::string utf8 = value.toString().toStdString();
        std::string_view rest = afterBlanks(utf8);
        if (rest.starts_with('+') || rest.starts_with('-')) {
            rest.remove_prefix(1);
        }
        while (rest.starts_with('0')) {
            rest.remove_prefix(1);
        }
        return !rest.empty() &&
               std::string_view("YyTt123456789").find(rest.front()) != std::string_view::npos;
    }
    return doubleValue(value) != 0.0;
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
    return value ? boolValue(*value) : fallback;
}

double SettingsStore::loadDouble(const char* key, double fallback) const {
    const auto value = stored(key);
    return value ? doubleValue(*value) : fallback;
}

int SettingsStore::loadMinuteOfDay(const char* key, int fallback) const {
    const auto value = stored(key);
    if (!value) {
        return fallback;
    }
    return static_cast<int>(clampTo(wholeValue(*value), 0.0, lastMinuteOfDay));
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
