#pragma once

#include "core/alert_rules.h"
#include "core/closed_range.h"
#include "core/control_source.h"
#include "core/custom_mode.h"
#include "core/display_settings.h"
#include "core/preset_power_caps.h"
#include "core/uuid.h"

#include <optional>
#include <vector>

class QSettings;
class QString;
class QVariant;

namespace halvoren {

// The values Restore Defaults gives, in the order the engine assigns them: each
// assignment runs its field's change handler (rebuilding the pipelines, re-applying
// the active preset), so the order is part of the behaviour. Settings not listed here
// (control source, dock icon, menu-bar settings, fan-health warnings, first-run state,
// custom modes, pinned sensors) are left as they are on purpose.
struct RestorableDefaults {
    double acousticAlpha = 0.35;
    double spoolRate = 900.0;
    bool autoSwitchOnBattery = true;
    double overheatThreshold = 90.0;
    bool useFahrenheit = false;
    bool preciseTemperatures = true;
    double glassFrost = 0.0;
    BackdropScene backdropScene = BackdropScene::aurora;
    AccentChoice accentChoice = AccentChoice::system;
    PresetPowerCapsMap presetPowerCaps = defaultPresetPowerCaps();
    AlertRules alertRules = defaultAlertRules();
    bool quietHoursEnabled = false;
    int quietHoursStart = 1320;
    int quietHoursEnd = 480;
    double cooldownDuration = 300.0;
    bool preSpoolEnabled = false;
    bool meetingQuietEnabled = false;
};

// Every persisted user setting, one key each in the settings store. Loaders give the
// default for an absent key; a scalar of the wrong kind reads as 0 or false, as the
// platform's typed getters read it, and an enumeration's unknown text gives the default.
// Bounds clamp after that, without writing the correction back. Writers store at once and never clamp:
// user input is bounded by the controls that produce it. Main thread only.
class SettingsStore {
public:
    static constexpr const char* spoolRateKey = "com.halvoren.spoolRate";
    static constexpr const char* glassFrostKey = "com.halvoren.glassFrost";
    static constexpr const char* backdropSceneKey = "com.halvoren.backdropScene";
    static constexpr const char* controlSourceKey = "com.halvoren.controlSource";
    static constexpr const char* useFahrenheitKey = "com.halvoren.useFahrenheit";
    static constexpr const char* preciseTemperaturesKey = "com.halvoren.preciseTemperatures";
    static constexpr const char* accentChoiceKey = "com.halvoren.accentChoice";
    static constexpr const char* menuBarReadoutKey = "com.halvoren.menuBarReadout";
    static constexpr const char* showDockIconKey = "com.halvoren.showDockIcon";
    static constexpr const char* menuBarTempSourceKey = "com.halvoren.menuBarTempSource";
    static constexpr const char* menuBarIconAnimatedKey = "com.halvoren.menuBarIconAnimated";
    static constexpr const char* hasCompletedFirstRunSetupKey = "com.halvoren.hasCompletedFirstRunSetup";
    static constexpr const char* overheatThresholdKey = "com.halvoren.overheatThreshold";
    static constexpr const char* fanHealthWarningsEnabledKey = "com.halvoren.fanHealthWarningsEnabled";
    static constexpr const char* preSpoolEnabledKey = "com.halvoren.preSpoolEnabled";
    static constexpr const char* alertRulesKey = "com.halvoren.alertRules";
    static constexpr const char* presetPowerCapsKey = "com.halvoren.presetPowerCaps";
    static constexpr const char* customModesKey = "com.halvoren.customModes";
    static constexpr const char* activeCustomModeIDKey = "com.halvoren.activeCustomModeID";
    static constexpr const char* quietHoursEnabledKey = "com.halvoren.quietHoursEnabled";
    static constexpr const char* quietHoursStartKey = "com.halvoren.quietHoursStart";
    static constexpr const char* quietHoursEndKey = "com.halvoren.quietHoursEnd";
    static constexpr const char* meetingQuietEnabledKey = "com.halvoren.meetingQuietEnabled";
    static constexpr const char* cooldownDurationKey = "com.halvoren.cooldownDuration";
    // View state, bound to the store by the views; the engine holds none of it.
    static constexpr const char* showAllSensorsKey = "com.halvoren.showAllSensors";
    static constexpr const char* weatherPageKey = "com.halvoren.weatherPage";
    static constexpr const char* selectedSectionKey = "selectedSection"; // the one key without the prefix

