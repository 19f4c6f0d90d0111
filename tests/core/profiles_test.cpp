#include "core/alert_rules.h"
#include "core/control_source.h"
#include "core/display_settings.h"
#include "core/enum_keyed_map.h"
#include "core/fan_driving_status.h"
#include "core/fan_profile.h"
#include "core/helper_messages.h"
#include "core/power_telemetry.h"
#include "core/preset_power_caps.h"
#include "core/preset_profiles.h"
#include "core/sensor.h"

#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace halvoren {
namespace {

// A profile's curve as plain (temperature, fraction) pairs, for comparing whole curves.
using Curve = std::vector<std::pair<double, double>>;
Curve numbers(const FanProfile& profile) {
    Curve curve;
    for (const CurvePoint& point : profile.curvePoints) {
        curve.emplace_back(point.temperature, point.rpmPercentage);
    }
    return curve;
}

TEST(BuiltinProfiles, HoldTheirFixedIdentitiesModesAndCurves) {
    const FanProfile* expected[] = {&FanProfile::appleAuto(), &FanProfile::silentStealth(),
                                    &FanProfile::halvorenStandard(), &FanProfile::maxThermalBlast()};
    ASSERT_EQ(FanProfile::builtins().size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_EQ(FanProfile::builtins()[i], *expected[i]);
        EXPECT_EQ(expected[i]->id.toString(), "00000000-0000-0000-0000-00000000000" + std::to_string(i + 1));
    }
    EXPECT_EQ(FanProfile::appleAuto().mode, ControlMode::appleAuto);
    EXPECT_EQ(numbers(FanProfile::silentStealth()), (Curve{{40, 0.0}, {60, 0.25}, {75, 0.5}, {90, 1.0}}));
    EXPECT_EQ(numbers(FanProfile::halvorenStandard()), (Curve{{35, 0.0}, {55, 0.35}, {70, 0.65}, {85, 1.0}}));
    EXPECT_EQ(FanProfile::maxThermalBlast().mode, ControlMode::constantRPM);
    EXPECT_EQ(FanProfile::maxThermalBlast().constantTargetRPM, 9223372036854775807LL);
}

TEST(BuiltinProfiles, CurvePointIdentitiesAreFreshButStable) {
    // Built once per run: later calls see the same points, so a saved selection keeps matching.
    const std::vector<FanProfile> first = FanProfile::builtins();
    EXPECT_EQ(FanProfile::builtins(), first);
    std::set<Uuid> ids;
    for (const auto& profile : first) {
        for (const auto& point : profile.curvePoints) {
            ids.insert(point.id);
        }
    }
    EXPECT_EQ(ids.size(), 8U);
    // Points made in code never share an identity either, and nothing clamps their fraction.
    EXPECT_NE(CurvePoint::make(50, 0.5), CurvePoint::make(50, 0.5));
    EXPECT_EQ(CurvePoint::make(-5, 1.5).rpmPercentage, 1.5);
}

// The stored texts of an enumeration in declaration order; each must read back as its case.
template <class E>
std::string rawValues() {
    std::string joined;
    for (const E value : allCases<E>()) {
        EXPECT_EQ(fromRawValue<E>(rawValue(value)), value);
        joined += (joined.empty() ? "" : " ") + std::string(rawValue(value));
    }
    return joined;
}

TEST(StoredEnumerations, RawValuesAreTheStoredTextsAndNothingElseReads) {
    EXPECT_EQ(rawValues<FanPreset>(), "quiet auto max");
    EXPECT_EQ(rawValues<SensorCategory>(), "cpu gpu neuralEngine memory battery enclosure");
    EXPECT_EQ(rawValues<SensorClass>(), "temperature power voltage current fan other");
    EXPECT_EQ(rawValues<ControlSource>(), "hottest cpuAverage cpuPerformance cpuEfficiency gpuAverage");
    EXPECT_EQ(rawValues<MenuBarReadout>(), "none controlTemperature hottestFan hottestSensor both");
    EXPECT_EQ(rawValues<MenuBarTempSource>(),
              "control hottest cpuAverage cpuPerformance cpuEfficiency gpuAverage");
    EXPECT_EQ(rawValues<AccentChoice>(), "system sky teal indigo violet graphite");
    EXPECT_EQ(rawValues<BackdropScene>(), "aurora space winter nebula abyss graphite");
    EXPECT_EQ(rawValues<PowerSource>(), "ac battery unknown");
    EXPECT_EQ(rawValues<HelperMethod>(),
              "setTargetRPM setManualControl restoreAutomaticControl heartbeat helperVersion");
    // Case-sensitive and whole.
    for (const char* unknown : {"balanced", "Auto", "auto_", "", "quiet "}) {
        EXPECT_FALSE(fromRawValue<FanPreset>(unknown)) << unknown;
    }
    // The one name that differs from its raw value, and the units discovery attaches.
    EXPECT_EQ(displayName(FanPreset::auto_), "Balanced");
    EXPECT_EQ(unit(SensorClass::temperature), "°C");
}

TEST(SMCSensor, EqualSensorsHashAlikeEvenAtNegativeZero) {
    const SMCSensor a{"smc.TB0T", "TB0T", "Battery", SensorCategory::battery, 0.0, SensorClass::temperature,
                      "°C"};
    SMCSensor b = a;
    b.currentTemp = -0.0; // equal to 0.0, so it must hash the same
    ASSERT_EQ(a, b);
    EXPECT_EQ(std::hash<SMCSensor>{}(a), std::hash<SMCSensor>{}(b));
}

PresetPowerCapsMap capsOf(FanPreset preset, double ac, double battery) {
    PresetPowerCapsMap caps = defaultPresetPowerCaps();
    setEntry(caps, preset, PresetPowerCaps{ac, battery});
    return caps;
}

TEST(PresetProfiles, CapsCutTheCurveFlatAndKeepTheBaseIdentity) {
    const PresetPowerCapsMap& defaults = defaultPresetPowerCaps();

    const FanProfile quietMains = effectiveProfile(FanPreset::quiet, defaults, false);
    EXPECT_EQ(numbers(quietMains), (Curve{{40, 0.0}, {60, 0.25}, {75, 0.5}, {90, 0.55}}));
    const FanProfile quietBattery = effectiveProfile(FanPreset::quiet, defaults, true);
    EXPECT_EQ(numbers(quietBattery), (Curve{{40, 0.0}, {60, 0.25}, {75, 0.35}, {90, 0.35}}));
    // Same identity, name and point identities: only the fractions above the cap moved.
    FanProfile uncapped = quietBattery;
    for (std::size_t i = 0; i < uncapped.curvePoints.size(); ++i) {
        uncapped.curvePoints[i].rpmPercentage = FanProfile::silentStealth().curvePoints[i].rpmPercentage;
    }
    EXPECT_EQ(uncapped, FanProfile::silentStealth());

    EXPECT_EQ(effectiveProfile(FanPreset::auto_, defaults, false), FanProfile::halvorenStandard());
    EXPECT_EQ(numbers(effectiveProfile(FanPreset::auto_, defaults, true)),
              (Curve{{35, 0.0}, {55, 0.35}, {70, 0.65}, {85, 0.7}}));
}

TEST(PresetProfiles, ACapOfOneOrMoreOrAConstantProfileLeavesTheBaseAsItIs) {
    // Exactly 1.0, and above it (clamped to 1.0): the constant itself.
    EXPECT_EQ(effectiveProfile(FanPreset::quiet, capsOf(FanPreset::quiet, 1.0, 1.0), false),
              FanProfile::silentStealth());
    EXPECT_EQ(effectiveProfile(FanPreset::quiet, capsOf(FanPreset::quiet, 0.2, 1.7), true),
              FanProfile::silentStealth());
    // Just below 1.0 already cuts the last point.
    EXPECT_EQ(numbers(effectiveProfile(FanPreset::quiet, capsOf(FanPreset::quiet, 0.999, 1.0), false)).back(),
              (std::pair<double, double>{90, 0.999}));
    // A negative cap is clamped to 0: every point goes flat at the bottom.
    EXPECT_EQ(numbers(effectiveProfile(FanPreset::auto_, capsOf(FanPreset::auto_, -0.5, 1.0), false)),
              (Curve{{35, 0.0}, {55, 0.0}, {70, 0.0}, {85, 0.0}}));
    // max is a constant-speed profile and is never capped, whatever its caps hold.
    EXPECT_EQ(effectiveProfile(FanPreset::max, capsOf(FanPreset::max, 0.1, 0.1), true),
              FanProfile::maxThermalBlast());
    // A missing entry falls back to its default caps.
    PresetPowerCapsMap onlyAuto;
    setEntry(onlyAuto, FanPreset::auto_, PresetPowerCaps{0.5, 0.5});
    EXPECT_EQ(capsFor(FanPreset::quiet, onlyAuto), (PresetPowerCaps{0.55, 0.35}));
    EXPECT_EQ(capsFor(FanPreset::auto_, onlyAuto), (PresetPowerCaps{0.5, 0.5}));
    EXPECT_EQ(numbers(effectiveProfile(FanPreset::auto_, onlyAuto, false)).back(),
              (std::pair<double, double>{85, 0.5}));
}

FanProfile customProfile(std::string name, ControlMode mode) {
    return FanProfile{Uuid::random(), std::move(name), mode, 2500, "max", {}};
}

TEST(FanDrivingStatus, TheFirstMatchingReasonWins) {
    using FanDrivingStatus::subtitle;
    const auto quietCapped = effectiveProfile(FanPreset::quiet, defaultPresetPowerCaps(), true);
    const std::optional<FanProfile> none;

    EXPECT_EQ(subtitle(true, true, FanPreset::quiet, true, quietCapped), "Turbo: max cooling");
    EXPECT_EQ(subtitle(false, true, FanPreset::quiet, true, quietCapped), "Quiet: microphone in use");
    // The microphone reason belongs to the quiet preset only.
    EXPECT_EQ(subtitle(false, true, FanPreset::auto_, false, FanProfile::halvorenStandard()),
              "Balanced curve");
    EXPECT_EQ(subtitle(false, true, std::nullopt, false, quietCapped), "Quiet curve");
    EXPECT_EQ(subtitle(false, false, std::nullopt, true, FanProfile::appleAuto()), "Manual control");
    EXPECT_EQ(subtitle(false, false, std::nullopt, false, none), "macOS automatic control");
    EXPECT_EQ(subtitle(false, false, std::nullopt, false, FanProfile::appleAuto()),
              "macOS automatic control");
    EXPECT_EQ(subtitle(false, false, std::nullopt, false, FanProfile::maxThermalBlast()), "Max cooling");
    EXPECT_EQ(subtitle(false, false, std::nullopt, false, customProfile("Lock", ControlMode::constantRPM)),
              "Speed locked");
    EXPECT_EQ(subtitle(false, false, std::nullopt, false, customProfile("Desk", ControlMode::adaptiveCurve)),
              "Desk");
    // Told apart by identity, not by name.
    FanProfile impostor = FanProfile::halvorenStandard();
    impostor.id = Uuid::random();
    EXPECT_EQ(subtitle(false, false, std::nullopt, false, impostor), "Halvoren Standard");
}

TEST(FanDisplayName, DependsOnHowManyFansThereAre) {
    const struct {
        int fan;
        std::vector<int> fans;
        const char* name;
    } rows[] = {{3, {3}, "Fan"},          {1, {1, 4}, "Left Fan"}, {4, {1, 4}, "Right Fan"},
                {9, {1, 4}, "Right Fan"}, {0, {0, 1, 2}, "Fan 1"}, {2, {0, 1, 2}, "Fan 3"},
                {5, {}, "Fan 6"}};
    for (const auto& row : rows) {
        EXPECT_EQ(fanDisplayName(row.fan, row.fans), row.name) << row.fan;
    }
}

TEST(PresetPowerCapsMapTest, TheStoredExampleDecodesToTheDefaultsAndEncodesBackInOrder) {
    const char* stored =
        R"(["quiet",{"ac":0.55,"battery":0.35},"auto",{"ac":1,"battery":0.7},"max",{"ac":1,"battery":1}])";
    EXPECT_EQ((decodeEnumKeyedMap<FanPreset, PresetPowerCaps>(json::parse(stored))),
              defaultPresetPowerCaps());

    // Written back exactly as stored, with 1 rather than 1.0.
    EXPECT_EQ(encodeEnumKeyedMap(defaultPresetPowerCaps()).dump(), stored);

    // The caller's order is kept, not the declaration order.
    const PresetPowerCapsMap reversed{{FanPreset::max, {0.9, 0.8}}, {FanPreset::quiet, {0.3, 0.2}}};
    EXPECT_EQ(encodeEnumKeyedMap(reversed).dump(),
              R"(["max",{"ac":0.9,"battery":0.8},"quiet",{"ac":0.3,"battery":0.2}])");
    const PresetPowerCapsMap nonFinite{{FanPreset::quiet, {std::numeric_limits<double>::quiet_NaN(), 0.5}}};
    EXPECT_THROW(encodeEnumKeyedMap(nonFinite), EncodeError);
}

TEST(PresetPowerCapsMapTest, MalformedArraysFailTheWholeDecode) {
    const char* cases[] = {
        R"({"quiet":{"ac":0.5,"battery":0.5}})",         // an object, not the flat form
        R"(["quiet",{"ac":0.5,"battery":0.5},"max"])",   // odd length
        R"(["turbo",{"ac":0.5,"battery":0.5}])",         // unknown key
        R"([1,{"ac":0.5,"battery":0.5}])",               // key not text
        R"(["quiet",{"ac":0.5}])",                       // "battery" is required
        R"(["quiet",{"battery":0.5}])",                  // "ac" is required
        R"(["quiet",{"ac":"0.5","battery":0.5}])",       // wrong kind
        R"(["quiet",[0.5,0.5]])",                        // value not an object
        R"(["auto",{"ac":1,"battery":1},"quiet",null])", // one bad value spoils the rest
    };
    for (const char* text : cases) {
        EXPECT_THROW((decodeEnumKeyedMap<FanPreset, PresetPowerCaps>(json::parse(text))), DecodeError)
            << text;
    }
    EXPECT_TRUE((decodeEnumKeyedMap<FanPreset, PresetPowerCaps>(Json::array())).empty());

    // A repeated key keeps its last value.
    const auto decoded = decodeEnumKeyedMap<FanPreset, PresetPowerCaps>(json::parse(
        R"(["quiet",{"ac":0.1,"battery":0.1},"max",{"ac":1,"battery":1},"quiet",{"ac":0.2,"battery":0.3}])"));
    const PresetPowerCapsMap expected{{FanPreset::quiet, {0.2, 0.3}}, {FanPreset::max, {1.0, 1.0}}};
    EXPECT_EQ(decoded, expected);
}

TEST(MergeOverDefaultsTest, StoredEntriesReplaceDefaultsAndMissingOnesKeepThem) {
    const PresetPowerCapsMap onlyQuiet{{FanPreset::quiet, {0.4, 0.2}}};
    const PresetPowerCapsMap expected{
        {FanPreset::quiet, {0.4, 0.2}}, {FanPreset::auto_, {1.0, 0.7}}, {FanPreset::max, {1.0, 1.0}}};
    EXPECT_EQ(mergeOverDefaults(defaultPresetPowerCaps(), onlyQuiet), expected);
    EXPECT_EQ(mergeOverDefaults(defaultPresetPowerCaps(), {}), defaultPresetPowerCaps());

    // A category stored before others existed: the rest come from the defaults, in their order.
    const AlertRules storedRules{{SensorCategory::battery, {true, 40.0, true}}};
    const AlertRules merged = mergeOverDefaults(defaultAlertRules(), storedRules);
    ASSERT_EQ(merged.size(), 6u);
    EXPECT_EQ(merged[4], (std::pair{SensorCategory::battery, AlertRule{true, 40.0, true}}));
    EXPECT_EQ(merged[0], (std::pair{SensorCategory::cpu, AlertRule{false, 95.0, false}}));

    // The default alert rules: one disabled rule per category, in declaration order.
    const auto& rules = defaultAlertRules();
    const auto categories = allCases<SensorCategory>();
    ASSERT_EQ(rules.size(), categories.size());
    const double thresholds[] = {95, 95, 95, 85, 45, 50};
    for (std::size_t i = 0; i < rules.size(); ++i) {
        EXPECT_EQ(rules[i].first, categories[i]);
        EXPECT_EQ(rules[i].second, (AlertRule{false, thresholds[i], false})) << rawValue(categories[i]);
    }
}

} // namespace
} // namespace halvoren
