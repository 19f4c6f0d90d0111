#pragma once

#include "core/fan_profile.h"
#include "core/preset_power_caps.h"

namespace halvoren {

// The built-in profile a preset stands for: quiet is silentStealth, auto is
// halvorenStandard, max is maxThermalBlast.
const FanProfile& baseProfile(FanPreset preset);

// The caps of `preset` in `caps`, or else its default caps.
PresetPowerCaps capsFor(FanPreset preset, const PresetPowerCapsMap& caps);

// The profile a preset runs with on the given power source: its base profile, with every
// curve point above the cap lowered to the cap. The curve is cut off flat, not scaled, and
// keeps the base's identity so that the profile is still recognised as the preset's. Only
// curve profiles are capped; a cap of 1.0 or more leaves the base as it is.
FanProfile effectiveProfile(FanPreset preset, const PresetPowerCapsMap& caps, bool onBattery);

} // namespace halvoren
