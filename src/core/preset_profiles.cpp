#include "core/preset_profiles.h"

#include "core/clamp.h"

namespace halvoren {

const FanProfile& baseProfile(FanPreset preset) {
    switch (preset) {
    case FanPreset::quiet:
        return FanProfile::silentStealth();
    case FanPreset::auto_:
        return FanProfile::halvorenStandard();
    case FanPreset::max:
        break;
    }
    return FanProfile::maxThermalBlast();
}

PresetPowerCaps capsFor(FanPreset preset, const PresetPowerCapsMap& caps) {
    if (const PresetPowerCaps* stored = findEntry(caps, preset)) {
        return *stored;
    }
    return *findEntry(defaultPresetPowerCaps(), preset);
}

FanProfile effectiveProfile(FanPreset preset, const PresetPowerCapsMap& caps, bool onBattery) {
    const FanProfile& base = baseProfile(preset);
    if (base.mode != ControlMode::adaptiveCurve) {
        return base;
    }
    const PresetPowerCaps entry = capsFor(preset, caps);
    const double cap = clampUnit(onBattery ? entry.battery : entry.ac);
    // A NaN cap compares false here and so leaves the curve alone.
    if (!(cap < 1.0)) {
        return base;
    }
    FanProfile capped = base;
    for (CurvePoint& point : capped.curvePoints) {
        if (point.rpmPercentage > cap) {
            point.rpmPercentage = cap;
        }
    }
    return capped;
}

} // namespace halvoren