    static constexpr double defaultSpoolRate = 900.0;
    static constexpr ClosedRange spoolRateRange{120.0, 9000.0};
    // A spool rate this high moves the fans to their target in one step.
    static constexpr double spoolRateInstant = 9000.0;
    static constexpr double defaultGlassFrost = 0.0;
    static constexpr ClosedRange glassFrostRange{0.0, 1.0};
    static constexpr BackdropScene defaultBackdropScene = BackdropScene::aurora;
    static constexpr double defaultOverheatThreshold = 90.0;
    static constexpr int defaultQuietHoursStart = 22 * 60;
    static constexpr int defaultQuietHoursEnd = 8 * 60;
    static constexpr int lastMinuteOfDay = 24 * 60 - 1;
    static constexpr double defaultCooldownDuration = 300.0;
    static constexpr ClosedRange cooldownDurationRange{60.0, 1800.0};

    explicit SettingsStore(QSettings& defaults);

    double loadSpoolRate() const;
    double loadGlassFrost() const;
    // A launch argument that overrides the scene is the caller's to apply.
    BackdropScene loadBackdropScene() const;
    ControlSource loadControlSource() const;
    bool loadUseFahrenheit() const;
    bool loadPreciseTemperatures() const;
    AccentChoice loadAccentChoice() const;
    MenuBarReadout loadMenuBarReadout() const;
    bool loadShowDockIcon() const;
    MenuBarTempSource loadMenuBarTempSource() const;
    bool loadMenuBarIconAnimated() const;
    bool loadHasCompletedFirstRunSetup() const;
    double loadOverheatThreshold() const;
    bool loadFanHealthWarningsEnabled() const;
    bool loadPreSpoolEnabled() const;
    // Stored entries over the defaults; undecodable data gives the defaults.
    AlertRules loadAlertRules() const;
    PresetPowerCapsMap loadPresetPowerCaps() const;
    // Undecodable data gives no modes.
    std::vector<CustomMode> loadCustomModes() const;
    std::optional<Uuid> loadActiveCustomModeID() const;
    bool loadQuietHoursEnabled() const;
    int loadQuietHoursStart() const;
    int loadQuietHoursEnd() const;
    bool loadMeetingQuietEnabled() const;
    double loadCooldownDuration() const;

    void storeSpoolRate(double rate);
    void storeGlassFrost(double frost);
    void storeBackdropScene(BackdropScene scene);
    void storeControlSource(ControlSource source);
    void storeUseFahrenheit(bool value);
    void storePreciseTemperatures(bool value);
    void storeAccentChoice(AccentChoice choice);
    void storeMenuBarReadout(MenuBarReadout readout);
    void storeShowDockIcon(bool value);
    void storeMenuBarTempSource(MenuBarTempSource source);
    void storeMenuBarIconAnimated(bool value);
    void storeHasCompletedFirstRunSetup(bool value);
    void storeOverheatThreshold(double celsius);
    void storeFanHealthWarningsEnabled(bool value);
    void storePreSpoolEnabled(bool value);
    void storeQuietHoursEnabled(bool value);
    void storeQuietHoursStart(int minuteOfDay);
    void storeQuietHoursEnd(int minuteOfDay);
    void storeMeetingQuietEnabled(bool value);
    void storeCooldownDuration(double seconds);

    // A value that cannot be encoded (a non-finite number) drops the write and keeps
    // the old data.
    void persistAlertRules(const AlertRules& rules);
    void persistPresetPowerCaps(const PresetPowerCapsMap& caps);
    void persistCustomModes(const std::vector<CustomMode>& modes);
    // Nil removes the key.
    void persistActiveCustomModeID(const std::optional<Uuid>& id);

private:
    std::optional<QVariant> stored(const char* key) const;
    bool loadBool(const char* key, bool fallback) const;
    double loadDouble(const char* key, double fallback) const;
    int loadMinuteOfDay(const char* key, int fallback) const;
    std::optional<QString> loadString(const char* key) const;
    template <class E>
    E loadEnum(const char* key, E fallback) const;
    template <class E, class V>
    EnumKeyedMap<E, V> loadEnumKeyedMap(const char* key, const EnumKeyedMap<E, V>& defaults) const;
    template <class E>
    void storeEnum(const char* key, E value);
    void storeJson(const char* key, const std::string& text);

    QSettings& defaults_;
};

} // namespace halvoren
