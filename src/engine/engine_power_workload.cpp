#include "core/clamp.h"
#include "core/preset_profiles.h"
#include "engine/halvoren_engine.h"
#include "platform/application_watcher.h"

namespace halvoren {

void HalvorenEngine::setClamshell(bool closed) {
    isClamshell_.set(closed);
    clamshellBoost_ = closed ? clamshellFloor : 0.0;
}

void HalvorenEngine::updatePowerTelemetry(const PowerTelemetry& telemetry) {
    const bool wasOnBattery = powerTelemetry_->onBattery();
    PowerTelemetry fresh = telemetry;
    fresh.isClamshell = isClamshell_.value();
    powerTelemetry_.set(fresh);
    const bool onBattery = powerTelemetry_->onBattery();
    // A preset has its own battery behaviour, its cap. A change between mains and unknown is
    // no change: neither is battery.
    if (const std::optional<FanPreset> preset = activePreset_.value(); preset && onBattery != wasOnBattery) {
        applyProfile(effectiveProfile(*preset, presetPowerCaps_.value(), onBattery));
    }
    applyBatterySwitch();
}

// Level-triggered: it looks at the source now, on every reading, so a memory that waited
// behind Turbo, manual control or a preset is used as soon as the way is clear.
void HalvorenEngine::applyBatterySwitch() {
    if (!autoSwitchOnBattery_.value() || isTurboEngaged_.value() || !manualFanTargets_->empty() ||
        activePreset_.value()) {
        return;
    }
    if (powerTelemetry_->onBattery()) {
        const std::optional<FanProfile>& active = activeProfile_.value();
        // A profile the user chose since the switch stands.
        if ((active && active->id == FanProfile::silentStealth().id) || profileBeforeBattery_) {
            return;
        }
        profileBeforeBattery_ = active;
        setActiveCustomModeID(std::nullopt);
        applyProfile(FanProfile::silentStealth());
        return;
    }
    if (!profileBeforeBattery_) {
        return;
    }
    const FanProfile saved = *std::exchange(profileBeforeBattery_, std::nullopt);
    setActiveCustomModeID(std::nullopt);
    applyProfile(saved);
}

void HalvorenEngine::setWorkload(WorkloadPolicy policy) {
    workload_ = std::move(policy);
    processWorkloadImpact_.set(workload_.currentBoost());
}

void HalvorenEngine::startWorkloadWatcher() {
    WorkloadPolicy policy = workload_;
    policy.seed(applications_->runningApplicationIDs());
    setWorkload(std::move(policy));
    // The floor changes at the next control tick; no pipeline is rebuilt for it.
    applications_->start(ApplicationWatcher::Notices{
        .launched =
            [this](const std::string& id) {
                WorkloadPolicy next = workload_;
                next.appLaunched(id);
                setWorkload(std::move(next));
            },
        .terminated =
            [this](const std::string& id) {
                WorkloadPolicy next = workload_;
                next.appTerminated(id);
                setWorkload(std::move(next));
            },
    });
}

double HalvorenEngine::effectiveFloor() const {
    // The floors do not add up: the strongest reason wins.
    double floor = preSpoolFloor(thermalTrend_.value(), preSpoolEnabled_.value());
    const std::optional<CustomMode> mode = activeCustomMode();
    if (mode && mode->speed.kind() == ModeSpeed::Kind::floor) {
        floor = std::max(floor, mode->speed.percentage());
    }
    floor = std::max(floor, workload_.currentBoost());
    floor = std::max(floor, clamshellBoost_);
    return clampUnit(floor);
}

} // namespace halvoren
