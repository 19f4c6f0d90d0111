#include "core/preset_power_caps.h"

#include "core/json_support.h"

#include <nlohmann/json.hpp>

namespace halvoren {

void to_json(Json& j, const PresetPowerCaps& caps) {
    j = Json{{"ac", json::finite(caps.ac)}, {"battery", json::finite(caps.battery)}};
}

void from_json(const Json& j, PresetPowerCaps& caps) {
    caps = PresetPowerCaps{json::requireDouble(j, "ac"), json::requireDouble(j, "battery")};
}

const PresetPowerCapsMap& defaultPresetPowerCaps() {
    static const PresetPowerCapsMap caps{
        {FanPreset::quiet, {0.55, 0.35}},
        {FanPreset::auto_, {1.0, 0.7}},
        {FanPreset::max, {1.0, 1.0}},
    };
    return caps;
}

} // namespace halvoren
