#include "core/fan_driving_status.h"

namespace halvoren {

std::string FanDrivingStatus::subtitle(bool isTurboEngaged, bool meetingQuietActive,
                                       std::optional<FanPreset> activePreset, bool isManualControl,
                                       const std::optional<FanProfile>& activeProfile) {
    if (isTurboEngaged) {
        return "Turbo: max cooling";
    }
    if (meetingQuietActive && activePreset == FanPreset::quiet) {
        return "Quiet: microphone in use";
    }
    if (isManualControl) {
        return "Manual control";
    }
    if (!activeProfile || activeProfile->mode == ControlMode::appleAuto) {
        return "macOS automatic control";
    }
    // By identity: a preset's capped copy keeps the id of its constant.
    if (activeProfile->id == FanProfile::silentStealth().id) {
        return "Quiet curve";
    }
    if (activeProfile->id == FanProfile::halvorenStandard().id) {
        return "Balanced curve";
    }
    if (activeProfile->id == FanProfile::maxThermalBlast().id) {
        return "Max cooling";
    }
    if (activeProfile->mode == ControlMode::constantRPM) {
        return "Speed locked";
    }
    return activeProfile->name;
}

std::string fanDisplayName(int id, std::span<const int> sortedIDs) {
    if (sortedIDs.size() == 1) {
        return "Fan";
    }
    if (sortedIDs.size() == 2) {
        return id == sortedIDs.front() ? "Left Fan" : "Right Fan";
    }
    return "Fan " + std::to_string(id + 1);
}

std::vector<int> sortedFanIDs(const std::map<int, FanStatus>& fans) {
    std::vector<int> ids;
    ids.reserve(fans.size());
    for (const auto& entry : fans) {
        ids.push_back(entry.first);
    }
    return ids;
}

} // namespace halvoren
