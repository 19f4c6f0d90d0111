#include "engine/halvoren_engine.h"

namespace halvoren {

// Every setter stores at once and never clamps: user input is bounded by the control that
// produces it, and the stored value is bounded again when it is loaded.

void HalvorenEngine::setAcousticAlpha(double alpha) {
    acousticAlpha_.set(alpha);
    rebuildPipelines();
}

void HalvorenEngine::setSpoolRate(double rpmPerSecond) {
    spoolRate_.set(rpmPerSecond);
    store_.storeSpoolRate(rpmPerSecond);
}

void HalvorenEngine::setAutoSwitchOnBattery(bool value) {
    autoSwitchOnBattery_.set(value);
}

void HalvorenEngine::setGlassFrost(double frost) {
    glassFrost_.set(frost);
    store_.storeGlassFrost(frost);
}

void HalvorenEngine::setBackdropScene(BackdropScene scene) {
    backdropScene_.set(scene);
    store_.storeBackdropScene(scene);
}

void HalvorenEngine::setControlSource(ControlSource source) {
    controlSource_.set(source);
    store_.storeControlSource(source);
    refreshDerivedSensorState(false);
}

void HalvorenEngine::setUseFahrenheit(bool value) {
    useFahrenheit_.set(value);
    store_.storeUseFahrenheit(value);
    publishMenuBarLabelState();
    refreshHeroDisplayTemperature();
}

void HalvorenEngine::setPreciseTemperatures(bool value) {
    preciseTemperatures_.set(value);
    store_.storePreciseTemperatures(value);
    publishMenuBarLabelState();
    refreshHeroDisplayTemperature();
}

void HalvorenEngine::setAccentChoice(AccentChoice choice) {
    accentChoice_.set(choice);
    store_.storeAccentChoice(choice);
}

void HalvorenEngine::setMenuBarReadout(MenuBarReadout readout) {
    menuBarReadout_.set(readout);
    store_.storeMenuBarReadout(readout);
    publishMenuBarLabelState();
}

void HalvorenEngine::setShowDockIcon(bool value) {
    showDockIcon_.set(value);
    store_.storeShowDockIcon(value);
}

void HalvorenEngine::setMenuBarTempSource(MenuBarTempSource source) {
    menuBarTempSource_.set(source);
    store_.storeMenuBarTempSource(source);
    refreshDerivedSensorState(false);
    publishMenuBarLabelState();
}

void HalvorenEngine::setMenuBarIconAnimated(bool value) {
    menuBarIconAnimated_.set(value);
    store_.storeMenuBarIconAnimated(value);
    publishMenuBarLabelState();
}

void HalvorenEngine::setHasCompletedFirstRunSetup(bool value) {
    hasCompletedFirstRunSetup_.set(value);
    store_.storeHasCompletedFirstRunSetup(value);
}

void HalvorenEngine::setOverheatThreshold(double celsius) {
    overheatThreshold_.set(celsius);
    store_.storeOverheatThreshold(celsius);
    isOverheating_.set(overheatThreshold_.value() <= lastMaxTempSample_);
}

void HalvorenEngine::setFanHealthWarningsEnabled(bool value) {
    fanHealthWarningsEnabled_.set(value);
    store_.storeFanHealthWarningsEnabled(value);
    if (!value) {
        // On again, every timer starts afresh.
        fanHealth_ = FanHealthMonitor{};
        fanHealthWarnings_.set({});
    }
}

void HalvorenEngine::setPreSpoolEnabled(bool value) {
    preSpoolEnabled_.set(value);
    store_.storePreSpoolEnabled(value);
}

void HalvorenEngine::setAlertRules(AlertRules rules) {
    alertRules_.set(std::move(rules));
    store_.persistAlertRules(alertRules_.value());
}

void HalvorenEngine::setQuietHoursEnabled(bool value) {
    quietHoursEnabled_.set(value);
    store_.storeQuietHoursEnabled(value);
}

void HalvorenEngine::setQuietHoursStart(int minuteOfDay) {
    quietHoursStart_.set(minuteOfDay);
    store_.storeQuietHoursStart(minuteOfDay);
}

void HalvorenEngine::setQuietHoursEnd(int minuteOfDay) {
    quietHoursEnd_.set(minuteOfDay);
    store_.storeQuietHoursEnd(minuteOfDay);
}

void HalvorenEngine::setMeetingQuietEnabled(bool value) {
    meetingQuietEnabled_.set(value);
    store_.storeMeetingQuietEnabled(value);
}

void HalvorenEngine::setCooldownDuration(double seconds) {
    cooldownDuration_.set(seconds);
    store_.storeCooldownDuration(seconds);
}

void HalvorenEngine::togglePin(const std::string& key) {
    pinnedSensorKeys_.modify([&key](std::set<std::string>& keys) {
        if (keys.erase(key) == 0) {
            keys.insert(key);
        }
        return true;
    });
    pinnedSensorStore_.save(pinnedSensorKeys_.value());
}

// The order is part of the behaviour: each step runs its own change handler.
void HalvorenEngine::restoreDefaults() {
    const RestorableDefaults defaults;
    setAcousticAlpha(defaults.acousticAlpha);
    setSpoolRate(defaults.spoolRate);
    setAutoSwitchOnBattery(defaults.autoSwitchOnBattery);
    setOverheatThreshold(defaults.overheatThreshold);
    setUseFahrenheit(defaults.useFahrenheit);
    setPreciseTemperatures(defaults.preciseTemperatures);
    setGlassFrost(defaults.glassFrost);
    setBackdropScene(defaults.backdropScene);
    setAccentChoice(defaults.accentChoice);
    presetPowerCaps_.set(defaults.presetPowerCaps);
    presetPowerCapsChanged();
    setAlertRules(defaults.alertRules);
    setQuietHoursEnabled(defaults.quietHoursEnabled);
    setQuietHoursStart(defaults.quietHoursStart);
    setQuietHoursEnd(defaults.quietHoursEnd);
    setCooldownDuration(defaults.cooldownDuration);
    setPreSpoolEnabled(defaults.preSpoolEnabled);
    setMeetingQuietEnabled(defaults.meetingQuietEnabled);
}

} // namespace halvoren
