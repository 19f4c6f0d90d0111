#include "core/fan_profile.h"

#include <nlohmann/json.hpp>

namespace halvoren {
namespace {

std::vector<CurvePoint> curve(std::initializer_list<std::pair<double, double>> pairs) {
    std::vector<CurvePoint> points;
    points.reserve(pairs.size());
    for (const auto& [temperature, fraction] : pairs) {
        points.push_back(CurvePoint::make(temperature, fraction));
    }
    return points;
}

} // namespace

void to_json(Json& j, ControlMode mode) {
    j = static_cast<int>(mode);
}

void from_json(const Json& j, ControlMode& mode) {
    const auto raw = json::asInt(j, "mode");
    if (raw < 0 || raw > 2) {
        throw DecodeError("unknown control mode " + std::to_string(raw));
    }
    mode = static_cast<ControlMode>(raw);
}

const FanProfile& FanProfile::appleAuto() {
    static const FanProfile profile{Uuid::fromLiteral("00000000-0000-0000-0000-000000000001"),
                                    "Apple Auto",
                                    ControlMode::appleAuto,
                                    0,
                                    "max",
                                    {}};
    return profile;
}

const FanProfile& FanProfile::silentStealth() {
    static const FanProfile profile{Uuid::fromLiteral("00000000-0000-0000-0000-000000000002"),
                                    "Silent Stealth",
                                    ControlMode::adaptiveCurve,
                                    0,
                                    "max",
                                    curve({{40, 0.0}, {60, 0.25}, {75, 0.5}, {90, 1.0}})};
    return profile;
}

const FanProfile& FanProfile::halvorenStandard() {
    static const FanProfile profile{Uuid::fromLiteral("00000000-0000-0000-0000-000000000003"),
                                    "Halvoren Standard",
                                    ControlMode::adaptiveCurve,
                                    0,
                                    "max",
                                    curve({{35, 0.0}, {55, 0.35}, {70, 0.65}, {85, 1.0}})};
    return profile;
}

const FanProfile& FanProfile::maxThermalBlast() {
    static const FanProfile profile{Uuid::fromLiteral("00000000-0000-0000-0000-000000000004"),
                                    "Max Thermal Blast",
                                    ControlMode::constantRPM,
                                    unlimitedRPM,
                                    "max",
                                    {}};
    return profile;
}

const std::vector<FanProfile>& FanProfile::builtins() {
    static const std::vector<FanProfile> all{appleAuto(), silentStealth(), halvorenStandard(),
                                             maxThermalBlast()};
    return all;
}

void to_json(Json& j, const FanProfile& profile) {
    j = Json{{"id", profile.id},
             {"name", profile.name},
             {"mode", profile.mode},
             {"constantTargetRPM", profile.constantTargetRPM},
             {"targetSensorGroupID", profile.targetSensorGroupID},
             {"curvePoints", profile.curvePoints}};
}

void from_json(const Json& j, FanProfile& profile) {
    FanProfile decoded;
    decoded.id = json::requireKey(j, "id").get<Uuid>();
    decoded.name = json::requireString(j, "name");
    decoded.mode = json::requireKey(j, "mode").get<ControlMode>();
    decoded.constantTargetRPM = json::requireInt(j, "constantTargetRPM");
    decoded.targetSensorGroupID = json::requireString(j, "targetSensorGroupID");
    const auto& points = json::requireKey(j, "curvePoints");
    if (!points.is_array()) {
        throw DecodeError("\"curvePoints\" is not an array");
    }
    decoded.curvePoints = points.get<std::vector<CurvePoint>>();
    profile = std::move(decoded);
}

std::string_view displayName(FanPreset preset) {
    switch (preset) {
    case FanPreset::quiet:
        return "Quiet";
    case FanPreset::auto_:
        return "Balanced";
    case FanPreset::max:
        return "Max";
    }
    return {};
}

void to_json(Json& j, FanPreset preset) {
    j = json::enumToJson(preset);
}
void from_json(const Json& j, FanPreset& preset) {
    preset = json::enumFromJson<FanPreset>(j, "preset");
}

} // namespace halvoren
