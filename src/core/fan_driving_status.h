#pragma once

#include "core/fan_profile.h"
#include "core/fan_status.h"

#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace halvoren {

// In words, what is driving the fans now; the first matching reason wins.
namespace FanDrivingStatus {

std::string subtitle(bool isTurboEngaged, bool meetingQuietActive, std::optional<FanPreset> activePreset,
                     bool isManualControl, const std::optional<FanProfile>& activeProfile);

} // namespace FanDrivingStatus

// "Fan" alone, "Left Fan"/"Right Fan" for a pair (by the order of `sortedIDs`), else
// "Fan " and the id counted from 1.
std::string fanDisplayName(int id, std::span<const int> sortedIDs);
// The ids of a map of fans, in the ascending order `fanDisplayName` names them by.
std::vector<int> sortedFanIDs(const std::map<int, FanStatus>& fans);

} // namespace halvoren
