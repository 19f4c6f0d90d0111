#pragma once

#include "core/curve_point.h"
#include "core/json_support.h"
#include "core/json_value.h"
#include "core/uuid.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace halvoren {

// How a profile drives the fans; encoded as its integer raw value.
enum class ControlMode : int {
    appleAuto = 0,     // the firmware drives the fans; the program writes nothing
    constantRPM = 1,   // one fixed RPM for all fans
    adaptiveCurve = 2, // speed follows a temperature curve through the control pipeline
};

void to_json(Json& j, ControlMode mode);
void from_json(const Json& j, ControlMode& mode);

// A complete policy for the fans.
struct FanProfile {
    // A constant target meaning "as fast as each fan can go"; the helper clamps it to each fan's maximum.
    static constexpr std::int64_t unlimitedRPM = std::numeric_limits<std::int64_t>::max();

    Uuid id;
    std::string name;
    ControlMode mode = ControlMode::appleAuto;
    std::int64_t constantTargetRPM = 0;
    std::string targetSensorGroupID;
    std::vector<CurvePoint> curvePoints;

    friend bool operator==(const FanProfile&, const FanProfile&) = default;

    // The built-in profiles. Identities are fixed; curve points get fresh identities
    // once per run, when a constant is first built.
    static const FanProfile& appleAuto();
    static const FanProfile& silentStealth();
    static const FanProfile& halvorenStandard();
    static const FanProfile& maxThermalBlast();
    // The four above, in that order.
    static const std::vector<FanProfile>& builtins();
};

void to_json(Json& j, const FanProfile& profile);
void from_json(const Json& j, FanProfile& profile);

// The three speed presets offered to the user. `auto_` (raw value "auto") is the
// curve the user sees as "Balanced", not the firmware's own control.
enum class FanPreset { quiet, auto_, max };

template <>
struct EnumTable<FanPreset> {
    static constexpr std::array<std::pair<FanPreset, std::string_view>, 3> entries{{
        {FanPreset::quiet, "quiet"},
        {FanPreset::auto_, "auto"},
        {FanPreset::max, "max"},
    }};
};

std::string_view displayName(FanPreset preset);

void to_json(Json& j, FanPreset preset);
void from_json(const Json& j, FanPreset& preset);

} // namespace halvoren
