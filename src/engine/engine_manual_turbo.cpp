#include "engine/halvoren_engine.h"

namespace halvoren {

void HalvorenEngine::enterManualControl() {
    if (!manualFanTargets_->empty() || fans_->empty()) {
        return;
    }
    // Turbo ends with no restore: what it replaced is dropped.
    isTurboEngaged_.set(false);
    profileBeforeTurbo_.reset();
    presetBeforeTurbo_.reset();
    activePreset_.set(std::nullopt);
    setActiveCustomModeID(std::nullopt);
    clearCooldownState();
    activeProfile_.set(std::nullopt);
    pipeline_.reset();
    deadbands_.clear();
    // Seeded from the measured speeds, so taking over moves no fan.
    std::map<int, double> targets;
    for (const auto& [id, fan] : fans_.value()) {
        targets[id] = fan.currentRPM > 0.0 ? fan.currentRPM : fan.minRPM;
        rampedTargets_[id] = fan.currentRPM;
    }
    manualFanTargets_.set(std::move(targets));
}

void HalvorenEngine::setFanTarget(int fan, double rpm) {
    if (manualFanTargets_->empty()) {
        enterManualControl();
    }
    manualFanTargets_.modify([&](std::map<int, double>& targets) {
        const auto it = targets.find(fan);
        if (it == targets.end() || it->second == rpm) {
            return false;
        }
        it->second = rpm;
        return true;
    });
}

double HalvorenEngine::manualTarget(int fan) const {
    if (const auto it = manualFanTargets_->find(fan); it != manualFanTargets_->end()) {
        return it->second;
    }
    if (const auto it = fans_->find(fan); it != fans_->end()) {
        return it->second.currentRPM;
    }
    return 0.0;
}

void HalvorenEngine::engageTurbo() {
    if (fans_->empty() || isTurboEngaged_.value()) {
        return;
    }
    profileBeforeTurbo_ = activeProfile_.value();
    presetBeforeTurbo_ = activePreset_.value();
    turboPreemptedQuietHours_ = hasQuietHoursMemory_;
    turboPreemptedMeetingQuiet_ = hasMeetingQuietMemory_;
    isTurboEngaged_.set(true);
    // Made afresh each time; the helper cuts the unlimited target to each fan's maximum.
    const FanProfile turbo{
        .id = Uuid::random(),
        .name = "Turbo",
        .mode = ControlMode::constantRPM,
        .constantTargetRPM = FanProfile::unlimitedRPM,
        .targetSensorGroupID = "max",
        .curvePoints = {},
    };
    activePreset_.set(std::nullopt);
    setActiveCustomModeID(std::nullopt);
    applyProfile(turbo);
}

void HalvorenEngine::disengageTurbo() {
    if (!isTurboEngaged_.value()) {
        return;
    }
    isTurboEngaged_.set(false);
    clearCooldownState();
    const std::optional<FanProfile> profile = std::exchange(profileBeforeTurbo_, std::nullopt);
    const std::optional<FanPreset> preset = std::exchange(presetBeforeTurbo_, std::nullopt);
    const bool hadQuietHours = std::exchange(turboPreemptedQuietHours_, false);
    const bool hadMeetingQuiet = std::exchange(turboPreemptedMeetingQuiet_, false);

    // A quiet memory held when Turbo began and consumed while it ran: the saved state is the
    // automation's quiet preset, which must not come back now that its window is over.
    const bool quietHoursStale = hadQuietHours && !hasQuietHoursMemory_;
    const bool meetingQuietStale = hadMeetingQuiet && !hasMeetingQuietMemory_;
    if (!quietHoursStale && !meetingQuietStale) {
        restorePolicy(preset, profile);
        return;
    }
    if (quietHoursStale) {
        hasQuietHoursMemory_ = false;
        presetBeforeQuietHours_.reset();
        profileBeforeQuietHours_.reset();
        quietHoursOverriddenThisWindow_ = false;
        wasInQuietWindow_.reset();
    }
    if (meetingQuietStale) {
        hasMeetingQuietMemory_ = false;
        presetBeforeMeeting_.reset();
        profileBeforeMeeting_.reset();
        meetingQuietOverriddenThisMeeting_ = false;
        micWasInUse_ = false;
        meetingQuietActive_.set(false);
    }
    restorePolicy(std::nullopt, std::nullopt);
}

void HalvorenEngine::restorePolicy(std::optional<FanPreset> preset,
                                   const std::optional<FanProfile>& profile) {
    if (preset) {
        selectPreset(*preset);
        return;
    }
    activePreset_.set(std::nullopt);
    setActiveCustomModeID(std::nullopt);
    applyProfile(profile.value_or(FanProfile::appleAuto()));
}

} // namespace halvoren
