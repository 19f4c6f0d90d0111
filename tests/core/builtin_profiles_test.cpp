#include "core/control_source.h"
#include "core/fan_profile.h"
#include "core/sensor.h"
#include "curve_numbers.h"

#include <array>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace halvoren {
namespace {

void expectBuiltin(const FanProfile& profile, std::string_view id, std::string_view name, ControlMode mode,
                   std::int64_t constantTargetRPM, const Curve& curve) {
    SCOPED_TRACE(std::string(name));
    EXPECT_EQ(profile.id.toString(), id);
    EXPECT_EQ(profile.name, name);
    EXPECT_EQ(profile.mode, mode);
    EXPECT_EQ(profile.constantTargetRPM, constantTargetRPM);
    EXPECT_EQ(profile.targetSensorGroupID, "max");
    EXPECT_EQ(numbers(profile), curve);
}

TEST(BuiltinProfiles, HoldTheirFixedIdentitiesAndSettings) {
    expectBuiltin(FanProfile::appleAuto(), "00000000-0000-0000-0000-000000000001", "Apple Auto",
                  ControlMode::appleAuto, 0, {});
    expectBuiltin(FanProfile::silentStealth(), "00000000-0000-0000-0000-000000000002", "Silent Stealth",
                  ControlMode::adaptiveCurve, 0, {{40, 0.0}, {60, 0.25}, {75, 0.5}, {90, 1.0}});
    expectBuiltin(FanProfile::halvorenStandard(), "00000000-0000-0000-0000-000000000003", "Halvoren Standard",
                  ControlMode::adaptiveCurve, 0, {{35, 0.0}, {55, 0.35}, {70, 0.65}, {85, 1.0}});
    expectBuiltin(FanProfile::maxThermalBlast(), "00000000-0000-0000-0000-000000000004", "Max Thermal Blast",
                  ControlMode::constantRPM, 9223372036854775807LL, {});

    const auto& all = FanProfile::builtins();
    ASSERT_EQ(all.size(), 4U);
    EXPECT_EQ(all[0], FanProfile::appleAuto());
    EXPECT_EQ(all[1], FanProfile::silentStealth());
    EXPECT_EQ(all[2], FanProfile::halvorenStandard());
    EXPECT_EQ(all[3], FanProfile::maxThermalBlast());
}

TEST(BuiltinProfiles, CurvePointIdentitiesAreFreshButStable) {
    // Built once per run: later calls see the same points, so a saved selection keeps matching.
    const std::vector<FanProfile> first = FanProfile::builtins();
    EXPECT_EQ(FanProfile::builtins(), first);
    EXPECT_EQ(&FanProfile::silentStealth(), &FanProfile::silentStealth());
    EXPECT_EQ(FanProfile::silentStealth().curvePoints, first[1].curvePoints);

    std::set<Uuid> ids;
    std::size_t points = 0;
    for (const auto& profile : first) {
        for (const auto& point : profile.curvePoints) {
            EXPECT_FALSE(point.id.isNil());
            EXPECT_EQ(point.id.bytes()[6] >> 4, 0x4);
            ids.insert(point.id);
            ++points;
        }
    }
    EXPECT_EQ(points, 8U);
    EXPECT_EQ(ids.size(), points);

    // Points made in code never share an identity either.
    const CurvePoint a = CurvePoint::make(50, 0.5);
    const CurvePoint b = CurvePoint::make(50, 0.5);
    EXPECT_NE(a.id, b.id);
    EXPECT_NE(a, b);
    // Nothing clamps a fraction when a point is made.
    EXPECT_EQ(CurvePoint::make(-5, 1.5).rpmPercentage, 1.5);
    EXPECT_EQ(CurvePoint::make(-5, -0.25).rpmPercentage, -0.25);
}

TEST(FanPreset, CasesRawValuesAndNames) {
    EXPECT_EQ(allCases<FanPreset>(), (std::array{FanPreset::quiet, FanPreset::auto_, FanPreset::max}));
    EXPECT_EQ(rawValue(FanPreset::quiet), "quiet");
    EXPECT_EQ(rawValue(FanPreset::auto_), "auto");
    EXPECT_EQ(rawValue(FanPreset::max), "max");
    EXPECT_EQ(displayName(FanPreset::quiet), "Quiet");
    EXPECT_EQ(displayName(FanPreset::auto_), "Balanced");
    EXPECT_EQ(displayName(FanPreset::max), "Max");

    EXPECT_EQ(fromRawValue<FanPreset>("auto"), FanPreset::auto_);
    for (const std::string_view unknown : {"balanced", "Balanced", "Auto", "auto_", "", "quiet "}) {
        EXPECT_FALSE(fromRawValue<FanPreset>(unknown)) << unknown;
    }
}

TEST(SensorKinds, CasesRawValuesNamesAndUnits) {
    using C = SensorCategory;
    EXPECT_EQ(allCases<C>(),
              (std::array{C::cpu, C::gpu, C::neuralEngine, C::memory, C::battery, C::enclosure}));
    const std::array<std::pair<std::string_view, std::string_view>, 6> categories{
        {{"cpu", "CPU"},
         {"gpu", "GPU"},
         {"neuralEngine", "Neural Engine"},
         {"memory", "Memory"},
         {"battery", "Battery"},
         {"enclosure", "Enclosure"}}};
    for (std::size_t i = 0; i < categories.size(); ++i) {
        const auto category = allCases<C>()[i];
        EXPECT_EQ(rawValue(category), categories[i].first);
        EXPECT_EQ(displayName(category), categories[i].second);
        EXPECT_EQ(fromRawValue<C>(categories[i].first), category);
    }

    using K = SensorClass;
    EXPECT_EQ(allCases<K>(),
              (std::array{K::temperature, K::power, K::voltage, K::current, K::fan, K::other}));
    const std::array<std::pair<std::string_view, std::string_view>, 6> classes{{{"temperature", "°C"},
                                                                                {"power", "W"},
                                                                                {"voltage", "V"},
                                                                                {"current", "A"},
                                                                                {"fan", "RPM"},
                                                                                {"other", ""}}};
    for (std::size_t i = 0; i < classes.size(); ++i) {
        const auto sensorClass = allCases<K>()[i];
        EXPECT_EQ(rawValue(sensorClass), classes[i].first);
        EXPECT_EQ(unit(sensorClass), classes[i].second);
        EXPECT_EQ(fromRawValue<K>(classes[i].first), sensorClass);
    }
    EXPECT_FALSE(fromRawValue<K>("heat"));
}

TEST(ControlSourceCases, OrderRawValuesAndNames) {
    using S = ControlSource;
    EXPECT_EQ(allCases<S>(),
              (std::array{S::hottest, S::cpuAverage, S::cpuPerformance, S::cpuEfficiency, S::gpuAverage}));
    const std::array<std::pair<std::string_view, std::string_view>, 5> expected{
        {{"hottest", "Hottest Sensor"},
         {"cpuAverage", "CPU Core Average"},
         {"cpuPerformance", "CPU Performance"},
         {"cpuEfficiency", "CPU Efficiency"},
         {"gpuAverage", "GPU Average"}}};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto source = allCases<S>()[i];
        EXPECT_EQ(rawValue(source), expected[i].first);
        EXPECT_EQ(displayName(source), expected[i].second);
        EXPECT_EQ(fromRawValue<S>(expected[i].first), source);
    }
    EXPECT_FALSE(fromRawValue<S>("fanSpeed"));
}

TEST(SMCSensorHash, EqualSensorsHashAlike) {
    const std::hash<SMCSensor> hash;
    const SMCSensor a{"smc.TB0T", "TB0T", "Battery", SensorCategory::battery, 0.0, SensorClass::temperature,
                      "°C"};
    SMCSensor b = a;
    b.currentTemp = -0.0; // equal to 0.0, so it must hash the same
    ASSERT_EQ(a, b);
    EXPECT_EQ(hash(a), hash(b));

    // Each field takes part in equality.
    SMCSensor c = a;
    c.unit = "W";
    EXPECT_NE(a, c);
    c = a;
    c.sensorClass = SensorClass::power;
    EXPECT_NE(a, c);
    c = a;
    c.name = "TB0T";
    EXPECT_NE(a, c);
}

} // namespace
} // namespace halvoren
