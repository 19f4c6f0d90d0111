#pragma once

#include "core/enum_keyed_map.h"
#include "core/fan_profile.h"
#include "core/json_value.h"

namespace halvoren {

// The ceiling of a preset's curve as fractions of the fan's range, 0.0 to 1.0, apart
// for mains power and for battery.
struct PresetPowerCaps {
    double ac = 1.0;
    double battery = 1.0;

    friend bool operator==(const PresetPowerCaps&, const PresetPowerCaps&) = default;
};

// Both keys are required.
void to_json(Json& j, const PresetPowerCaps& caps);
void from_json(const Json& j, PresetPowerCaps& caps);

using PresetPowerCapsMap = EnumKeyedMap<FanPreset, PresetPowerCaps>;

// quiet 0.55/0.35, auto 1.0/0.7, max 1.0/1.0, in that order.
const PresetPowerCapsMap& defaultPresetPowerCaps();

} // namespace halvoren
