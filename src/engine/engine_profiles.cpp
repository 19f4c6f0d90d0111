#include "core/clamp.h"
#include "core/fan_driving_status.h"
#include "core/preset_profiles.h"
#include "engine/halvoren_engine.h"

namespace halvoren {

void HalvorenEngine::selectProfile(const FanProfile& profile) {
    activePreset_.set(std::nullopt);
    setActiveCustomModeID(std::nullopt);
    applyProfile(profile);
}

void HalvorenEngine::selectPreset(FanPreset preset) {
    activePreset_.set(preset);
    setActiveCustomModeID(std::nullopt);
    applyProfile(effectiveProfile(preset, presetPowerCaps_.value(), powerTelemetry_->onBattery()));
}

void HalvorenEngine::setConstantRPM(std::int64_t rpm) {
    if (fans_->empty()) {
        return;
    }
    const FanProfile lock{
        .id = Uuid::random(),
        .name = "Manual Lock",
        .mode = ControlMode::constantRPM,
        .constantTargetRPM = rpm,
        .targetSensorGroupID = "max",
        .curvePoints = {},
    };
    activePreset_.set(std::nullopt);
    setActiveCustomModeID(std::nullopt);
    applyProfile(lock);
}

// The one door through which every change of policy passes. A new choice of policy ends
// manual control and Turbo, and restarts the smoothing from the present temperature.
void HalvorenEngine::applyProfile(const FanProfile& profile) {
    manualFanTargets_.set({});
    if (!isTurboProfile(profile)) {
        isTurboEngaged_.set(false);
        profileBeforeTurbo_.reset();
        presetBeforeTurbo_.reset();
        turboEngagedByAutoBoost_ = false;
        autoBoostHolders_.clear();
        clearCooldownState();
    }
    activeProfile_.set(profile);
    rebuildPipelines();
    if (profile.mode == ControlMode::appleAuto) {
        // Not awaited: the fans go back through the driver's own order of calls.
        [[maybe_unused]] auto task = restoreAuto();
    }
}

bool HalvorenEngine::isTurboProfile(const FanProfile& profile) {
    return profile.name == "Turbo" && profile.mode == ControlMode::constantRPM &&
           profile.constantTargetRPM == FanProfile::unlimitedRPM;
}

void HalvorenEngine::setPresetCap(FanPreset preset, std::optional<double> ac, std::optional<double> battery) {
    const PresetPowerCaps current = capsFor(preset, presetPowerCaps_.value());
    const PresetPowerCaps next{ac ? clampUnit(*ac) : current.ac,
                               battery ? clampUnit(*battery) : current.battery};
    presetPowerCaps_.modify([&](PresetPowerCapsMap& caps) {
        if (const PresetPowerCaps* stored = findEntry(caps, preset); stored && *stored == next) {
            return false;
        }
        setEntry(caps, preset, next);
        return true;
    });
    presetPowerCapsChanged();
}

void HalvorenEngine::resetPresetPowerCaps() {
    presetPowerCaps_.set(defaultPresetPowerCaps());
    presetPowerCapsChanged();
}

void HalvorenEngine::presetPowerCapsChanged() {
    store_.persistPresetPowerCaps(presetPowerCaps_.value());
    // Through applyProfile, so a new cap also resets the smoothing of the active preset.
    if (const std::optional<FanPreset> preset = activePreset_.value()) {
        applyProfile(effectiveProfile(*preset, presetPowerCaps_.value(), powerTelemetry_->onBattery()));
    }
}

std::string HalvorenEngine::drivingStatusSubtitle() const {
    std::string subtitle = FanDrivingStatus::subtitle(isTurboEngaged_.value(), meetingQuietActive_.value(),
                                                      activePreset_.value(), !manualFanTargets_->empty(),
                                                      activeProfile_.value());
    // A policy the fans do not follow is not claimed as if they did; lastError says why.
    const std::optional<std::string>& error = lastError_.value();
    const bool drives = !manualFanTargets_->empty() ||
                        (activeProfile_.value() && activeProfile_.value()->mode != ControlMode::appleAuto);
    if (drives && error && error->starts_with("write failed")) {
        subtitle += " (fan writes failing)";
    }
    return subtitle;
}

} // namespace halvoren
