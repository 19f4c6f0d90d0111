#include "core/control_source.h"
#include "core/display_settings.h"
#include "core/fan_profile.h"
#include "core/helper_messages.h"
#include "core/power_telemetry.h"
#include "core/sensor.h"
#include "curve_numbers.h"

#include <gtest/gtest.h>
#include <set>
#include <string>

namespace halvoren {
namespace {

TEST(BuiltinProfiles, HoldTheirFixedIdentitiesModesAndCurves) {
    const FanProfile* expected[] = {&FanProfile::appleAuto(), &FanProfile::silentStealth(),
                                    &FanProfile::halvorenStandard(), &FanProfile::maxThermalBlast()};
    ASSERT_EQ(FanProfile::builtins().size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_EQ(FanProfile::builtins()[i], *expected[i]);
        EXPECT_EQ(expected[i]->id.toString(), "00000000-0000-0000-0000-00000000000" + std::to_string(i + 1));
        EXPECT_EQ(expected[i]->targetSensorGroupID, "max");
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
    EXPECT_EQ(&FanProfile::silentStealth(), &FanProfile::silentStealth());
    std::set<Uuid> ids;
    for (const auto& profile : first) {
        for (const auto& point : profile.curvePoints) {
            EXPECT_EQ(point.id.bytes()[6] >> 4, 0x4);
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
    EXPECT_FALSE(fromRawValue<BackdropScene>("Aurora"));
    // The one name that differs from its raw value, and the units discovery attaches.
    EXPECT_EQ(displayName(FanPreset::auto_), "Balanced");
    EXPECT_EQ(unit(SensorClass::temperature), "°C");
    EXPECT_EQ(unit(SensorClass::other), "");
}

TEST(SMCSensor, EveryFieldTakesPartInEqualityAndEqualSensorsHashAlike) {
    const SMCSensor a{"smc.TB0T", "TB0T", "Battery", SensorCategory::battery, 0.0, SensorClass::temperature,
                      "°C"};
    SMCSensor b = a;
    b.currentTemp = -0.0; // equal to 0.0, so it must hash the same
    ASSERT_EQ(a, b);
    EXPECT_EQ(std::hash<SMCSensor>{}(a), std::hash<SMCSensor>{}(b));
    for (const auto change : std::initializer_list<void (*)(SMCSensor&)>{
             [](SMCSensor& s) { s.unit = "W"; }, [](SMCSensor& s) { s.sensorClass = SensorClass::power; },
             [](SMCSensor& s) { s.name = "TB0T"; }}) {
        SMCSensor c = a;
        change(c);
        EXPECT_NE(a, c);
    }
}

} // namespace
} // namespace halvoren
